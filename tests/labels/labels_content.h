#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>
#include <vector>

#include "tests/support/database_content.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// A text as an SQL literal.
inline std::string sql_text(const std::string& text, const std::string& prefix = "") {
  std::string result = prefix + "'";
  for (const char character : text) {
    result.append(character == '\'' ? 2 : 1, character);
  }
  return result + "'";
}

/// Makes the three tables of a labels database, and languages 1, 2, ... with these names.
inline std::vector<std::string> labels_tables(const std::vector<std::string>& languages,
                                              const std::string& text_prefix = "",
                                              const std::string& name_type = "VARCHAR(100)",
                                              const std::string& label_type = "TEXT") {
  std::vector<std::string> statements{
      "CREATE TABLE Languages (LanguageCode INTEGER, LanguageName " + name_type + ")",
      "CREATE TABLE Labels (LabelID INTEGER, Label " + label_type + ", LanguageCode INTEGER)",
      "CREATE TABLE KCI_GUIDs (Remark " + name_type + ", GUID " + name_type + ")"};
  for (std::size_t i = 0; i < languages.size(); ++i) {
    statements.push_back("INSERT INTO Languages VALUES (" + std::to_string(i + 1) + ", " +
                         sql_text(languages[i], text_prefix) + ")");
  }
  return statements;
}

/// Adds a label of a language.
inline std::string insert_label(int language, int id, const std::string& text,
                                const std::string& text_prefix = "") {
  return "INSERT INTO Labels VALUES (" + std::to_string(id) + ", " + sql_text(text, text_prefix) +
         ", " + std::to_string(language) + ")";
}

/// Registers a KCI file's identity.
inline std::string insert_guid(const std::string& guid) {
  return "INSERT INTO KCI_GUIDs VALUES (NULL, " + sql_text(guid) + ")";
}

/// Makes a database of the embedded labels server in a folder.
inline void write_sqlite_database(const TemporaryFolder& folder, const DatabaseContent& content) {
  SQLite::Database database(folder.file(content.name + ".db"),
                            SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  SQLite::Transaction transaction(database);
  for (const auto& statement : content.statements) {
    database.exec(statement);
  }
  transaction.commit();
}

}  // namespace importkcd::testing
