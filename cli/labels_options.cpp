#include "cli/labels_options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <utility>

#include "base/import_error.h"
#include "cli/arguments.h"
#include "labels/labels_access.h"
#include "labels/labels_connection.h"

namespace importkcd {
namespace {

constexpr const char* password_variable = "IMPORTKCD_LABELS_PASSWORD";

void require_text(const char* option, const std::string& text) {
  if (text.find_first_not_of(' ') == std::string::npos) {
    throw CLI::ValidationError(option, "must not be empty");
  }
}

/// Fields that nobody sees; keeps the last of what a window would say.
class HiddenLabelsView : public LabelsView {
 public:
  explicit HiddenLabelsView(LabelsFields fields) : fields_(std::move(fields)) {}

  LabelsFields labels_fields() const override { return fields_; }
  void clear_list(LabelsList list) override { text_of(list).clear(); }
  void set_list_text(LabelsList list, const std::string& text) override { text_of(list) = text; }
  void add_entry(LabelsList /*list*/, const std::string& /*text*/) override {}
  void select_first(LabelsList /*list*/) override {}
  void set_default_pointer() override {}
  void show_labels_message(const LabelsMessage& message) override { said_ = message.text; }
  bool ask_yes_no(const std::string& /*title*/, const std::string& /*question*/) override {
    return false;
  }
  void PutProgressMsg(const std::string& strMessage) override { said_ = strMessage; }

  const std::string& said() const { return said_; }

 private:
  std::string& text_of(LabelsList list) {
    return list == LabelsList::databases ? fields_.database : fields_.language;
  }

  LabelsFields fields_;
  std::string said_;
};

}  // namespace

void LabelsOptions::add_to(CLI::App& command, bool are_required) {
  command_ = &command;
  auto* server = command.add_option("--labels-server", server_,
                                    "The labels server: the name of an SQL Server, sqlite:FOLDER "
                                    "or odbc:CONNECTION-STRING");
  server->type_name("SERVER")->required(are_required);
  auto* database =
      command.add_option("--labels-database", database_, "The labels database on that server");
  database->type_name("NAME")->required(are_required)->needs(server);
  auto* language = command.add_option("--language", language_,
                                      "The language of the document, as the database names it");
  language->type_name("NAME")->required(are_required)->needs(server);
  auto* user = command.add_option("--user", user_, "Who logs in to the labels server");
  user->type_name("NAME")->needs(server);
  auto* file = command.add_option("--password-file", password_file_,
                                  "The user's password, read from a file, or from standard input "
                                  "(-); else it is what the variable IMPORTKCD_LABELS_PASSWORD "
                                  "holds");
  file->type_name("FILE|-")->needs(user);
  auto* trusted = command.add_flag("--trusted", trusted_,
                                   "Log in as the user of this computer (integrated security)");
  trusted->disable_flag_override()->excludes(user)->excludes(file)->needs(server);
}

bool LabelsOptions::given() const { return command_->count("--labels-server") > 0; }

void LabelsOptions::check_combinations() const {
  require_text("--labels-server", server_);
  require_text("--labels-database", database_);
  require_text("--language", language_);
}

std::string LabelsOptions::password(const CommandEnvironment& environment) const {
  if (command_->count("--password-file") > 0) {
    return read_password(password_file_, environment.in);
  }
  const char* const value = std::getenv(password_variable);
  return value == nullptr ? "" : value;
}

LabelsFields LabelsOptions::fields(const CommandEnvironment& environment,
                                   const std::string& file) const {
  LabelsFields fields;
  fields.kci_filename = file;
  fields.server = server_;
  fields.database = database_;
  fields.language = language_;
  fields.secure_login = trusted_;
  if (!trusted_) {
    fields.user = user_;
    fields.password = password(environment);
  }
  return fields;
}

LoadedLabels load_labels(const LabelsFields& fields) {
  HiddenLabelsView view(fields);
  LabelsAccess access(view, open_labels_connection);
  if (!access.connect_with_fields() || !access.LoadLabels()) {
    throw ImportError(access.failure().empty() ? view.said() : access.failure(),
                      error_source::labels_database);
  }
  return access.labels();
}

}  // namespace importkcd
