#include "cli/import_arguments.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <istream>
#include <string_view>
#include <system_error>

#include "base/files.h"
#include "base/import_error.h"
#include "cli/arguments.h"
#include "cli/connection_files.h"

namespace importkcd {
namespace {

constexpr const char* incremental_mode = "incremental";
constexpr const char* replace_mode = "replace";
constexpr const char* update_mode = "update";
constexpr const char* sync_mode = "sync";

constexpr const char* discard = "discard";
constexpr const char* keep = "keep";
constexpr const char* standard_input = "-";
constexpr const char* seen_by_others =
    "; other users of this computer can see a command line, so no password belongs into it";

/// Fails as the importer does, but before a server is made. A pipe can be opened only once.
void check_readable(const std::string& document) {
  std::error_code ignored;
  if (std::filesystem::is_fifo(document, ignored)) {
    return;
  }
  try {
    const FileReader reader(document, error_source::kcd_document);
  } catch (const ImportError& error) {
    throw ImportError("Error in opening document " + document + " " + error.description(),
                      error_source::kcd_document);
  }
}

std::int32_t type_of_mode(std::string_view mode) {
  if (mode == replace_mode) {
    return import_type::replace;
  }
  return mode == update_mode ? import_type::update : import_type::incremental;
}

}  // namespace

ImportArguments::ImportArguments(CLI::App& command)
    : command_(&command), server_("localhost"), mode_(incremental_mode), on_error_(discard) {
  add_options();
  add_flags();
  command_->parse_complete_callback([this] { check_combinations(); });
}

void ImportArguments::add_options() {
  auto& command = *command_;
  command.add_option("FILE", document_, "The document (.kcd); - is standard input")
      ->required()
      ->type_name("");
  command
      .add_option("--server", server_,
                  "The OLAP server: localhost (this computer), catalogue:PATH, mondrian:DIRECTORY "
                  "or memory:")
      ->type_name("SERVER")
      ->capture_default_str();
  add_mode_options();
  command
      .add_option(
          "--on-error", on_error_,
          "What becomes of the objects that a failed import has written: nothing of them is "
          "stored (discard), or they stay (keep)")
      ->type_name("WHAT")
      ->check(CLI::IsMember({discard, keep}))
      ->capture_default_str();
  command
      .add_option("--database", database_, "Name of the database, in place of the document's own")
      ->type_name("NAME");
  command
      .add_option("--data-source", data_source_,
                  "Data warehouse server, put into the connection strings' Data Source item")
      ->type_name("SERVER");
  auto* text =
      command.add_option("--connect-string", connect_string_,
                         "Connection string of every data source" + std::string(seen_by_others));
  auto* file = command.add_option("--connect-string-file", connect_string_files_,
                                  "The same, read from a file, or from standard input (-); "
                                  "NAME=FILE is for the data source of that name. May be given "
                                  "several times");
  file->type_name("[NAME=]FILE|-")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->excludes(text);
  text->excludes(file);
  auto* from = command.add_option("--pattern-from", pattern_from_,
                                  "Replace this text everywhere in the document ...");
  auto* to = command.add_option("--pattern-to", pattern_to_,
                                "... by this one" + std::string(seen_by_others));
  auto* to_file = command.add_option("--pattern-to-file", pattern_to_file_,
                                     "... or by this one, read from a file, or from standard input "
                                     "(-)");
  to->needs(from)->excludes(to_file);
  to_file->type_name("FILE|-")->needs(from)->excludes(to);
}

void ImportArguments::add_flags() {
  auto& command = *command_;
  auto* without =
      command.add_flag("--no-partitions", no_partitions_, "Leave the cubes' partitions alone");
  without->disable_flag_override();
  command.add_flag("--partitions")
      ->description("Import the cubes' partitions as well, which is the default")
      ->disable_flag_override()
      ->excludes(without);
  command
      .add_flag("--no-virtual", no_virtual_,
                "Leave the document's virtual dimensions and virtual cubes alone")
      ->disable_flag_override();
  command
      .add_flag("--strict", strict_,
                "Check the document first, and import nothing when there is an error or a warning")
      ->disable_flag_override();
  command
      .add_flag("--dont-update-levels", dont_update_levels_,
                "Leave the levels of shared dimensions alone (update mode only)")
      ->disable_flag_override();
}

void ImportArguments::add_mode_options() {
  auto& command = *command_;
  command
      .add_option("--mode", mode_,
                  "What happens to objects that exist: they are skipped (incremental), their "
                  "database is deleted first (replace), they are rewritten (update), or the "
                  "database becomes what the document says (sync)")
      ->type_name("MODE")
      ->check(CLI::IsMember({incremental_mode, replace_mode, update_mode, sync_mode}))
      ->capture_default_str();
  auto* keep_unknown =
      command.add_flag("--keep-unknown", keep_unknown_,
                       "Leave objects alone that the document does not have (sync mode only)");
  keep_unknown->disable_flag_override();
  command.add_flag("--prune")
      ->description("Remove them, which is the default (sync mode only)")
      ->disable_flag_override()
      ->excludes(keep_unknown);
  command
      .add_flag("--keep", keep_former_,
                "Keep what was there before, for kcd restore, as sync mode does and replace mode "
                "(update mode only)")
      ->disable_flag_override();
}

void ImportArguments::check_combinations() const {
  if (is_kci_file(document_)) {
    throw CLI::ValidationError(document_, "a KCI file has to become a document first: kcd convert");
  }
  const auto readings = ConnectionFiles(connect_string_files_).readings_of_standard_input() +
                        (document_ == standard_input ? 1 : 0) +
                        (pattern_to_file_ == standard_input ? 1 : 0);
  if (readings > 1) {
    throw CLI::ValidationError("-", "standard input can be read only once");
  }
  check_mode();
  if (command_->count("--pattern-from") > 0 &&
      command_->count("--pattern-to") + command_->count("--pattern-to-file") == 0) {
    throw CLI::RequiresError("--pattern-from", "--pattern-to");
  }
}

void ImportArguments::check_mode() const {
  for (const char* option : {"--dont-update-levels", "--keep"}) {
    if (command_->count(option) > 0 && mode_ != update_mode) {
      throw CLI::ValidationError(option, "goes with --mode update only");
    }
  }
  for (const char* option : {"--prune", "--keep-unknown"}) {
    if (command_->count(option) > 0 && mode_ != sync_mode) {
      throw CLI::ValidationError(option, "goes with --mode sync only");
    }
  }
  if (mode_ == sync_mode && on_error_ == keep) {
    throw CLI::ValidationError("--on-error keep", "does not go with --mode sync");
  }
}

/// A file that can be read: a server is not made for one that is not there.
std::string ImportArguments::document_file(const CommandEnvironment& environment) const {
  if (document_ != standard_input) {
    check_readable(document_);
    return document_;
  }
  received_ = std::make_unique<StandardInputFile>(environment.in);
  return received_->path();
}

std::string ImportArguments::new_pattern(const CommandEnvironment& environment) const {
  return command_->count("--pattern-to-file") == 0 ? pattern_to_
                                                   : read_pattern(pattern_to_file_, environment.in);
}

ImportRequest ImportArguments::request(const CommandEnvironment& environment) const {
  ImportRequest request;
  request.synchronises = mode_ == sync_mode;
  request.prunes = !keep_unknown_;
  request.keeps_former = keep_former_;
  auto& options = request.options;
  options.kcd_document_file_name = document_file(environment);
  options.machine_name = server_;
  options.ImportType = type_of_mode(mode_);
  options.incremental = options.ImportType == import_type::incremental;
  options.replace_yn = options.ImportType == import_type::replace;
  options.after_failure = on_error_ == keep ? AfterFailure::keep : AfterFailure::discard;
  options.DontUpdateLevels = dont_update_levels_;
  options.import_partitions = !no_partitions_;
  options.import_virtual_objects = !no_virtual_;
  options.alternate_database_name = database_;
  options.use_alternate_database_name = command_->count("--database") > 0;
  options.data_source_name = data_source_;
  options.datawarehouse_connectstring = connect_string_;
  options.replace_pattern(command_->count("--pattern-from") > 0);
  options.pattern_from = pattern_from_;
  options.pattern_to = new_pattern(environment);
  ConnectionFiles(connect_string_files_).apply(options, environment.in);
  return request;
}

}  // namespace importkcd
