#include "cli/import_command.h"

#include <CLI/CLI.hpp>
#include <istream>
#include <ostream>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "cli/arguments.h"
#include "cli/document_findings.h"
#include "cli/finding_output.h"

namespace importkcd {
namespace {

constexpr const char* incremental_mode = "incremental";
constexpr const char* replace_mode = "replace";
constexpr const char* update_mode = "update";
constexpr const char* sync_mode = "sync";

constexpr const char* discard = "discard";
constexpr const char* keep = "keep";

/// Progress to standard output, what asks for attention to standard error.
class StreamSink : public ProgressSink, public NotificationSink {
 public:
  explicit StreamSink(const CommandEnvironment& environment)
      : out_(environment.out), err_(environment.err) {}

  /// Flushed each time: whoever watches a pipe sees how far the run is.
  void put_progres_message(const std::string& message) override {
    out_ << printable(message) << '\n' << std::flush;
  }
  void show_message(const std::string& text) override { err_ << printable(text) << '\n'; }

 private:
  std::ostream& out_;
  std::ostream& err_;
};

std::int32_t type_of_mode(std::string_view mode) {
  if (mode == replace_mode) {
    return import_type::replace;
  }
  return mode == update_mode ? import_type::update : import_type::incremental;
}

/// Tells what is wrong in the document. Returns whether nothing is.
bool is_clean(const CommandEnvironment& environment, const ImportOptions& options) {
  const auto& document = options.kcd_document_file_name;
  auto findings = findings_before(options);
  for (auto& finding : findings) {
    finding.severity = Severity::error;
    write_finding(environment.err, document, finding);
  }
  if (!findings.empty()) {
    environment.err << "Nothing was imported: " << summary_of({{document, findings}}) << '\n';
  }
  return findings.empty();
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
  command.add_option("FILE", document_, "The document (.kcd)")->required()->type_name("");
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
  auto* text = command.add_option("--connect-string", connect_string_,
                                  "Connection string of every data source");
  auto* file = command.add_option("--connect-string-file", connect_string_file_,
                                  "The same, read from a file, or from standard input (-)");
  file->type_name("FILE|-")->excludes(text);
  text->excludes(file);
  auto* from = command.add_option("--pattern-from", pattern_from_,
                                  "Replace this text everywhere in the document ...");
  auto* to = command.add_option("--pattern-to", pattern_to_, "... by this one");
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

std::string ImportArguments::connection_text(const CommandEnvironment& environment) const {
  return command_->count("--connect-string-file") == 0
             ? connect_string_
             : read_connection_text(connect_string_file_, environment.in);
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
  options.kcd_document_file_name = document_;
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
  options.datawarehouse_connectstring = connection_text(environment);
  options.replace_pattern(command_->count("--pattern-from") > 0);
  options.pattern_from = pattern_from_;
  options.pattern_to = new_pattern(environment);
  return request;
}

ImportCommand::ImportCommand(CLI::App& program)
    : command_(program.add_subcommand("import",
                                      "Import a cube definition document into an OLAP server")),
      arguments_(*command_) {}

bool ImportCommand::chosen() const { return command_->parsed(); }

int ImportCommand::run(const CommandEnvironment& environment) const {
  StreamSink sink(environment);
  auto request = arguments_.request(environment);
  request.options.progres_window = &sink;
  request.options.notifications = &sink;
  std::vector<Finding> faults;
  request.look_at_failure = [&](const ImportOLAPDBFromKCDDoc& importer) {
    faults = findings_of_failure(importer);
  };
  if (arguments_.strict() && !is_clean(environment, request.options)) {
    return exit_status::failure;
  }
  const auto result =
      carry_out(request, {environment.open_for_change, environment.open_for_rehearsal});
  if (!result.error.empty()) {
    environment.err << printable(result.error) << '\n';
  }
  for (const auto& fault : faults) {
    write_finding(environment.err, request.options.kcd_document_file_name, fault);
  }
  return result.succeeded ? exit_status::success : exit_status::failure;
}

}  // namespace importkcd
