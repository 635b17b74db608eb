#include "labels/labels_access.h"

#include <exception>
#include <utility>
#include <vector>

#include "base/apostrophes.h"
#include "base/connection_text.h"
#include "base/import_error.h"
#include "labels/loaded_labels.h"

namespace importkcd {
namespace {

constexpr const char* languages_statement =
    " SELECT DISTINCT Languages.LanguageName FROM Languages, Labels"
    " WHERE Labels.LanguageCode = Languages.LanguageCode";

/// The language is put in as it is, apostrophes included.
std::string labels_statement(const std::string& language) {
  return " SELECT Labels.LabelID, Labels.Label\r\n"
         " FROM Labels, Languages\r\n"
         " WHERE Labels.LanguageCode = Languages.LanguageCode AND Languages.LanguageName = '" +
         language + "' ORDER BY Labels.LabelID";
}

[[noreturn]] void fail(const std::string& description) {
  throw ImportError(description, error_source::labels_database);
}

struct LabelRow {
  std::optional<std::string> id;
  std::optional<std::string> label;
};

std::int16_t id_of(const LabelRow& row) {
  if (!row.id) {
    fail("A label has no ID");
  }
  const auto id = label_id(*row.id);
  if (!id) {
    fail("Label ID '" + *row.id + "' is no number");
  }
  return *id;
}

/// Reads all rows first, so that a load that fails midway changes nothing.
std::vector<LabelRow> read_labels(LabelsConnection& connection, const std::string& language) {
  const auto rows = connection.execute(labels_statement(language));
  std::vector<LabelRow> result;
  while (rows->next()) {
    auto id = rows->text(0);
    result.push_back({std::move(id), rows->text(1)});
  }
  return result;
}

LoadedLabels table_of(const std::vector<LabelRow>& rows) {
  LoadedLabels labels;
  labels.MinLabelID = id_of(rows.front());
  labels.MaxLabelID = id_of(rows.back());
  labels.loaded = true;
  if (labels.MinLabelID > labels.MaxLabelID) {
    fail("The labels are not in the order of their IDs");
  }
  labels.LabelTable.resize(labels.index_of(labels.MaxLabelID) + 1);
  for (const auto& row : rows) {
    const auto id = id_of(row);
    if (!labels.in_range(id)) {
      fail("The labels are not in the order of their IDs");
    }
    if (!row.label) {
      fail("Label " + std::to_string(id) + " has no text");
    }
    labels.LabelTable.at(labels.index_of(id)) = XmlEscapeText(EncodeApostrophes(*row.label));
  }
  return labels;
}

}  // namespace

LabelsAccess::LabelsAccess(LabelsView& view, LabelsConnector connect)
    : view_(view), connect_(std::move(connect)) {}

LabelsLogin LabelsAccess::login_of(const LabelsFields& fields) {
  LabelsLogin login;
  login.server = fields.server;
  login.secure_login = fields.secure_login;
  if (!fields.secure_login) {
    login.user = fields.user;
    login.password = fields.password;
  }
  return login;
}

void LabelsAccess::RefreshLabelDatabases() {
  ConnectLabelsServer(login_of(view_.labels_fields()), LabelsList::databases);
}

bool LabelsAccess::ConnectLabelsServer(const LabelsLogin& login, LabelsList list) {
  failure_.clear();
  AdoConnection.reset();
  try {
    view_.clear_list(list);
    std::shared_ptr<LabelsConnection> connection = connect_(login);
    const auto catalogs = connection->catalogs();
    for (const auto& catalog : catalogs) {
      view_.add_entry(list, catalog);
    }
    if (catalogs.empty()) {
      fail("The server has no databases");
    }
    view_.select_first(list);
    view_.clear_list(LabelsList::languages);
    AdoConnection = std::move(connection);
    return true;
  } catch (const std::exception& error) {
    // Drivers may quote the connection string.
    failure_ = mask_passwords(error.what());
    view_.show_labels_message({true, "Retrieve SQLServer Databases",
                               "Error while connecting to : " + shown_labels_server(login.server)});
    return false;
  }
}

bool LabelsAccess::LoadLanguages() {
  failure_.clear();
  try {
    view_.clear_list(LabelsList::languages);
    const auto connection = required_connection(*this);
    connection->use_database(view_.labels_fields().database);
    const auto rows = connection->execute(languages_statement);
    const auto column = rows->column("LanguageName");
    while (rows->next()) {
      const auto language = rows->text(column);
      if (!language) {
        fail("A language has no name");
      }
      view_.add_entry(LabelsList::languages, *language);
    }
    return true;
  } catch (const std::exception& error) {
    failure_ = mask_passwords(error.what());
    view_.show_labels_message(
        {false, "ImportKCD",
         "This is not a correct labels database, languages table could not be found"});
    return false;
  }
}

bool LabelsAccess::LoadLabels() {
  const auto language = view_.labels_fields().language;
  if (language.empty()) {
    return true;
  }
  const auto rows = read_labels(*required_connection(*this), language);
  labels_.MinLabelID = -1;
  labels_.MaxLabelID = -1;
  labels_.loaded = false;
  if (rows.empty()) {
    view_.PutProgressMsg("No labels found for the language " + language);
    return false;
  }
  labels_ = table_of(rows);
  return true;
}

bool LabelsAccess::connect_with_fields() {
  const auto chosen = view_.labels_fields();
  const bool connected = ConnectLabelsServer(login_of(chosen), LabelsList::databases);
  view_.set_list_text(LabelsList::databases, chosen.database);
  const bool loaded = connected && LoadLanguages();
  view_.set_list_text(LabelsList::languages, chosen.language);
  return loaded;
}

std::shared_ptr<LabelsConnection> required_connection(const LabelsAccess& access) {
  if (access.AdoConnection == nullptr) {
    fail("There is no connection to the labels server");
  }
  return access.AdoConnection;
}

}  // namespace importkcd
