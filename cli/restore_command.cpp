#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "base/connection_text.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/stored_databases.h"

namespace importkcd {
namespace {

class RestoreCommand : public Command {
 public:
  explicit RestoreCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  void sort_out_names();
  void list(const std::vector<KeptCopy>& copies, std::ostream& out) const;

  std::string server_;
  std::string database_;
  bool list_ = false;
};

RestoreCommand::RestoreCommand(CLI::App& program)
    : Command(program, "restore",
              "Bring a database back as it was before an import replaced or changed it") {
  add_server_argument(*command_, server_);
  command_->add_option("DATABASE", database_, "The database; a single name is that of the database")
      ->type_name("");
  command_->add_flag("--list", list_, "List the copies that can be brought back, with their dates")
      ->disable_flag_override();
  command_->parse_complete_callback([this] { sort_out_names(); });
}

/// The server's name, which comes first, is the one that may be left out.
void RestoreCommand::sort_out_names() {
  const auto names = command_->count("SERVER") + command_->count("DATABASE");
  if (list_ && names > 1) {
    throw CLI::ValidationError("DATABASE", "does not go with --list");
  }
  if (!list_ && names == 0) {
    throw CLI::RequiredError("DATABASE");
  }
  if (!list_ && names == 1) {
    database_ = std::exchange(server_, command_->get_option("SERVER")->get_default_str());
  }
}

void RestoreCommand::list(const std::vector<KeptCopy>& copies, std::ostream& out) const {
  if (copies.empty()) {
    out << "No kept copies on " << printable(mask_passwords(server_)) << ".\n";
  }
  for (const auto& copy : copies) {
    out << printable(copy.kept_since) << " UTC  " << printable(copy.name) << '\n';
  }
}

int RestoreCommand::run(const CommandEnvironment& environment) const {
  if (list_) {
    list(environment.kept_copies(server_), environment.out);
    return exit_status::success;
  }
  const auto restored = environment.restore_database(server_, database_);
  environment.out << "Restored database '" << printable(restored.copy.name) << "', kept since "
                  << printable(restored.copy.kept_since) << " UTC"
                  << (restored.displaced_another ? "; the one in its place is kept now" : "")
                  << ".\n";
  for (const auto& remark : restored.remarks) {
    environment.err << printable(remark) << '\n';
  }
  return exit_status::success;
}

}  // namespace

std::unique_ptr<const Command> make_restore_command(CLI::App& program) {
  return std::make_unique<const RestoreCommand>(program);
}

}  // namespace importkcd
