#include "cli/serve_command.h"

#include <CLI/CLI.hpp>

namespace importkcd {

ServeCommand::ServeCommand(CLI::App& program)
    : Command(program, "serve", "Answer MDX over XMLA from imported documents") {
  constexpr std::uint32_t longest_limit_seconds = 7 * 24 * 3600;
  command_
      ->add_option("DIRECTORY", directory_,
                   "The directory that documents were imported into (mondrian:DIRECTORY)")
      ->required()
      ->type_name("");
  command_->add_option("--port", options_.port, "Where to listen; 0 is any free port")
      ->type_name("N")
      ->capture_default_str();
  command_
      ->add_option("--address", options_.address,
                   "The address of the interface to listen on. There is no login: whoever reaches "
                   "it can ask everything")
      ->type_name("ADDRESS")
      ->capture_default_str();
  command_
      ->add_option("--host", options_.hosts,
                   "A further name by which clients call this computer; requests that are meant "
                   "for other hosts are refused. May be given several times")
      ->type_name("NAME")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  command_
      ->add_option("--limit", options_.question_seconds,
                   "A question ends after so many seconds; 0 is never")
      ->type_name("SECONDS")
      ->check(CLI::Range(std::uint32_t{0}, longest_limit_seconds))
      ->capture_default_str();
}

int ServeCommand::run(const CommandEnvironment&) const {
  become_engine(engine_command(engine_directory(directory_), options_));
}

}  // namespace importkcd
