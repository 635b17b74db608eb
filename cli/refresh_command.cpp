#include "cli/refresh_command.h"

#include <CLI/CLI.hpp>
#include <ostream>

#include "base/connection_text.h"
#include "base/text.h"

namespace importkcd {

RefreshCommand::RefreshCommand(CLI::App& program)
    : Command(program, "refresh",
              "Make the OLAP engine forget figures, after the data warehouse was loaded") {
  command_->add_option("SERVER", server_, "The server that the engine serves: mondrian:DIRECTORY")
      ->required()
      ->type_name("");
}

int RefreshCommand::run(const CommandEnvironment& environment) const {
  for (const auto& remark : environment.refresh(server_)) {
    environment.err << printable(remark) << '\n';
  }
  environment.out << "Published anew: " << printable(mask_passwords(server_)) << '\n';
  return exit_status::success;
}

}  // namespace importkcd
