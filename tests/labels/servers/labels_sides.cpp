#include "tests/labels/servers/labels_sides.h"

#include <cstdlib>
#include <map>
#include <vector>

#include "tests/labels/labels_content.h"
#include "tests/support/tds_server.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {
namespace {

/// How a server wants texts and their types written.
struct Dialect {
  std::string text_prefix;
  std::string name_type = "VARCHAR(100)";
  std::string label_type = "TEXT";
};

std::vector<std::string> sales_statements(const Dialect& dialect) {
  enum Language {
    english = 1,
    french,
    japanese,
    apostrophe,
    silent,
    too_high,
    without_text,
    lengthy
  };
  auto statements = labels_tables({"English", "Français", "日本語 😀", "O'Neil", "Silent",
                                   "Too high", "Without text", "Lengthy"},
                                  dialect.text_prefix, dialect.name_type, dialect.label_type);
  const auto add = [&](int language, int id, const std::string& text) {
    statements.push_back(insert_label(language, id, text, dialect.text_prefix));
  };
  // Not in the order of the IDs, which is the statement's business.
  add(english, 9, "Men's w<ea>r");
  add(english, -2, "Year & \"month\"");
  add(english, 5, "Line\r\nbreak");
  add(english, 7, "");
  add(french, 5, "Année €");
  add(japanese, 5, "年 😀");
  add(apostrophe, 5, "x");
  add(too_high, 32768, "x");
  statements.push_back("INSERT INTO Labels VALUES (1, NULL, " + std::to_string(without_text) + ")");
  for (int units = 4093; units <= 4098; ++units) {
    add(lengthy, units, text_of_units(static_cast<std::size_t>(units)));
  }
  add(lengthy, 32000, text_of_units(32000));
  statements.push_back(insert_guid("{GUID-1}"));
  statements.emplace_back("INSERT INTO KCI_GUIDs VALUES ('none', NULL)");
  statements.push_back(insert_guid("{GUID-2}"));
  return statements;
}

std::vector<DatabaseContent> side_content(const Dialect& dialect) {
  auto stock =
      labels_tables({"Deutsch"}, dialect.text_prefix, dialect.name_type, dialect.label_type);
  stock.push_back(insert_label(1, 1, "Lager", dialect.text_prefix));
  return {{side_database::sales, sales_statements(dialect)},
          {side_database::stock, stock},
          {side_database::other, {"CREATE TABLE Other (Code INTEGER)"}}};
}

/// Fills a server over its own connection; `quoted` writes a database's name.
template <typename Quoted>
void fill(LabelsConnection& connection, const Dialect& dialect, Quoted quoted) {
  for (const auto& content : side_content(dialect)) {
    connection.execute("DROP DATABASE IF EXISTS " + quoted(content.name));
    connection.execute("CREATE DATABASE " + quoted(content.name));
    connection.use_database(content.name);
    for (const auto& statement : content.statements) {
      connection.execute(statement);
    }
  }
}

class SqliteSide : public LabelsSide {
 public:
  SqliteSide() {
    for (const auto& content : side_content({})) {
      write_sqlite_database(folder_, content);
    }
  }
  LabelsLogin login() const override {
    LabelsLogin login;
    login.server = "sqlite:" + folder_.path().string();
    return login;
  }

 private:
  TemporaryFolder folder_;
};

class MariaDbSide : public LabelsSide {
 public:
  MariaDbSide() {
    const auto connection = open_labels_connection(login());
    fill(*connection, {"", "VARCHAR(100)", "MEDIUMTEXT"},
         [](const std::string& name) { return "`" + name + "`"; });
  }
  LabelsLogin login() const override {
    LabelsLogin login;
    login.server = "odbc:" + server_.connection_string();
    login.user = MariaDbServer::user;
    login.password = MariaDbServer::password;
    return login;
  }
  const MariaDbServer& server() const { return server_; }

 private:
  MariaDbServer server_;
};

/// An SQL Server on which the databases are made and, in the end, dropped.
class SqlServerSide : public LabelsSide {
 public:
  explicit SqlServerSide(LabelsLogin login) : login_(std::move(login)) {
    const auto connection = open_labels_connection(login_);
    fill(*connection, {"N", "NVARCHAR(100)", "NVARCHAR(MAX)"}, in_brackets);
  }
  ~SqlServerSide() override {
    try {
      const auto connection = open_labels_connection(login_);
      for (const auto* name : {side_database::sales, side_database::stock, side_database::other}) {
        connection->execute("DROP DATABASE " + in_brackets(name));
      }
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
  }
  LabelsLogin login() const override { return login_; }

 private:
  static std::string in_brackets(const std::string& name) {
    std::string result = "[";
    for (const char character : name) {
      result.append(character == ']' ? 2 : 1, character);
    }
    return result + "]";
  }

  LabelsLogin login_;
};

class TdsSide : public LabelsSide {
 public:
  LabelsLogin login() const override { return side_.login(); }

 private:
  static LabelsLogin login_of(const TdsServer& server) {
    LabelsLogin login;
    login.server = server.address();
    login.user = TdsServer::user;
    login.password = TdsServer::password;
    return login;
  }

  TdsServer server_{{{"master", {}}}};
  SqlServerSide side_{login_of(server_)};
};

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::unique_ptr<LabelsSide> make_real_sql_server_side() {
  LabelsLogin login;
  login.server = environment("IMPORTKCD_TEST_SQL_SERVER");
  login.user = environment("IMPORTKCD_TEST_SQL_USER");
  login.password = environment("IMPORTKCD_TEST_SQL_PASSWORD");
  login.secure_login = login.user.empty();
  return login.server.empty() ? nullptr : std::make_unique<SqlServerSide>(login);
}

std::unique_ptr<LabelsSide> make_side(LabelsSideKind kind) {
  switch (kind) {
    case LabelsSideKind::sqlite_folder:
      return std::make_unique<SqliteSide>();
    case LabelsSideKind::mariadb:
      return std::make_unique<MariaDbSide>();
    case LabelsSideKind::tds_server:
      return std::make_unique<TdsSide>();
    case LabelsSideKind::real_sql_server:
      break;
  }
  return make_real_sql_server_side();
}

std::map<LabelsSideKind, std::unique_ptr<LabelsSide>>& sides() {
  static std::map<LabelsSideKind, std::unique_ptr<LabelsSide>> all;
  return all;
}

/// Ends the servers when the last test has run.
class SidesEnvironment : public ::testing::Environment {
 public:
  void TearDown() override { sides().clear(); }
};

[[maybe_unused]] const auto* const registered =
    ::testing::AddGlobalTestEnvironment(new SidesEnvironment);

}  // namespace

LabelsSide* shared_labels_side(LabelsSideKind kind) {
  auto found = sides().find(kind);
  if (found == sides().end()) {
    found = sides().emplace(kind, make_side(kind)).first;
  }
  return found->second.get();
}

const MariaDbServer& shared_mariadb_server() {
  return dynamic_cast<MariaDbSide&>(*shared_labels_side(LabelsSideKind::mariadb)).server();
}

std::string text_of_units(std::size_t units) { return std::string(units - 2, 'x') + "😀"; }

}  // namespace importkcd::testing
