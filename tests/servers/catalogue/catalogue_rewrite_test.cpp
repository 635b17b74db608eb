#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "importer/import_olapdb_from_kcd_doc.h"
#include "servers/working_copy_server.h"
#include "tests/servers/catalogue/catalogue_test_support.h"
#include "tests/support/document_generator.h"
#include "tests/support/importer_fixture.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using importkcd::testing::apply;
using importkcd::testing::changes_of;
using importkcd::testing::opened_store;
using importkcd::testing::ScopedEnvironment;
using importkcd::testing::TemporaryFolder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

template <class Part>
Part named(const std::string& name) {
  Part part;
  part.name = name;
  return part;
}

template <class Part>
void add_parts(NamedCollection<Part>& parts, const std::vector<std::string>& names) {
  for (const auto& name : names) {
    parts.add(named<Part>(name));
  }
}

/// A cube with two parts of every kind in each collection.
OlapCube whole_cube() {
  auto cube = named<OlapCube>("Cube");
  add_parts(cube.custom_properties, {"Property 1", "Property 2"});
  add_parts(cube.measures, {"Measure 1", "Measure 2"});
  add_parts(cube.calculated_members, {"Member 1", "Member 2"});
  for (const auto* number : {"1", "2"}) {
    const auto with_number = [&](const char* word) { return word + std::string(number); };
    auto& dimension = cube.dimensions.add_new(with_number("Dimension "));
    add_parts(dimension.levels, {"Level 1", "Level 2"});
    for (std::size_t i = 0; i < 2; ++i) {
      add_parts(dimension.levels.edit_at(i).member_properties, {"Colour", "Size"});
    }
    auto& role = cube.roles.add_new(with_number("Role "));
    add_parts(role.permissions, {"Read", "Write"});
    auto& partition = cube.partitions.add_new(with_number("Partition "));
    auto& slice = partition.slices.add_new("Dimension 1");
    add_parts(slice.levels, {"Level 1", "Level 2"});
  }
  return cube;
}

OlapDimension whole_dimension(const std::string& name) {
  auto dimension = named<OlapDimension>(name);
  add_parts(dimension.custom_properties, {"Property 1", "Property 2"});
  add_parts(dimension.levels, {"Level 1", "Level 2"});
  add_parts(dimension.levels.edit_at(0).member_properties, {"Colour", "Size"});
  return dimension;
}

template <class Part>
std::vector<std::string> names_of(const NamedCollection<Part>& parts) {
  std::vector<std::string> names;
  for (const auto& part : parts) {
    names.push_back(part.name);
  }
  return names;
}

/// Writes down every row that a connection of this process changes, if it was opened while this
/// object lives. Triggers could not: a catalogue's own ones do not run.
class RowRecorder {
 public:
  RowRecorder() {
    current = this;
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(watch));
  }
  ~RowRecorder() {
    sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(watch));
    current = nullptr;
  }
  RowRecorder(const RowRecorder&) = delete;
  RowRecorder& operator=(const RowRecorder&) = delete;

  /// From now on, rows of the catalogue's tables, told by their names.
  void start(SQLite::Database& database) {
    SQLite::Statement query(database,
                            "SELECT m.name, c.cid FROM sqlite_schema AS m "
                            "JOIN pragma_table_info(m.name) AS c "
                            "WHERE m.type = 'table' AND c.name = 'name'");
    while (query.executeStep()) {
      name_columns_[query.getColumn(0).getString()] = query.getColumn(1).getInt();
    }
    EXPECT_GT(name_columns_.size(), 10U);
    rows_.clear();
  }

  const std::vector<std::string>& rows() const { return rows_; }

 private:
  static int watch(sqlite3* connection, char** /*error*/,
                   const struct sqlite3_api_routines* /*routines*/) {
    sqlite3_preupdate_hook(connection, before_change, nullptr);
    return SQLITE_OK;
  }

  static void before_change(void* /*unused*/, sqlite3* connection, int change,
                            const char* /*database*/, const char* table, sqlite3_int64 /*old_id*/,
                            sqlite3_int64 /*new_id*/) {
    const auto column = current->name_columns_.find(table);
    if (column == current->name_columns_.end()) {
      return;
    }
    sqlite3_value* value = nullptr;
    // What is deleted is told by its old name.
    const auto found = change == SQLITE_DELETE
                           ? sqlite3_preupdate_old(connection, column->second, &value)
                           : sqlite3_preupdate_new(connection, column->second, &value);
    ASSERT_EQ(found, SQLITE_OK);
    const std::string what = change == SQLITE_DELETE   ? "DELETE "
                             : change == SQLITE_INSERT ? "INSERT "
                                                       : "UPDATE ";
    current->rows_.push_back(what + table + ' ' +
                             reinterpret_cast<const char*>(sqlite3_value_text(value)));
  }

  static inline RowRecorder* current = nullptr;

  std::map<std::string, int> name_columns_;
  std::vector<std::string> rows_;
};

/// A catalogue whose rows that are inserted, updated or deleted after start() are written down.
class CatalogueRewrite : public ::testing::Test {
 protected:
  SQLite::Database sqlite() const { return {path, SQLite::OPEN_READWRITE, 1000}; }

  void start() {
    auto database = sqlite();
    recorder.start(database);
  }

  const std::vector<std::string>& written() const { return recorder.rows(); }

  void put(OlapCube cube) {
    auto changes = changes_of("Sales");
    changes.cubes.add(std::move(cube));
    apply(*store, std::move(changes));
  }

  OlapCube stored_cube() { return *store->sources("Sales").cubes->load("Cube"); }

  /// Stores dimensions after others have left.
  void put_dimensions(std::vector<std::string> removed, const std::vector<OlapDimension>& added) {
    auto changes = changes_of("Sales");
    changes.removed_dimensions = std::move(removed);
    for (const auto& dimension : added) {
      changes.dimensions.add(dimension);
    }
    apply(*store, std::move(changes));
  }

  std::vector<std::string> dimension_names() { return store->sources("Sales").dimensions->names(); }

  RowRecorder recorder;
  TemporaryFolder folder;
  std::string path = folder.file("server.olap");
  std::shared_ptr<OlapStore> store = opened_store(path);
};

TEST_F(CatalogueRewrite, ObjectsThatAreAsStoredAreNotWritten) {
  const auto whole = [] {
    auto changes = changes_of("Sales");
    changes.data_sources.add({"Source", "Provider=X", "text"});
    changes.dimensions.add(whole_dimension("Product"));
    changes.roles.add_new("Role");
    add_parts(changes.roles.edit_at(0).permissions, {"Read", "Write"});
    changes.cubes.add(whole_cube());
    return changes;
  };
  apply(*store, whole());
  start();
  auto other = sqlite();
  const auto version = [&] { return other.execAndGet("PRAGMA data_version").getInt(); };
  const auto before = version();
  apply(*store, whole());
  EXPECT_EQ(version(), before);
  EXPECT_THAT(written(), IsEmpty());
}

TEST_F(CatalogueRewrite, AChangeOfTheObjectItselfLeavesItsPartsAlone) {
  put(whole_cube());
  start();
  auto cube = whole_cube();
  cube.name = "CUBE";
  cube.fact_table = "facts";
  put(std::move(cube));
  EXPECT_THAT(written(), ElementsAre("UPDATE cubes CUBE"));
  EXPECT_THAT(store->sources("Sales").cubes->names(), ElementsAre("CUBE"));
  EXPECT_EQ(stored_cube().fact_table, "facts");
  EXPECT_EQ(stored_cube().measures.size(), 2U);
}

TEST_F(CatalogueRewrite, OnlyChangedPartsAreWritten) {
  put(whole_cube());
  start();
  auto cube = whole_cube();
  cube.custom_properties.edit_at(1).value = "x";
  cube.dimensions.edit_at(1).levels.edit_at(0).disabled = true;
  cube.dimensions.edit_at(1).levels.edit_at(1).member_properties.edit_at(1).caption = "x";
  cube.measures.edit_at(0).aggregate_function = OlapAggregateFunction::max;
  cube.calculated_members.edit_at(1).statement = "x";
  cube.roles.edit_at(0).user_list = "x";
  cube.roles.edit_at(1).permissions.edit_at(0).value = "x";
  cube.partitions.edit_at(1).read_write = true;
  cube.partitions.edit_at(1).slices.edit_at(0).levels.edit_at(1).slice_value = "x";
  put(std::move(cube));

  EXPECT_THAT(written(), UnorderedElementsAre(
                             "UPDATE cube_properties Property 2", "UPDATE cube_levels Level 1",
                             "UPDATE cube_member_properties Size", "UPDATE measures Measure 1",
                             "UPDATE calculated_members Member 2", "UPDATE cube_roles Role 1",
                             "UPDATE cube_role_permissions Read", "UPDATE partitions Partition 2",
                             "UPDATE partition_levels Level 2"));
  const auto stored = stored_cube();
  EXPECT_TRUE(stored.dimensions[1].levels[0].disabled);
  EXPECT_FALSE(stored.dimensions[0].levels[0].disabled);
  EXPECT_EQ(stored.dimensions[1].levels[1].member_properties[1].caption, "x");
  EXPECT_EQ(stored.partitions[1].slices[0].levels[1].slice_value, "x");
}

TEST_F(CatalogueRewrite, PartsInAnotherOrderAreStoredInThatOrder) {
  put(whole_cube());
  start();
  auto cube = whole_cube();
  cube.measures = {};
  add_parts(cube.measures, {"Measure 2", "Measure 1"});
  put(std::move(cube));
  EXPECT_THAT(written(), ElementsAre("UPDATE measures Measure 2", "UPDATE measures Measure 1"));
  EXPECT_THAT(names_of(stored_cube().measures), ElementsAre("Measure 2", "Measure 1"));
}

TEST_F(CatalogueRewrite, AddedPartsAreInsertedAfterTheStoredOnes) {
  put(whole_cube());
  start();
  auto cube = whole_cube();
  add_parts(cube.dimensions.edit_at(0).levels, {"Level 3"});
  add_parts(cube.dimensions.edit_at(0).levels.edit_at(2).member_properties, {"Weight"});
  put(std::move(cube));
  EXPECT_THAT(written(),
              ElementsAre("INSERT cube_levels Level 3", "INSERT cube_member_properties Weight"));
  const auto stored = stored_cube();
  EXPECT_THAT(names_of(stored.dimensions[0].levels), ElementsAre("Level 1", "Level 2", "Level 3"));
  EXPECT_THAT(names_of(stored.dimensions[0].levels[2].member_properties), ElementsAre("Weight"));
  EXPECT_THAT(names_of(stored.dimensions[1].levels), ElementsAre("Level 1", "Level 2"));
}

TEST_F(CatalogueRewrite, RemovedPartsLeaveWithTheirOwnParts) {
  put(whole_cube());
  start();
  auto cube = whole_cube();
  auto& levels = cube.dimensions.edit_at(0).levels;
  levels.remove("Level 2");
  cube.partitions.remove("Partition 2");
  put(std::move(cube));
  EXPECT_THAT(written(), UnorderedElementsAre(
                             "DELETE cube_levels Level 2", "DELETE cube_member_properties Colour",
                             "DELETE cube_member_properties Size", "DELETE partitions Partition 2",
                             "DELETE partition_dimensions Dimension 1",
                             "DELETE partition_levels Level 1", "DELETE partition_levels Level 2"));
  const auto stored = stored_cube();
  EXPECT_THAT(names_of(stored.dimensions[0].levels), ElementsAre("Level 1"));
  EXPECT_THAT(names_of(stored.dimensions[1].levels), ElementsAre("Level 1", "Level 2"));
  EXPECT_THAT(names_of(stored.partitions), ElementsAre("Partition 1"));
}

TEST_F(CatalogueRewrite, APartThatTakesThePlaceOfARemovedOneGetsItsOwnParts) {
  put(whole_cube());
  auto cube = whole_cube();
  cube.dimensions.remove_first();
  cube.dimensions.edit_at(0).levels.edit_at(0).member_properties.remove("Colour");
  put(std::move(cube));
  const auto stored = stored_cube();
  EXPECT_THAT(names_of(stored.dimensions), ElementsAre("Dimension 2"));
  EXPECT_THAT(names_of(stored.dimensions[0].levels), ElementsAre("Level 1", "Level 2"));
  EXPECT_THAT(names_of(stored.dimensions[0].levels[0].member_properties), ElementsAre("Size"));
  EXPECT_THAT(names_of(stored.dimensions[0].levels[1].member_properties),
              ElementsAre("Colour", "Size"));
}

TEST_F(CatalogueRewrite, TextsThatDifferBehindAZeroByteDiffer) {
  auto cube = named<OlapCube>("Cube");
  cube.description = std::string("a\0b", 3);
  put(cube);
  cube.description = std::string("a\0c", 3);
  put(cube);
  EXPECT_EQ(stored_cube().description, std::string("a\0c", 3));
}

TEST_F(CatalogueRewrite, ZerosOfAnotherSignDiffer) {
  auto cube = named<OlapCube>("Cube");
  put(cube);
  cube.estimated_rows = -0.0;
  put(cube);
  EXPECT_TRUE(std::signbit(stored_cube().estimated_rows));
}

TEST_F(CatalogueRewrite, LastDimensionsThatComeBackUnchangedAreNotWritten) {
  const std::vector<OlapDimension> dimensions{whole_dimension("A"), whole_dimension("B"),
                                              whole_dimension("C")};
  put_dimensions({}, dimensions);
  start();
  put_dimensions({"c", "B"}, {dimensions[1], dimensions[2]});
  put_dimensions({"A", "B", "C"}, dimensions);
  EXPECT_THAT(written(), IsEmpty());
  EXPECT_THAT(dimension_names(), ElementsAre("A", "B", "C"));
}

TEST_F(CatalogueRewrite, ADimensionThatComesBackGoesToTheEndAndKeepsWhatIsRight) {
  put_dimensions({}, {whole_dimension("A"), whole_dimension("B"), whole_dimension("C")});
  start();
  auto changed = whole_dimension("A");
  changed.levels.edit_at(0).member_properties.edit_at(0).caption = "x";
  put_dimensions({"A"}, {changed});
  EXPECT_THAT(written(), ElementsAre("UPDATE dimensions A", "UPDATE member_properties Colour"));
  EXPECT_THAT(dimension_names(), ElementsAre("B", "C", "A"));
  EXPECT_EQ(store->sources("Sales").dimensions->load("A")->levels[0].member_properties[0].caption,
            "x");
}

TEST_F(CatalogueRewrite, DimensionsThatComeBackStandInTheirNewOrderAmongAddedOnes) {
  put_dimensions(
      {}, {whole_dimension("A"), whole_dimension("B"), whole_dimension("C"), whole_dimension("D")});
  put_dimensions({"B", "C", "D"},
                 {whole_dimension("D"), whole_dimension("New"), whole_dimension("B")});
  EXPECT_THAT(dimension_names(), ElementsAre("A", "D", "New", "B"));
  put_dimensions({"D", "B"},
                 {whole_dimension("D"), whole_dimension("B"), whole_dimension("Newer")});
  EXPECT_THAT(dimension_names(), ElementsAre("A", "New", "D", "B", "Newer"));
}

/// Imports a document with every section, private dimensions too, in a mode.
void import(const std::string& document, const std::string& catalogue, std::int32_t mode) {
  ImportOLAPDBFromKCDDoc importer([&](std::string_view) {
    return std::make_unique<WorkingCopyServer>(
        make_catalogue_store(catalogue, ServerAccess::read_write));
  });
  importer.kcd_document_file_name = document;
  importer.ImportType = mode;
  importer.import_partitions = true;
  // Levels are added, never replaced, so an update must leave them alone.
  importer.DontUpdateLevels = mode == import_type::update;
  importer.succeeded = true;
  importer.make();
  EXPECT_EQ(importer.last_error, "");
}

TEST_F(CatalogueRewrite, AnImportRepeatedInUpdateModeWritesNothing) {
  const ScopedEnvironment temporary_files("TMPDIR", folder.path());
  const auto document = folder.file("generated.kcd");
  testing::GeneratorOptions options;
  options.cubes = 20;
  folder.write("generated.kcd", testing::generate_document(options));
  import(document, path, import_type::incremental);
  const auto dimensions = store->sources("Generated").dimensions->names();
  EXPECT_GT(dimensions.size(), static_cast<std::size_t>(options.shared_dimensions));
  start();
  import(document, path, import_type::update);
  EXPECT_THAT(written(), IsEmpty());
}

}  // namespace
}  // namespace importkcd
