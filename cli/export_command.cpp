#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/connection_text.h"
#include "base/import_error.h"
#include "base/temporary_file.h"
#include "base/text.h"
#include "base/whole_file.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/stored_databases.h"
#include "comparison/plan.h"
#include "exporter/kcd_export.h"
#include "importer/import_olapdb_from_kcd_doc.h"

namespace importkcd {
namespace {

constexpr const char* source = "kcd";

/// What a document says, by importing it into an empty server. Throws ImportError when it cannot be
/// imported.
std::optional<DatabaseDefinition> reread(const std::string& text,
                                         const CommandEnvironment& environment) {
  TemporaryFile file(source);
  file.write(text);
  auto empty = environment.open_for_rehearsal("memory:", RehearsalBase::empty);
  ImportOLAPDBFromKCDDoc importer([&](std::string_view) { return std::move(empty.server); });
  importer.kcd_document_file_name = file.path();
  importer.import_partitions = true;
  importer.import_virtual_objects = true;
  importer.succeeded = true;
  importer.make();
  if (!importer.succeeded) {
    throw ImportError("the document cannot be imported: " + importer.last_error, source);
  }
  return empty.store->after(empty.store->held_name());
}

std::string name_of(const PlannedObject& object) {
  return std::string(object.kind) + " '" + object.name + "'";
}

/// Says what the document does not say of the database.
void tell_losses(const Plan& losses, std::ostream& err) {
  for (const auto& object : losses.objects) {
    if (object.action != PlannedObject::Action::change) {
      err << printable("The document does not say it: " + name_of(object)) << '\n';
    }
    for (const auto& difference : object.differences) {
      err << printable("The document does not say it: " + name_of(object) + ": " +
                       text_of(difference))
          << '\n';
    }
  }
}

class ExportCommand : public Command {
 public:
  explicit ExportCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  OlapDatabase& chosen_database(OlapServer& server) const;
  void write(const std::string& text, std::ostream& out) const;

  std::string server_;
  std::string database_;
  std::string output_;
  bool overwrite_ = false;
  bool with_passwords_ = false;
};

ExportCommand::ExportCommand(CLI::App& program)
    : Command(program, "export", "Write a stored database as a document") {
  add_server_argument(*command_, server_);
  command_->add_option("DATABASE", database_, "The database; needed when there are several")
      ->type_name("");
  command_->add_option("--output", output_, "Write to this file, not to standard output")
      ->type_name("FILE");
  command_->add_flag("--overwrite", overwrite_, "Replace a file that exists already")
      ->disable_flag_override();
  command_
      ->add_flag("--with-passwords", with_passwords_,
                 "Write the passwords of connection strings, too; they are left out otherwise")
      ->disable_flag_override();
}

OlapDatabase& ExportCommand::chosen_database(OlapServer& server) const {
  auto names = databases_of(server);
  if (command_->count("DATABASE") > 0) {
    return server.open_database(database_named(names, database_));
  }
  if (names.empty()) {
    throw ImportError("No databases on " + mask_passwords(server_), source);
  }
  if (names.size() > 1) {
    throw ImportError("There are several databases; name one of " + listed(names), source);
  }
  return server.open_database(names.front());
}

void ExportCommand::write(const std::string& text, std::ostream& out) const {
  if (output_.empty()) {
    out << text;
    return;
  }
  std::error_code error;
  if (!overwrite_ && std::filesystem::exists(std::filesystem::symlink_status(output_, error))) {
    throw ImportError("'" + output_ + "' exists already; kcd export --overwrite replaces it",
                      source);
  }
  WholeFile file(output_, source);
  file.append(text);
  file.finish();
}

int ExportCommand::run(const CommandEnvironment& environment) const {
  const auto server = environment.open_for_looking(server_);
  server->connect(server_);
  auto& database = chosen_database(*server);
  const auto whole = export_document(database, Passwords::written);
  const auto stored = definition_of(database);
  const auto written = reread(whole.text, environment);
  write(with_passwords_ ? whole.text : export_document(database, Passwords::left_out).text,
        environment.out);
  tell_losses(compare_databases(&stored, written ? &*written : nullptr), environment.err);
  return exit_status::success;
}

}  // namespace

std::unique_ptr<const Command> make_export_command(CLI::App& program) {
  return std::make_unique<const ExportCommand>(program);
}

}  // namespace importkcd
