#pragma once

#include <cstdint>
#include <string>

#include "cli/command.h"
#include "cli/xmla_access_options.h"
#include "xmla/dataset.h"
#include "xmla/xmla_client.h"

namespace importkcd {

/// `kcd query`: asks an XMLA server one MDX question and prints the answer, as a table or as JSON.
class QueryCommand : public Command {
 public:
  /// Adds the subcommand and its options to `program`, which does not outlive this object.
  explicit QueryCommand(CLI::App& program);

  /// Carries it out and gives the program's exit status. Throws ImportError when there is no
  /// answer.
  int run(const CommandEnvironment& environment) const override;

 private:
  Dataset ask(const std::string& address, HttpAccess access,
              const CommandEnvironment& environment) const;
  std::string database_to_ask(const XmlaClient& client) const;
  std::string question(const CommandEnvironment& environment) const;

  std::string source_;
  std::string mdx_;
  std::string database_;
  std::string role_;
  XmlaAccessOptions access_;
  std::uint32_t timeout_seconds_ = 300;
  bool as_json_ = false;
};

}  // namespace importkcd
