#pragma once

#include <string>

#include "cli/command.h"
#include "cli/xmla_access_options.h"

namespace importkcd {

/// `kcd refresh`: makes a running OLAP engine forget the figures that it remembers, after the data
/// warehouse was loaded. What it serves stays as it is.
class RefreshCommand : public Command {
 public:
  explicit RefreshCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  std::string server_;
  std::string database_;
  XmlaAccessOptions access_;
};

}  // namespace importkcd
