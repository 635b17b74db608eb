#include "cli/convert_command.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <ostream>
#include <utility>

#include "base/text.h"
#include "cli/arguments.h"
#include "labels/kci_conversion.h"
#include "labels/labels_access.h"
#include "labels/labels_connection.h"
#include "labels/labels_view.h"

namespace importkcd {
namespace {

constexpr const char* password_variable = "IMPORTKCD_LABELS_PASSWORD";

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

void require_text(const char* option, const std::string& text) {
  if (text.find_first_not_of(' ') == std::string::npos) {
    throw CLI::ValidationError(option, "must not be empty");
  }
}

}  // namespace

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
  command
      .add_option("--labels-server", labels_server_,
                  "The labels server: the name of an SQL Server, sqlite:FOLDER or "
                  "odbc:CONNECTION-STRING")
      ->required()
      ->type_name("SERVER");
  command.add_option("--labels-database", labels_database_, "The labels database on that server")
      ->required()
      ->type_name("NAME");
  command
      .add_option("--language", language_, "The language of the document, as the database names it")
      ->required()
      ->type_name("NAME");
  auto* user = command.add_option("--user", user_, "Who logs in to the labels server");
  user->type_name("NAME");
  auto* file = command.add_option("--password-file", password_file_,
                                  "The user's password, read from a file, or from standard input "
                                  "(-); else it is what the variable IMPORTKCD_LABELS_PASSWORD "
                                  "holds");
  file->type_name("FILE|-")->needs(user);
  auto* trusted = command.add_flag("--trusted", trusted_,
                                   "Log in as the user of this computer (integrated security)");
  trusted->disable_flag_override()->excludes(user)->excludes(file);
  command.add_flag("--overwrite", overwrite_, "Replace a document that exists already")
      ->disable_flag_override();
}

void ConvertCommand::check_combinations() const {
  if (!is_kci_file(document_)) {
    throw CLI::ValidationError(document_, "not the name of a label-reference file (.kci)");
  }
  require_text("--labels-server", labels_server_);
  require_text("--labels-database", labels_database_);
  require_text("--language", language_);
}

std::string ConvertCommand::password(const CommandEnvironment& environment) const {
  if (command_->count("--password-file") > 0) {
    return read_password(password_file_, environment.in);
  }
  const char* const value = std::getenv(password_variable);
  return value == nullptr ? "" : value;
}

int ConvertCommand::run(const CommandEnvironment& environment) const {
  LabelsFields fields;
  fields.kci_filename = document_;
  fields.server = labels_server_;
  fields.database = labels_database_;
  fields.language = language_;
  fields.secure_login = trusted_;
  if (!trusted_) {
    fields.user = user_;
    fields.password = password(environment);
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

}  // namespace importkcd
