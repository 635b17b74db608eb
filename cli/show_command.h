#pragma once

#include <string>
#include <vector>

#include "cli/command.h"
#include "cli/xmla_access_options.h"
#include "xmla/xmla_client.h"

namespace importkcd {

/// `kcd show`: prints what a server holds, as a tree or as JSON. It changes and creates nothing.
class ShowCommand : public Command {
 public:
  /// Adds the subcommand and its options to `program`, which does not outlive this object.
  explicit ShowCommand(CLI::App& program);

  /// Carries it out and gives the program's exit status. Throws ImportError when the server cannot
  /// be read or does not hold the database.
  int run(const CommandEnvironment& environment) const override;

 private:
  /// The one of a server's databases that was asked for, or all. Throws ImportError when it is not
  /// among them.
  std::vector<std::string> chosen_of(std::vector<std::string> names) const;
  void show_tree(OlapServer& server, std::ostream& out) const;
  void show_json(OlapServer& server, std::ostream& out) const;
  /// What a running XMLA server offers; it tells less than a server of this system does.
  void show_xmla_tree(const XmlaClient& client, std::ostream& out) const;
  void show_xmla_json(const XmlaClient& client, std::ostream& out) const;

  std::string server_;
  std::string database_;
  XmlaAccessOptions access_;
  bool as_json_ = false;
};

}  // namespace importkcd
