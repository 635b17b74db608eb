#include "cli/serve_command.h"

#include <CLI/CLI.hpp>

namespace importkcd {

ServeCommand::ServeCommand(CLI::App& program)
    : command_(program.add_subcommand("serve", "Answer MDX over XMLA from imported documents")),
      address_(default_engine_address) {
  command_
      ->add_option("DIRECTORY", directory_,
                   "The directory that documents were imported into (mondrian:DIRECTORY)")
      ->required()
      ->type_name("");
  command_->add_option("--port", port_, "Where to listen; 0 is any free port")
      ->type_name("N")
      ->capture_default_str();
  command_
      ->add_option("--address", address_,
                   "The address of the interface to listen on. There is no login: whoever reaches "
                   "it can ask everything")
      ->type_name("ADDRESS")
      ->capture_default_str();
}

bool ServeCommand::chosen() const { return command_->parsed(); }

int ServeCommand::run(const CommandEnvironment&) const {
  become_engine(engine_command(engine_directory(directory_), address_, port_));
}

}  // namespace importkcd
