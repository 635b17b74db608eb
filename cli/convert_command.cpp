#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <string>
#include <utility>

#include "base/text.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/finding_output.h"
#include "cli/label_check.h"
#include "cli/labels_options.h"
#include "document/kcd_document.h"
#include "labels/kci_conversion.h"
#include "labels/labels_access.h"
#include "labels/labels_connection.h"
#include "labels/labels_view.h"

namespace importkcd {
namespace {

/// The command line in the place of the window's fields: progress to standard output, what would
/// be a message box to standard error.
class CommandLineView : public LabelsView {
 public:
  CommandLineView(const CommandEnvironment& environment, LabelsFields fields, bool overwrite)
      : out_(environment.out),
        err_(environment.err),
        fields_(std::move(fields)),
        overwrite_(overwrite) {}

  LabelsFields labels_fields() const override { return fields_; }

  void clear_list(LabelsList list) override { text_of(list).clear(); }
  void set_list_text(LabelsList list, const std::string& text) override { text_of(list) = text; }
  // The lists of databases and languages are not shown: the options name the choice.
  void add_entry(LabelsList /*list*/, const std::string& /*text*/) override {}
  void select_first(LabelsList /*list*/) override {}
  void set_default_pointer() override {}

  void show_labels_message(const LabelsMessage& message) override {
    err_ << printable(message.text) << '\n';
  }

  bool ask_yes_no(const std::string& /*title*/, const std::string& question) override {
    if (!overwrite_) {
      // "File NAME already exists; overwrite ?"
      const auto statement = question.substr(0, question.rfind(';'));
      err_ << printable(statement) << "; kcd convert --overwrite replaces it\n";
    }
    return overwrite_;
  }

  void PutProgressMsg(const std::string& strMessage) override {
    out_ << printable(strMessage) << '\n' << std::flush;
  }

 private:
  std::string& text_of(LabelsList list) {
    return list == LabelsList::databases ? fields_.database : fields_.language;
  }

  std::ostream& out_;
  std::ostream& err_;
  LabelsFields fields_;
  bool overwrite_;
};

class ConvertCommand : public Command {
 public:
  explicit ConvertCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  void add_options();
  void check_combinations() const;
  bool has_all_labels(const CommandEnvironment& environment, const LabelsFields& fields) const;

  std::string document_;
  LabelsOptions labels_;
  bool overwrite_ = false;
  bool strict_labels_ = false;
};

ConvertCommand::ConvertCommand(CLI::App& program)
    : Command(program, "convert", "Turn a label-reference file into a document in one language") {
  add_options();
  command_->parse_complete_callback([this] { check_combinations(); });
}

void ConvertCommand::add_options() {
  auto& command = *command_;
  command.add_option("FILE", document_, "The label-reference file (.kci)")
      ->required()
      ->type_name("");
  labels_.add_to(command, true);
  command.add_flag("--overwrite", overwrite_, "Replace a document that exists already")
      ->disable_flag_override();
  command
      .add_flag("--strict-labels", strict_labels_,
                "Write no document when a label is missing; say which ones are, and where")
      ->disable_flag_override();
}

void ConvertCommand::check_combinations() const {
  if (!is_kci_file(document_)) {
    throw CLI::ValidationError(document_, "not the name of a label-reference file (.kci)");
  }
  labels_.check_combinations();
}

/// Tells which labels are missing. Returns whether none is.
bool ConvertCommand::has_all_labels(const CommandEnvironment& environment,
                                    const LabelsFields& fields) const {
  const auto document = KcdDocument::load_original(document_);
  const auto labels = load_labels(fields);
  const auto findings = check_labels(*document, {&labels, labels_.language()});
  for (auto finding : findings) {
    finding.severity = Severity::error;
    write_finding(environment.err, document_, finding);
  }
  return findings.empty();
}

int ConvertCommand::run(const CommandEnvironment& environment) const {
  auto fields = labels_.fields(environment, document_);
  if (strict_labels_ && !has_all_labels(environment, fields)) {
    return exit_status::failure;
  }
  CommandLineView view(environment, std::move(fields), overwrite_);
  LabelsAccess access(view, open_labels_connection);
  const auto written = KciConversion(access, view).ConvertKciToKcd();
  if (!access.failure().empty()) {
    environment.err << printable(access.failure()) << '\n';
  }
  view.PutProgressMsg(written.empty() ? "Error during checking and converting the KCI-file"
                                      : written);
  return written.empty() ? exit_status::failure : exit_status::success;
}

}  // namespace

std::unique_ptr<const Command> make_convert_command(CLI::App& program) {
  return std::make_unique<const ConvertCommand>(program);
}

}  // namespace importkcd
