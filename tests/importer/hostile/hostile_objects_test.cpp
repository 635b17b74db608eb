// Documents that are proper XML and describe objects with faults.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/importer/hostile/hostile_documents.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

/// What becomes of a run when an attribute is absent.
enum class Road {
  /// The section's own trap: the bare description.
  trapped,
  /// The driver's trap.
  driver,
  /// Nothing is said.
  none,
};

struct Attribute {
  const char* tag;
  const char* name;
  Road road;
};

std::string error_on(Road road, const std::string& description,
                     const std::string& source = "KCD document") {
  if (road == Road::none) {
    return "";
  }
  return road == Road::trapped ? description : stopped(description, source);
}

using HostileObjects = HostileDocuments;

TEST_F(HostileObjects, AnyAbsentAttributeIsToldOnItsRoad) {
  const std::vector<Attribute> attributes = {
      {"database", "name", Road::driver},
      {"database", "description", Road::driver},
      {"data_source", "name", Road::trapped},
      {"data_source", "connection_string", Road::trapped},
      {"data_source", "description", Road::none},
      {"shared_dimension", "name", Road::trapped},
      {"shared_dimension", "description", Road::trapped},
      {"shared_dimension", "type", Road::none},
      {"shared_dimension", "data_source", Road::trapped},
      {"shared_dimension", "from_clause", Road::trapped},
      {"shared_dimension", "join_clause", Road::trapped},
      {"shared_dimension", "schema_layout", Road::trapped},
      {"level", "name", Road::trapped},
      // Then it is a regular level, whose name column is absent.
      {"level", "type", Road::trapped},
      {"level", "column_size", Road::trapped},
      {"level", "column_type", Road::trapped},
      {"level", "description", Road::trapped},
      {"level", "estimated_size", Road::trapped},
      {"level", "member_key_column", Road::trapped},
      {"level", "ordering", Road::none},
      {"level", "unique_items", Road::none},
      {"member_property", "name", Road::trapped},
      {"member_property", "description", Road::trapped},
      {"member_property", "caption", Road::trapped},
      {"member_property", "source_column", Road::trapped},
      {"role", "name", Road::driver},
      {"role", "description", Road::driver},
      {"role", "user_list", Road::driver},
      {"cube", "name", Road::driver},
      {"cube", "description", Road::driver},
      {"cube", "data_source", Road::driver},
      {"cube", "fact_table", Road::driver},
      {"cube", "aggregation_prefix", Road::driver},
      {"cube", "from_clause", Road::driver},
      {"cube", "join_clause", Road::driver},
      {"cube", "schema_layout", Road::driver},
      {"cube", "olap_mode", Road::driver},
      {"cube", "estimated_rows", Road::driver},
      {"cube_dimension_reference", "name", Road::driver},
      {"cube_level_reference", "name", Road::driver},
      {"cube_level_reference", "member_key_column", Road::driver},
      {"cube_level_reference", "disabled", Road::driver},
      {"cube_dimension", "name", Road::driver},
      {"cube_dimension", "description", Road::driver},
      {"cube_dimension", "type", Road::driver},
      {"cube_dimension", "data_source", Road::driver},
      {"cube_dimension", "from_clause", Road::driver},
      {"cube_dimension", "join_clause", Road::driver},
      {"cube_level", "name", Road::driver},
      {"cube_level", "type", Road::driver},
      {"cube_level", "column_size", Road::driver},
      {"cube_level", "column_type", Road::driver},
      {"cube_level", "description", Road::driver},
      {"cube_level", "estimated_size", Road::driver},
      {"cube_level", "member_key_column", Road::driver},
      {"cube_level", "member_name_column", Road::driver},
      {"cube_level", "ordering", Road::driver},
      {"cube_level", "unique_items", Road::driver},
      {"cube_measure", "description", Road::none},
      {"cube_measure", "format", Road::none},
      {"cube_measure", "source_column", Road::none},
      {"cube_measure", "internal", Road::none},
      {"cube_measure", "aggregate_function", Road::none},
      {"cube_calculated_member", "name", Road::none},
      {"cube_calculated_member", "statement", Road::none},
      {"cube_partition", "name", Road::driver},
      {"cube_partition", "fact_table", Road::driver},
      {"cube_partition", "aggregation_prefix", Road::driver},
      {"cube_partition", "from_clause", Road::driver},
      {"cube_partition", "join_clause", Road::driver},
      {"cube_partition", "datasource", Road::driver},
      {"cube_partition", "olap_mode", Road::driver},
      {"cube_partition", "readwrite", Road::driver},
      {"partition_dimension", "name", Road::driver},
      {"partition_level", "name", Road::driver},
      {"partition_level", "member_key_column", Road::driver},
      {"partition_level", "slice_value", Road::driver},
      {"cube_role", "name", Road::driver},
      {"cube_role", "permissions", Road::driver},
  };
  std::vector<HostileDocument> documents;
  documents.reserve(attributes.size() + 1);
  for (const auto& [tag, name, road] : attributes) {
    documents.push_back({std::string(tag) + " without " + name,
                         without_attribute(whole_document(), tag, name),
                         error_on(road, "Invalid use of Null")});
  }
  documents.push_back({"cube without a proper measure",
                       without_attribute(whole_document(), "cube_measure", "name"),
                       "New Cube structure is not valid", "Creating cube 'Stock'"});
  expect_all(documents);
}

TEST_F(HostileObjects, AnyAbsentElementIsToldOnItsRoad) {
  const auto missing = [](const std::string& tag) { return "element '" + tag + "' is missing"; };
  std::vector<HostileDocument> documents = {
      {"no library", without_element(whole_document(), "library"),
       stopped("data source 'Warehouse' not found", "OLAP server")},
      {"no cubes", without_element(whole_document(), "cubes"), "", "Creating cubes"},
      {"no data sources", without_element(whole_document(), "data_sources"),
       "data source 'Warehouse' not found"},
      {"no shared dimensions", without_element(whole_document(), "shared_dimensions"),
       stopped("dimension 'Time' not found", "OLAP server")},
      {"no roles", without_element(whole_document(), "roles"), "", "Creating roles"},
      {"no levels", without_element(whole_document(), "levels"), missing("levels")},
      {"no member properties", without_element(whole_document(), "member_properties"), ""},
      {"no partitions", without_element(whole_document(), "cube_partitions"), "",
       "Creating cube partitions"},
      {"nothing at all", bare_document("1.0.1073", "D"), "", "Creating cubes"},
      {"empty collections",
       bare_document("1.0.1073", "D",
                     "<library><data_sources/><shared_dimensions/><roles/></library><cubes/>"),
       "", "Creating cubes"},
  };
  for (const auto* tag :
       {"cube_dimensions", "cube_measures", "cube_calculated_members", "cube_roles",
        "cube_levels_reference", "cube_levels", "partition_dimensions", "partition_levels"}) {
    documents.push_back(
        {std::string("no ") + tag, without_element(whole_document(), tag), stopped(missing(tag))});
  }
  expect_all(documents);
}

/// A number attribute and its range.
struct Number {
  const char* tag;
  const char* name;
  Road road;
  std::vector<const char*> too_large;
  std::vector<const char*> in_range;
};

TEST_F(HostileObjects, NumbersOutOfRangeAreToldOnTheirRoad) {
  const std::vector<const char*> beyond16 = {
      "32768", "-32769", "32767.5", "-32768.6", "65536", "2147483648", "99999999999999999999999"};
  const std::vector<const char*> within16 = {
      "32767", "-32768", "32767.4", "-32768.5", "0.5", " +12\t", "1.", ".5", "-0", "00000000012"};
  const std::vector<const char*> beyond32 = {"2147483648", "-2147483649", "2147483647.5",
                                             "4294967296", "18446744073709551617"};
  const std::vector<const char*> within32 = {"2147483647", "-2147483648", "2147483646.5"};
  const std::vector<const char*> beyond_double = {"1e309", "-1e309", "1e99999999999", "1e-400"};
  const std::vector<const char*> within_double = {"1e308", "-1.7E+308", "0",  ".5",
                                                  "5.",    "1e-300",    " 3 "};
  const std::vector<Number> numbers = {
      {"level", "column_size", Road::trapped, beyond16, within16},
      {"level", "column_type", Road::trapped, beyond16, within16},
      {"level", "estimated_size", Road::trapped, beyond32, within32},
      {"cube_level", "column_size", Road::driver, beyond16, within16},
      {"cube_level", "column_type", Road::driver, beyond16, within16},
      {"cube_level", "estimated_size", Road::driver, beyond32, within32},
      {"cube", "estimated_rows", Road::driver, beyond_double, within_double},
  };
  std::vector<HostileDocument> documents;
  for (const auto& number : numbers) {
    const auto add = [&](const std::string& value, const std::string& error) {
      documents.push_back({std::string(number.tag) + " " + number.name + " '" + value + "'",
                           with_value(whole_document(), number.tag, number.name, value), error});
    };
    for (const auto* value : number.too_large) {
      add(value, error_on(number.road, "Overflow"));
    }
    for (const auto* value : number.in_range) {
      add(value, "");
    }
    for (const auto* value :
         {"",  " ",     "x", "1x",  "1 2", "1,5",     "0x10",   "--1",      "+-1", "-",
          ".", "1.2.3", "٣", "inf", "nan", "&#160;1", "1&#10;", "&amp;H10", "1e",  "e5"}) {
      add(value, error_on(number.road, "Type mismatch"));
    }
  }
  documents.push_back({"whole number with an exponent",
                       with_value(whole_document(), "level", "column_type", "1e2"),
                       "Type mismatch"});
  documents.push_back(
      {"whole number of 100,000 digits",
       with_value(whole_document(), "level", "column_type", std::string(100'000, '9')),
       "Overflow"});
  documents.push_back(
      {"whole number behind 100,000 zeros",
       with_value(whole_document(), "level", "column_type", std::string(100'000, '0') + "7"), ""});
  documents.push_back(
      {"decimal number of 100,000 digits",
       with_value(whole_document(), "cube", "estimated_rows", std::string(100'000, '9')),
       stopped("Overflow")});
  documents.push_back(
      {"fraction of 100,000 digits",
       with_value(whole_document(), "cube", "estimated_rows", "0." + std::string(100'000, '3')),
       ""});
  expect_all(documents);
}

TEST_F(HostileObjects, AnUnreadNumberMayBeAnything) {
  const auto all_level = [](const std::string& attributes) {
    return with_value(whole_document(), "level", "type", "all\" " + attributes + " x=\"");
  };
  expect_all({
      {"size of an all level", with_value(all_level(""), "level", "column_size", "99999999999"),
       ""},
  });
}

TEST_F(HostileObjects, ASecondObjectOfANameIsToldOnItsRoad) {
  const auto twice = [](const char* tag) { return with_element_twice(whole_document(), tag); };
  expect_all({
      {"data source", twice("data_source"), "", "Skipping data source 'Warehouse'"},
      {"shared dimension", twice("shared_dimension"), "", "Skipping shared dimension 'Time'"},
      {"level", twice("level"), "'Year' already exists"},
      {"member property", twice("member_property"), "'Colour' already exists"},
      {"role", twice("role"), "", "Skipping role 'Readers'"},
      {"cube", twice("cube"), "", "Skipping cube 'Sales'"},
      {"cube dimension", twice("cube_dimension_reference"),
       stopped("'Time' already exists", "OLAP server")},
      {"private dimension", twice("cube_dimension"),
       stopped("'Channel' already exists", "OLAP server")},
      {"cube level", twice("cube_level"), stopped("'Channel' already exists", "OLAP server")},
      {"measure", twice("cube_measure"), ""},
      {"calculated member", twice("cube_calculated_member"), ""},
      {"cube role", twice("cube_role"), "", "Skipping cube role 'Readers'"},
      {"partition", twice("cube_partition"), ""},
      {"partition dimension", twice("partition_dimension"), ""},
      {"partition level", twice("partition_level"), ""},
      {"private dimension of a shared one's name",
       with_value(whole_document(), "cube_dimension", "name", "tIME"),
       stopped("'tIME' already exists", "OLAP server")},
      {"library", twice("library"), ""},
  });
}

TEST_F(HostileObjects, ASecondObjectInReplaceAndUpdateModeFollowsTheRule) {
  const auto twice = [](const char* tag) { return with_element_twice(whole_document(), tag); };
  options.ImportType = import_type::update;
  expect_all({
      {"data source updated", twice("data_source"), "", "Updating data source 'Warehouse'"},
      {"dimension updated", twice("shared_dimension"), "'Month' already exists",
       "Updating shared dimension 'Time'"},
      {"role updated", twice("role"), "", "Updating virtual dimension 'Readers'"},
      {"cube updated", twice("cube"), "", "Updating cube 'Sales'"},
      {"cube role updated", twice("cube_role"), "", "Updateing cube role 'Readers'"},
  });
  options.ImportType = import_type::replace;
  expect_all({
      {"data source twice", twice("data_source"), "", "Searching data source 'Warehouse'"},
      {"dimension twice", twice("shared_dimension"), "", "Searching shared dimension 'Time'"},
      {"cube twice, which meets its own parts", twice("cube"),
       stopped("'Time' already exists", "OLAP server")},
  });
}

struct Named {
  const char* tag;
  Road road;
};

const std::vector<Named> named = {
    {"data_source", Road::trapped},
    {"shared_dimension", Road::trapped},
    {"level", Road::trapped},
    {"member_property", Road::trapped},
    {"role", Road::driver},
    {"cube", Road::driver},
    {"cube_dimension", Road::driver},
    {"cube_level", Road::driver},
    {"cube_calculated_member", Road::none},
    {"cube_partition", Road::driver},
    {"cube_role", Road::driver},
};

TEST_F(HostileObjects, AnEmptyNameIsToldOnItsRoad) {
  std::vector<HostileDocument> documents = {
      {"database", bare_document("1.0.1073", ""),
       stopped("an object must have a name", "OLAP server")},
      {"measure", with_value(whole_document(), "cube_measure", "name", ""),
       "New Cube structure is not valid"},
      {"reference to a dimension",
       with_value(whole_document(), "cube_dimension_reference", "name", ""),
       stopped("dimension '' not found", "OLAP server")},
      {"reference to a level", with_value(whole_document(), "cube_level_reference", "name", ""),
       stopped("level '' not found", "OLAP server")},
      {"reference to a data source",
       with_value(whole_document(), "shared_dimension", "data_source", ""),
       "data source '' not found"},
      {"dimension of a partition", with_value(whole_document(), "partition_dimension", "name", ""),
       stopped("dimension '' not found", "OLAP server")},
      {"level of a partition", with_value(whole_document(), "partition_level", "name", ""),
       stopped("level '' not found", "OLAP server")},
  };
  for (const auto& [tag, road] : named) {
    documents.push_back({tag, with_value(whole_document(), tag, "name", ""),
                         error_on(road, "an object must have a name", "OLAP server")});
  }
  expect_all(documents);
}

TEST_F(HostileObjects, AReferenceThatLeadsNowhereIsToldOnItsRoad) {
  const auto with = [](const char* tag, const char* attribute) {
    return with_value(whole_document(), tag, attribute, "nowhere");
  };
  expect_all({
      {"data source of a dimension", with("shared_dimension", "data_source"),
       "data source 'nowhere' not found"},
      {"data source of a cube", with("cube", "data_source"),
       stopped("data source 'nowhere' not found", "OLAP server")},
      {"data source of a private dimension", with("cube_dimension", "data_source"),
       stopped("data source 'nowhere' not found", "OLAP server")},
      {"data source of a partition", with("cube_partition", "datasource"),
       stopped("data source 'nowhere' not found", "OLAP server")},
      {"dimension of a cube", with("cube_dimension_reference", "name"),
       stopped("dimension 'nowhere' not found", "OLAP server")},
      {"level of a cube", with("cube_level_reference", "name"),
       stopped("level 'nowhere' not found", "OLAP server")},
      {"dimension of a partition", with("partition_dimension", "name"),
       stopped("dimension 'nowhere' not found", "OLAP server")},
      {"level of a partition", with("partition_level", "name"),
       stopped("level 'nowhere' not found", "OLAP server")},
  });
}

TEST_F(HostileObjects, LongNamesAreNamesLikeOthers) {
  const std::string name(100'000, 'n');
  std::vector<HostileDocument> documents = {
      {"database", bare_document("1.0.1073", name), "", "Creating database '" + name + "'",
       "database | " + name},
      {"measure", with_value(whole_document(), "cube_measure", "name", name), "", "",
       "measure | " + name},
      {"unknown data source", with_value(whole_document(), "cube", "data_source", name),
       stopped("data source '" + name + "' not found", "OLAP server")},
  };
  for (const auto& [tag, road] : named) {
    if (std::string_view(tag) != "data_source" && std::string_view(tag) != "shared_dimension" &&
        std::string_view(tag) != "level") {
      documents.push_back({tag, with_value(whole_document(), tag, "name", name), "", "", name});
    }
  }
  expect_all(documents);
}

TEST_F(HostileObjects, OddNamesAreNamesLikeOthers) {
  const auto named_database = [](const std::string& name) {
    return bare_document("1.0.1073", name);
  };
  expect_all({
      {"blank", named_database(" "), "", "Creating database ' '", "database |   | "},
      {"apostrophes", named_database("O@#$%Neil's"), "", "Creating database 'O'Neil's'"},
      {"half a placeholder", named_database("@#$"), "", "Creating database '@#$'"},
      {"nested placeholders", named_database("@#@#$%$%"), "", "Creating database '@#'$%'"},
      {"line end", named_database("a&#10;b"), "", "Creating database 'a\nb'"},
      {"path", named_database("../../x"), "", "Creating database '../../x'"},
      {"percent signs", named_database("%s%n"), "", "Creating database '%s%n'"},
      {"SQL", named_database("'; DROP TABLE x; --"), "", "Creating database ''; DROP TABLE x; --'"},
      {"right to left", named_database("\xE2\x80\xAEx"), "", "Creating database '\xE2\x80\xAEx'"},
      {"letter case of other scripts",
       bare_document("1.0.1073", "D",
                     "<library><data_sources><x name='ÄΩЖ' connection_string=''/>"
                     "<x name='äωж' connection_string=''/></data_sources></library>"),
       "", "Skipping data source 'äωж'"},
      {"composed and decomposed letters are different",
       bare_document("1.0.1073", "D",
                     "<library><data_sources><x name='\xC3\xA9' connection_string=''/>"
                     "<x name='e\xCC\x81' connection_string=''/></data_sources></library>"),
       "", "Creating data source 'e\xCC\x81'"},
  });
}

TEST_F(HostileObjects, StatementsOfCalculatedMembersMayBeAnything) {
  const auto with = [](const std::string& statement) {
    return with_value(whole_document(), "cube_calculated_member", "statement", statement);
  };
  expect_all({
      {"no separator", with("x"), ""},
      {"separator in small letters", with("x as y"), ""},
      {"separator only", with(" AS "), "", "", "calculated member | Share |  AS \n"},
      {"separators that overlap", with("x AS AS y"), "", "",
       "calculated member | Share | x AS AS y\n"},
      {"second separator", with("x AS y AS z"), "", "", "calculated member | Share | x AS y\n"},
      {"2,000,000 characters", with("x AS " + std::string(2'000'000, 'y')), ""},
  });
}

TEST_F(HostileObjects, ObjectsInTheWrongPlaceAreNotRead) {
  const std::string dimensions = "<cube_dimensions>";
  expect_all({
      {"cubes in the library",
       bare_document("1.0.1073", "D", "<library><cubes><cube/></cubes></library>"), "",
       "Creating cubes"},
      {"sources beside the library",
       bare_document("1.0.1073", "D", "<data_sources><x/></data_sources>"), "",
       "Creating data sources"},
      {"collection in a collection",
       bare_document("1.0.1073", "D",
                     "<library><data_sources><data_sources/></data_sources></library>"),
       "Invalid use of Null"},
      {"virtual cubes in cubes", bare_document("1.0.1073", "D", "<cubes><virtual_cubes/></cubes>"),
       stopped("Invalid use of Null")},
      {"tags in capitals",
       bare_document("1.0.1073", "D", "<LIBRARY><DATA_SOURCES><x/></DATA_SOURCES></LIBRARY>"), "",
       "Creating cubes"},
      {"the document in itself", bare_document("1.0.1073", "D", bare_document("1.0.1073", "E")), "",
       "Creating database 'D'"},
  });
}

}  // namespace
}  // namespace importkcd::testing
