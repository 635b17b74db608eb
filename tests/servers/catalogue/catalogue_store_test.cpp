#include "servers/catalogue/catalogue_store.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <concepts>
#include <cstdio>
#include <limits>
#include <map>
#include <set>

#include "model/definitions.h"
#include "tests/servers/catalogue/catalogue_test_support.h"
#include "tests/support/catalogue_check.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using importkcd::testing::apply;
using importkcd::testing::changes_of;
using importkcd::testing::error_of;
using importkcd::testing::opened_store;
using importkcd::testing::TemporaryFolder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// All members of a definition: a member that is added to one does not compile until it is here.

template <class Row, class Definition>
concept Is = std::same_as<std::remove_const_t<Row>, Definition>;

void members(Is<OlapProperty> auto& row, const auto& visit) {
  auto& [a, b] = row;
  visit(a, b);
}
void members(Is<OlapDataSource> auto& row, const auto& visit) {
  auto& [a, b, c] = row;
  visit(a, b, c);
}
void members(Is<OlapMemberProperty> auto& row, const auto& visit) {
  auto& [a, b, c, d] = row;
  visit(a, b, c, d);
}
void members(Is<OlapLevel> auto& row, const auto& visit) {
  auto& [a, b, c, d, e, f, g, h, i, j, k, l] = row;
  visit(a, b, c, d, e, f, g, h, i, j, k, l);
}
void members(Is<OlapDimension> auto& row, const auto& visit) {
  auto& [a, b, c, d, e, f, g, h, i, j, k] = row;
  visit(a, b, c, d, e, f, g, h, i, j, k);
}
void members(Is<OlapCubeDimension> auto& row, const auto& visit) {
  auto& [a, b] = row;
  visit(a, b);
}
void members(Is<OlapMeasure> auto& row, const auto& visit) {
  auto& [a, b, c, d, e, f] = row;
  visit(a, b, c, d, e, f);
}
void members(Is<OlapCalculatedMember> auto& row, const auto& visit) {
  auto& [a, b] = row;
  visit(a, b);
}
void members(Is<OlapRole> auto& row, const auto& visit) {
  auto& [a, b, c, d] = row;
  visit(a, b, c, d);
}
void members(Is<OlapPartitionLevel> auto& row, const auto& visit) {
  auto& [a, b, c] = row;
  visit(a, b, c);
}
void members(Is<OlapPartitionDimension> auto& row, const auto& visit) {
  auto& [a, b] = row;
  visit(a, b);
}
void members(Is<OlapPartition> auto& row, const auto& visit) {
  auto& [a, b, c, d, e, f, g, h, i, j] = row;
  visit(a, b, c, d, e, f, g, h, i, j);
}
void members(Is<OlapCube> auto& row, const auto& visit) {
  auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p] = row;
  visit(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p);
}

/// Everything in a definition, as text; doubles to the last bit.
class Shown {
 public:
  template <class Definition>
  static std::string of(const Definition& definition) {
    Shown shown;
    shown.show(definition);
    return shown.text_;
  }

 private:
  void show(const std::string& text) { text_ += "'" + text + "' "; }

  void show(double number) {
    std::array<char, 64> digits{};
    static_cast<void>(std::snprintf(digits.data(), digits.size(), "%a ", number));
    text_ += digits.data();
  }

  template <class Number>
  requires std::is_integral_v<Number> || std::is_enum_v<Number>
  void show(Number number) { text_ += std::to_string(static_cast<long long>(number)) + " "; }

  template <class Part>
  void show(const NamedCollection<Part>& parts) {
    text_ += "[";
    for (const auto& part : parts) {
      show(part);
    }
    text_ += "] ";
  }

  template <class Definition>
  requires std::is_class_v<Definition>
  void show(const Definition& definition) {
    text_ += "{";
    members(definition, [this](const auto&... values) { (this->show(values), ...); });
    text_ += "} ";
  }

  std::string text_;
};

/// Gives every member of a definition a value of its own, in turn odd ones.
class Filler {
 public:
  template <class Definition>
  static Definition filled(const std::string& name, int first_value) {
    Filler filler(first_value);
    Definition definition;
    filler.fill(definition);
    definition.name = name;
    return definition;
  }

 private:
  explicit Filler(int first_value) : value_(first_value) {}

  void fill(std::string& text) {
    static const std::vector<std::string> texts{"",
                                                "plain",
                                                "'\"`;--",
                                                "\xC3\x84rger \xC3\x9F",
                                                "\xE6\x97\xA5\xE6\x9C\xAC",
                                                "\xF0\x9F\x98\x80",
                                                "line\r\nline\ttab \x01",
                                                "\xFF\xFE\x80 no UTF-8",
                                                "\xEF\xBF\xBE\xEF\xBF\xBF",
                                                " blank ",
                                                std::string(100'000, 'x')};
    text = texts[static_cast<std::size_t>(next()) % texts.size()];
    if (!text.empty()) {
      text += std::to_string(value_);
    }
  }

  void fill(double& number) { number = next() + 0.1; }
  void fill(bool& flag) { flag = next() % 2 == 0; }

  void fill(std::int16_t& number) {
    number = next() % 2 == 0 ? std::numeric_limits<std::int16_t>::min() : std::int16_t{32767};
  }

  void fill(std::int32_t& number) {
    number = next() % 2 == 0 ? std::numeric_limits<std::int32_t>::min() : 2147483647;
  }

  template <class Code>
  requires std::is_enum_v<Code>
  void fill(Code& code) { code = static_cast<Code>(next()); }

  template <class Part>
  void fill(NamedCollection<Part>& parts) {
    for (int i = 0; i < 3; ++i) {
      Part part;
      fill(part);
      part.name = "Part " + std::to_string(next());
      parts.add(std::move(part));
    }
  }

  template <class Definition>
  requires std::is_class_v<Definition>
  void fill(Definition& definition) {
    members(definition, [this](auto&... values) { (this->fill(values), ...); });
  }

  int next() { return ++value_; }

  int value_;
};

class CatalogueStore : public ::testing::Test {
 protected:
  /// Another store over the same file, as the next run would open it.
  std::shared_ptr<OlapStore> reopened() const {
    return opened_store(path, ServerAccess::read_only);
  }

  SQLite::Database sqlite() const { return {path, SQLite::OPEN_READWRITE, 1000}; }

  TemporaryFolder folder;
  std::string path = folder.file("server.olap");
  std::shared_ptr<OlapStore> store = opened_store(path);
};

std::string cube_text(OlapStore& store, const std::string& name) {
  const auto cube = store.sources("Sales").cubes->load(name);
  return cube ? Shown::of(*cube) : "none";
}

TEST_F(CatalogueStore, EveryMemberOfEveryDefinitionSurvives) {
  for (int seed = 0; seed < 12; ++seed) {
    auto changes = changes_of("Sales");
    const auto data_source = Filler::filled<OlapDataSource>("Source", seed);
    const auto dimension = Filler::filled<OlapDimension>("Dimension", seed);
    const auto role = Filler::filled<OlapRole>("Role", seed);
    const auto cube = Filler::filled<OlapCube>("Cube", seed);
    changes.data_sources.add(data_source);
    changes.dimensions.add(dimension);
    changes.roles.add(role);
    changes.cubes.add(cube);
    apply(*store, std::move(changes));

    auto reader = reopened();
    const auto read = reader->sources("Sales");
    EXPECT_EQ(Shown::of(*read.data_sources->load("Source")), Shown::of(data_source));
    EXPECT_EQ(Shown::of(*read.dimensions->load("Dimension")), Shown::of(dimension));
    EXPECT_EQ(Shown::of(*read.roles->load("Role")), Shown::of(role));
    EXPECT_EQ(Shown::of(*read.cubes->load("Cube")), Shown::of(cube));
  }
}

TEST_F(CatalogueStore, NumbersOfRowsSurviveToTheLastBit) {
  using Limits = std::numeric_limits<double>;
  for (const double rows : {0.0, -0.0, 1.0, 0.1, 1e15 + 0.5, 9007199254740993.0, Limits::max(),
                            Limits::lowest(), Limits::min(), Limits::denorm_min()}) {
    auto changes = changes_of("Sales");
    OlapCube cube;
    cube.name = "Cube";
    cube.estimated_rows = rows;
    const auto expected = Shown::of(cube);
    changes.cubes.add(std::move(cube));
    apply(*store, std::move(changes));
    EXPECT_EQ(cube_text(*reopened(), "Cube"), expected);
  }
}

TEST_F(CatalogueStore, NamesOfAHundredThousandCharactersAreFound) {
  const std::string name(100'000, 'N');
  auto changes = changes_of(name);
  changes.roles.add({name, "", "", {}});
  apply(*store, std::move(changes));
  EXPECT_THAT(store->database_names(), ElementsAre(name));
  EXPECT_TRUE(store->sources(name).roles->contains(std::string(100'000, 'n')));
}

TEST_F(CatalogueStore, NamesAreFoundWithoutRegardToLetterCase) {
  auto changes = changes_of("\xC3\x84rger");
  changes.roles.add(
      {"\xC3\x9C"
       "BER",
       "all",
       "",
       {}});
  apply(*store, std::move(changes));
  const auto roles = store->sources("\xC3\xA4RGER").roles;
  EXPECT_TRUE(
      roles->contains("\xC3\xBC"
                      "ber"));
  EXPECT_EQ(roles
                ->load("\xC3\xBC"
                       "ber")
                ->name,
            "\xC3\x9C"
            "BER");
  EXPECT_FALSE(roles->contains("uber"));
  EXPECT_FALSE(roles->load("uber").has_value());
}

TEST_F(CatalogueStore, AReplacedObjectKeepsItsPlaceAndAnAddedOneGoesToTheEnd) {
  auto first = changes_of("Sales");
  for (const auto* name : {"B", "A", "C"}) {
    first.roles.add({name, "first", "", {}});
  }
  apply(*store, std::move(first));
  auto second = changes_of("SALES");
  second.roles.add({"D", "second", "", {}});
  second.roles.add({"a", "second", "", {}});
  apply(*store, std::move(second));

  const auto roles = store->sources("Sales").roles;
  EXPECT_THAT(roles->names(), ElementsAre("B", "a", "C", "D"));
  EXPECT_EQ(roles->load("A")->description, "second");
  EXPECT_EQ(roles->load("B")->description, "first");
  EXPECT_THAT(store->database_names(), ElementsAre("Sales"));
}

TEST_F(CatalogueStore, AReplacedObjectKeepsNothingOfItsOldParts) {
  auto first = changes_of("Sales");
  first.cubes.add(Filler::filled<OlapCube>("Cube", 1));
  apply(*store, std::move(first));
  OlapCube empty;
  empty.name = "Cube";
  const auto expected = Shown::of(empty);
  auto second = changes_of("Sales");
  second.cubes.add(std::move(empty));
  apply(*store, std::move(second));
  EXPECT_EQ(cube_text(*store, "Cube"), expected);
}

TEST_F(CatalogueStore, TheDescriptionStaysUnlessItIsChanged) {
  auto first = changes_of("Sales");
  first.description = "as it was";
  apply(*store, std::move(first));
  apply(*store, changes_of("sales"));
  EXPECT_EQ(store->description("SALES"), "as it was");
  auto third = changes_of("Sales");
  third.description = "";
  apply(*store, std::move(third));
  EXPECT_EQ(store->description("Sales"), "");
}

TEST_F(CatalogueStore, ARemovedDatabaseIsGoneAndOnesAddedAgainComeLast) {
  for (const auto* name : {"One", "Two", "Three"}) {
    auto changes = changes_of(name);
    changes.cubes.add(Filler::filled<OlapCube>("Cube", 1));
    apply(*store, std::move(changes));
  }
  auto again = changes_of("One");
  again.removes_stored = true;
  DatabaseChanges gone;
  gone.name = "TWO";
  gone.removes_stored = true;
  std::vector<DatabaseChanges> changes;
  changes.push_back(std::move(again));
  changes.push_back(std::move(gone));
  store->apply(std::move(changes));
  EXPECT_THAT(store->database_names(), ElementsAre("Three", "One"));
  EXPECT_THAT(store->sources("One").cubes->names(), IsEmpty());
}

TEST_F(CatalogueStore, NothingOfAForgottenCopyStaysInAnyTable) {
  auto changes = changes_of("Sales");
  changes.data_sources.add(Filler::filled<OlapDataSource>("Source", 1));
  changes.dimensions.add(Filler::filled<OlapDimension>("Dimension", 1));
  changes.roles.add(Filler::filled<OlapRole>("Role", 1));
  changes.cubes.add(Filler::filled<OlapCube>("Cube", 1));
  apply(*store, std::move(changes));
  const auto rows = [this] {
    std::map<std::string, int> result;
    auto database = sqlite();
    SQLite::Statement tables(database, "SELECT name FROM sqlite_schema WHERE type = 'table'");
    while (tables.executeStep()) {
      const auto name = tables.getColumn(0).getString();
      result[name] = database.execAndGet("SELECT count(*) FROM " + name).getInt();
    }
    return result;
  };
  for (const auto& [table, count] : rows()) {
    EXPECT_GT(count, 0) << table;
  }
  const auto before = rows();
  const auto remove = [this] {
    DatabaseChanges removal;
    removal.name = "Sales";
    removal.removes_stored = true;
    apply(*store, std::move(removal));
  };
  remove();
  EXPECT_EQ(rows(), before) << "the removed database is kept";
  apply(*store, changes_of("Sales"));
  remove();
  for (const auto& [table, count] : rows()) {
    EXPECT_EQ(count, table == "databases" ? 1 : 0) << table;
  }
}

TEST_F(CatalogueStore, RemovedDimensionsGoBeforeTheNewOnesCome) {
  auto first = changes_of("Sales");
  first.dimensions.add(Filler::filled<OlapDimension>("Product", 1));
  first.dimensions.add(Filler::filled<OlapDimension>("Time", 1));
  first.dimensions.add(Filler::filled<OlapDimension>("Store", 1));
  apply(*store, std::move(first));
  auto second = changes_of("Sales");
  second.removed_dimensions = {"PRODUCT", "time", "never stored"};
  second.dimensions.add(Filler::filled<OlapDimension>("Product", 2));
  apply(*store, std::move(second));
  EXPECT_THAT(store->sources("Sales").dimensions->names(), ElementsAre("Store", "Product"));
}

TEST_F(CatalogueStore, DimensionsInUseAreThoseOfTheCubesOfAKindEachOnce) {
  const auto cube_with = [](const std::string& name, OlapCubeKind kind,
                            const std::vector<std::string>& dimensions) {
    OlapCube cube;
    cube.name = name;
    cube.kind = kind;
    for (const auto& dimension : dimensions) {
      cube.dimensions.add({dimension, {}});
    }
    return cube;
  };
  auto changes = changes_of("Sales");
  changes.cubes.add(cube_with("A", OlapCubeKind::regular, {"Time", "Product"}));
  changes.cubes.add(cube_with("B", OlapCubeKind::regular, {"TIME"}));
  changes.cubes.add(cube_with("C", OlapCubeKind::is_virtual, {"Store"}));
  auto other = changes_of("Other");
  other.cubes.add(cube_with("D", OlapCubeKind::regular, {"Customer"}));
  apply(*store, std::move(changes));
  apply(*store, std::move(other));

  auto used = store->dimensions_in_use("sales", OlapCubeKind::regular);
  for (auto& name : used) {
    name = lower_cased(name);
  }
  EXPECT_THAT(used, UnorderedElementsAre("time", "product"));
  EXPECT_THAT(store->dimensions_in_use("Sales", OlapCubeKind::is_virtual), ElementsAre("Store"));
}

TEST_F(CatalogueStore, AskingForADatabaseThatIsNotStoredIsAnError) {
  const std::string expected = "database 'None' does not exist (OLAP server)";
  EXPECT_EQ(error_of([&] { store->description("None"); }), expected);
  EXPECT_EQ(error_of([&] { store->sources("None"); }), expected);
  EXPECT_EQ(error_of([&] { store->dimensions_in_use("None", OlapCubeKind::regular); }), expected);
}

TEST_F(CatalogueStore, LookingForANameReadsNoContents) {
  auto changes = changes_of("Sales");
  changes.cubes.add(Filler::filled<OlapCube>("Cube", 1));
  apply(*store, std::move(changes));
  store.reset();
  sqlite().exec("DROP TABLE measures");

  const auto damaged = reopened();
  const auto cubes = damaged->sources("Sales").cubes;
  EXPECT_TRUE(cubes->contains("Cube"));
  EXPECT_THAT(cubes->names(), ElementsAre("Cube"));
  EXPECT_EQ(error_of([&] { cubes->load("Cube"); }),
            "catalogue '" + path + "': no such table: measures (OLAP server)");
}

TEST_F(CatalogueStore, PartsThatAnotherProgramTookAwayAreAnError) {
  auto changes = changes_of("Sales");
  changes.cubes.add(Filler::filled<OlapCube>("Cube", 1));
  apply(*store, std::move(changes));
  const std::string expected =
      "catalogue '" + path + "': parts of an object are missing (OLAP server)";
  auto database = sqlite();
  const auto load_after = [&](const std::string& sql) {
    SQLite::Transaction undone(database);
    database.exec(sql);
    undone.commit();
    const auto reader = reopened();
    return error_of([&] { reader->sources("Sales").cubes->load("Cube"); });
  };
  EXPECT_EQ(load_after("DELETE FROM cube_member_properties WHERE position = 1"), expected);
  EXPECT_EQ(load_after("DELETE FROM cube_member_properties;"
                       "DELETE FROM cube_roles WHERE position = 2"),
            expected);
}

TEST_F(CatalogueStore, AFailedApplyLeavesNothing) {
  auto good = changes_of("Good");
  good.roles.add({"Role", "", "", {}});
  apply(*store, std::move(good));
  testing::refuse_unless(path, "measures", "name <> 'Part 20'");
  auto bad = changes_of("Bad");
  OlapCube cube;
  cube.name = "Cube";
  cube.measures.add({"Part 19", "", "", "", false, {}});
  cube.measures.add({"Part 20", "", "", "", false, {}});
  bad.cubes.add(std::move(cube));
  auto removal = changes_of("Good");
  removal.removes_stored = true;
  std::vector<DatabaseChanges> changes;
  changes.push_back(std::move(removal));
  changes.push_back(std::move(bad));

  EXPECT_EQ(error_of([&] { store->apply(std::move(changes)); }),
            "catalogue '" + path + "': CHECK constraint failed: refused (OLAP server)");
  EXPECT_THAT(store->database_names(), ElementsAre("Good"));
  EXPECT_THAT(store->sources("Good").roles->names(), ElementsAre("Role"));
  apply(*store, changes_of("Later"));
  EXPECT_THAT(store->database_names(), ElementsAre("Good", "Later"));
}

TEST_F(CatalogueStore, TriggersAndViewsOfAFileAreNotTrusted) {
  apply(*store, changes_of("Good"));
  auto database = sqlite();
  database.exec(
      "CREATE TRIGGER surprise AFTER INSERT ON databases BEGIN DELETE FROM databases; END");
  apply(*opened_store(path), changes_of("Later"));
  EXPECT_THAT(store->database_names(), ElementsAre("Good", "Later"));
  database.exec(
      "DROP TRIGGER surprise; ALTER TABLE roles RENAME TO hidden; "
      "CREATE VIEW roles AS SELECT * FROM hidden");
  EXPECT_THAT(error_of([&] { reopened()->sources("Good").roles->names(); }),
              ::testing::HasSubstr("view"));
}

TEST_F(CatalogueStore, EveryForeignKeyHasAnIndexAndRemovesItsRows) {
  auto database = sqlite();
  SQLite::Statement keys(database,
                         "SELECT m.name AS child, f.id, group_concat(f.\"from\"), min(f.on_delete) "
                         "FROM sqlite_schema AS m JOIN pragma_foreign_key_list(m.name) AS f "
                         "WHERE m.type = 'table' GROUP BY m.name, f.id");
  int count = 0;
  while (keys.executeStep()) {
    ++count;
    const auto table = keys.getColumn(0).getString();
    SQLite::Statement indexes(
        database,
        "SELECT columns FROM (SELECT group_concat(c.name) AS columns FROM pragma_index_list(?1) AS "
        "i JOIN pragma_index_info(i.name) AS c GROUP BY i.name) WHERE columns || ',' LIKE ?2");
    indexes.bind(1, table);
    indexes.bind(2, keys.getColumn(2).getString() + ",%");
    EXPECT_TRUE(indexes.executeStep()) << table;
    EXPECT_EQ(keys.getColumn(3).getString(), "CASCADE") << table;
  }
  EXPECT_EQ(count, 19);
}

TEST_F(CatalogueStore, TheTablesReadAsTheModelDoes) {
  auto changes = changes_of("Sales");
  changes.dimensions.add(Filler::filled<OlapDimension>("Product", 1));
  apply(*store, std::move(changes));
  auto database = sqlite();
  SQLite::Statement query(database,
                          "SELECT databases.name, dimensions.name, levels.position, levels.name "
                          "FROM databases JOIN dimensions ON database_id = databases.id "
                          "JOIN levels ON dimension_id = dimensions.id ORDER BY levels.position");
  std::set<std::string> levels;
  while (query.executeStep()) {
    EXPECT_EQ(query.getColumn(0).getString(), "Sales");
    EXPECT_EQ(query.getColumn(1).getString(), "Product");
    EXPECT_EQ(query.getColumn(2).getInt(), static_cast<int>(levels.size()));
    levels.insert(query.getColumn(3).getString());
  }
  EXPECT_EQ(levels.size(), 3U);
}

}  // namespace
}  // namespace importkcd
