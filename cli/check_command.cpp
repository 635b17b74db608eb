#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/import_error.h"
#include "base/text.h"
#include "check/document_check.h"
#include "check/findings.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/document_findings.h"
#include "cli/finding_output.h"
#include "cli/label_check.h"
#include "cli/labels_options.h"
#include "cli/mdx_check.h"
#include "cli/standard_input_file.h"

namespace importkcd {
namespace {

constexpr const char* text_format = "text";
constexpr const char* sarif_format = "sarif";
constexpr std::string_view mondrian_form = "mondrian:";

bool is_error(const Finding& finding) { return finding.severity == Severity::error; }

bool any_error(const std::vector<Finding>& findings) {
  return std::any_of(findings.begin(), findings.end(), is_error);
}

void append(std::vector<Finding>& findings, std::vector<Finding> more) {
  std::move(more.begin(), more.end(), std::back_inserter(findings));
}

class CheckCommand : public Command {
 public:
  explicit CheckCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  void add_options();
  void check_combinations() const;
  bool is_for_mdx() const;
  std::vector<Finding> findings_of(const CommandEnvironment& environment, const std::string& file,
                                   const LoadedLabels* labels) const;
  std::vector<Finding> findings_in(const CommandEnvironment& environment, const std::string& path,
                                   bool is_label_file, const LoadedLabels* labels) const;

  std::vector<std::string> files_;
  std::string server_;
  std::string format_;
  bool strict_ = false;
  bool for_mdx_ = false;
  LabelsOptions labels_;
};

CheckCommand::CheckCommand(CLI::App& program)
    : Command(program, "check",
              "Tell what is wrong in documents, all at once, without importing them"),
      format_(text_format) {
  add_options();
  command_->parse_complete_callback([this] { check_combinations(); });
}

void CheckCommand::add_options() {
  auto& command = *command_;
  command
      .add_option("FILE", files_,
                  "The documents (.kcd) or label-reference files (.kci); - is standard input")
      ->required()
      ->type_name("");
  command.add_flag("--strict", strict_, "Take warnings for errors")->disable_flag_override();
  command
      .add_option("--server", server_,
                  "The OLAP server that the documents are for: mondrian:DIRECTORY means the same "
                  "as --for-mdx; nothing is looked at there")
      ->type_name("SERVER");
  command
      .add_flag("--for-mdx", for_mdx_,
                "Tell as well what the OLAP engine of a mondrian: server could not serve")
      ->disable_flag_override();
  command
      .add_option("--format", format_,
                  "How findings are written: in lines (text), or as build servers read them "
                  "(sarif)")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({text_format, sarif_format}))
      ->capture_default_str();
  labels_.add_to(command, false);
}

void CheckCommand::check_combinations() const {
  if (std::count(files_.begin(), files_.end(), "-") > 1) {
    throw CLI::ValidationError("FILE", "standard input can be read only once");
  }
  if (labels_.given()) {
    labels_.check_combinations();
  }
}

bool CheckCommand::is_for_mdx() const {
  return for_mdx_ || std::string_view(server_).starts_with(mondrian_form);
}

std::vector<Finding> CheckCommand::findings_in(const CommandEnvironment& environment,
                                               const std::string& path, bool is_label_file,
                                               const LoadedLabels* labels) const {
  std::unique_ptr<KcdDocument> document;
  try {
    document = KcdDocument::load_original(path);
  } catch (const ImportError& error) {
    return {finding_of(error)};
  }
  auto findings = check_document(*document, {is_label_file});
  if (is_label_file) {
    append(findings, check_labels(*document, {labels, labels_.language()}));
  } else if (is_for_mdx()) {
    if (any_error(findings)) {
      environment.err << "kcd: not checked for the OLAP engine, because an import would fail: "
                      << printable(path) << '\n';
    } else {
      append(findings, check_for_mdx(*document, path, environment.open_for_change));
    }
  }
  sort_by_place(findings);
  return findings;
}

std::vector<Finding> CheckCommand::findings_of(const CommandEnvironment& environment,
                                               const std::string& file,
                                               const LoadedLabels* labels) const {
  if (file == "-") {
    const StandardInputFile input(environment.in);
    return findings_in(environment, input.path(), false, labels);
  }
  return findings_in(environment, file, is_kci_file(file), labels);
}

int CheckCommand::run(const CommandEnvironment& environment) const {
  LoadedLabels labels;
  if (labels_.given()) {
    labels = load_labels(labels_.fields(environment, ""));
  }
  std::vector<FileFindings> all;
  bool has_error = false;
  for (const auto& file : files_) {
    auto findings = findings_of(environment, file, labels_.given() ? &labels : nullptr);
    for (auto& finding : findings) {
      finding.severity = strict_ ? Severity::error : finding.severity;
      if (format_ == text_format) {
        write_finding(environment.out, file, finding);
      }
    }
    has_error = has_error || any_error(findings);
    all.push_back({file, std::move(findings)});
  }
  if (format_ == sarif_format) {
    write_sarif(environment.out, all);
  }
  (format_ == sarif_format ? environment.err : environment.out) << summary_of(all) << '\n';
  return has_error ? exit_status::failure : exit_status::success;
}

}  // namespace

std::unique_ptr<const Command> make_check_command(CLI::App& program) {
  return std::make_unique<const CheckCommand>(program);
}

}  // namespace importkcd
