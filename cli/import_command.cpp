#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "base/import_error.h"
#include "cli/commands.h"
#include "cli/document_findings.h"
#include "cli/finding_output.h"
#include "cli/import_arguments.h"
#include "cli/import_log.h"
#include "comparison/import_execution.h"

namespace importkcd {
namespace {

constexpr const char* plain_log = "plain";
constexpr const char* json_log = "json";

std::vector<Finding> as_errors(std::vector<Finding> findings) {
  for (auto& finding : findings) {
    finding.severity = Severity::error;
  }
  return findings;
}

std::vector<std::string> lines_of(const std::string& document,
                                  const std::vector<Finding>& findings) {
  std::vector<std::string> lines;
  for (const auto& finding : findings) {
    std::ostringstream line;
    write_finding(line, document, finding);
    lines.push_back(line.str().substr(0, line.str().find('\n')));
  }
  return lines;
}

class ImportCommand : public Command {
 public:
  explicit ImportCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  ImportArguments arguments_;
  std::string log_;
  bool quiet_ = false;
  std::uint32_t wait_seconds_ = 0;
};

ImportCommand::ImportCommand(CLI::App& program)
    : Command(program, "import", "Import a cube definition document into an OLAP server"),
      arguments_(*command_),
      log_(plain_log) {
  constexpr std::uint32_t longest_wait_seconds = 7 * 24 * 3600;
  command_
      ->add_option("--log", log_,
                   "How messages are written: in lines (plain), or each as a JSON object with "
                   "time, action, kind, name and message (json)")
      ->type_name("FORM")
      ->check(CLI::IsMember({plain_log, json_log}))
      ->capture_default_str();
  command_->add_flag("--quiet", quiet_, "Print errors and the last line, the summary, only")
      ->disable_flag_override();
  command_
      ->add_option("--wait", wait_seconds_,
                   "How long to wait for a database that another import is working on")
      ->type_name("SECONDS")
      ->check(CLI::Range(std::uint32_t{0}, longest_wait_seconds))
      ->capture_default_str();
}

int ImportCommand::run(const CommandEnvironment& environment) const {
  ImportLog log(environment, {log_ == json_log, quiet_});
  RequestOutcome outcome;
  std::vector<Finding> faults;
  try {
    auto request = arguments_.request(environment);
    request.longest_wait = std::chrono::seconds(wait_seconds_);
    request.options.progres_window = &log;
    request.options.notifications = &log;
    request.look_at_failure = [&](const ImportOLAPDBFromKCDDoc& importer) {
      faults = as_errors(findings_of_failure(importer));
    };
    if (arguments_.strict()) {
      faults = as_errors(findings_before(request.options));
    }
    if (faults.empty()) {
      outcome = carry_out(request, {environment.open_for_change, environment.open_for_rehearsal});
    } else {
      outcome.error = "Nothing was imported: " + summary_of({{arguments_.document(), faults}});
    }
  } catch (const ImportError& error) {
    outcome.error = error.description();
    outcome.cause = error.cause();
  }
  log.finish(outcome, lines_of(arguments_.document(), faults));
  return outcome.succeeded ? exit_status::success : exit_status::of(outcome.cause);
}

}  // namespace

std::unique_ptr<const Command> make_import_command(CLI::App& program) {
  return std::make_unique<const ImportCommand>(program);
}

}  // namespace importkcd
