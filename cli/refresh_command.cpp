#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <string>

#include "base/connection_text.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/xmla_access_options.h"
#include "xmla/xmla_address.h"
#include "xmla/xmla_client.h"

namespace importkcd {
namespace {

class RefreshCommand : public Command {
 public:
  explicit RefreshCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  std::string server_;
  std::string database_;
  XmlaAccessOptions access_;
};

RefreshCommand::RefreshCommand(CLI::App& program)
    : Command(program, "refresh",
              "Make the OLAP engine forget figures, after the data warehouse was loaded") {
  command_
      ->add_option("SERVER", server_,
                   "The server that the engine serves: mondrian:DIRECTORY, for all engines over "
                   "it; or the address of one engine (http://...)")
      ->required()
      ->type_name("");
  command_->add_option("--database", database_, "Only this database; for an address")
      ->type_name("NAME");
  access_.add_to(*command_);
}

int RefreshCommand::run(const CommandEnvironment& environment) const {
  if (is_xmla_address(server_)) {
    XmlaClient(server_, {}, access_.read(environment)).forget_figures(database_);
    environment.out << "Forgotten: the figures of " << printable(shown_address(server_)) << '\n';
    return exit_status::success;
  }
  for (const auto& remark : environment.refresh(server_)) {
    environment.err << printable(remark) << '\n';
  }
  environment.out << "Published anew: " << printable(mask_passwords(server_)) << '\n';
  return exit_status::success;
}

}  // namespace

std::unique_ptr<const Command> make_refresh_command(CLI::App& program) {
  return std::make_unique<const RefreshCommand>(program);
}

}  // namespace importkcd
