#include "tests/check/mistakes.h"

namespace importkcd::testing {
namespace {

// Long texts go on in a second line.
// NOLINTBEGIN(bugprone-suspicious-missing-comma)
TEST(LibraryMistakes, AreFoundAtTheirPlaces) {
  expect_mistakes_found({
      {R"(version="1.0.1073")",
       R"(version="1.0.1074")",
       {"2:1: error: version '1.0.1074' is not known; it is one of 1.0.1073, 1.0.1051"}},
      {R"(version="1.0.1073" )", "", {"2:1: error: attribute 'version' is missing"}},
      {R"(name="Shop")", R"(name="")", {"2:1: error: the name is empty"}},
      {R"(name="Shop" )", "", {"2:1: error: attribute 'name' is missing"}},
      {R"(description="All of the shop")",
       R"(descripton="All of the shop")",
       {"2:1: error: unknown attribute 'descripton' (did you mean 'description'?)"}},
      {"<library>",
       "<library/><library>",
       {"3:11: warning: a second element 'library' is not read",
        "47:1: error: cube 'Sales': data source 'Warehouse' is not in the document",
        "51:5: error: cube 'Sales' > dimension 'Time': dimension 'Time' is not in the document",
        "57:5: error: cube 'Sales' > dimension 'Channel': data source 'Warehouse' is not in the "
        "document",
        "74:5: error: cube 'Sales' > partition 'Sales': data source 'Warehouse' is not in the "
        "document",
        "85:5: error: cube 'Sales' > partition 'Rest': data source 'Warehouse' is not in the "
        "document",
        "92:5: warning: cube 'Sales' > role 'Readers': role 'Readers' is not in the document",
        "95:1: error: cube 'Stock': data source 'Warehouse' is not in the document",
        "99:5: error: cube 'Stock' > dimension 'Product': dimension 'Product' is not in the "
        "document"}},
      {"<cubes>", "<cube/><cubes>", {"46:1: warning: unknown element 'cube'"}},
      {"</cubes>", "</cubes><cubes/>", {"109:9: warning: a second element 'cubes' is not read"}},
      {"<roles>", "<rolls/><roles>", {"42:3: warning: unknown element 'rolls'"}},
      {R"(name="Shop")", R"(owner="me" name="Shop")", {"2:1: warning: unknown attribute 'owner'"}},
      {R"(<data_source name="Warehouse")",
       R"(<data_source nam="Warehouse")",
       {"5:5: error: data source number 1: unknown attribute 'nam' (did you mean 'name'?)",
        "9:5: error: dimension 'Time': data source 'Warehouse' is not in the document",
        "18:5: error: dimension 'Product': data source 'Warehouse' is not in the document",
        "32:5: error: dimension 'Region': data source 'Warehouse' is not in the document",
        "47:1: error: cube 'Sales': data source 'Warehouse' is not in the document",
        "57:5: error: cube 'Sales' > dimension 'Channel': data source 'Warehouse' is not in the "
        "document",
        "74:5: error: cube 'Sales' > partition 'Sales': data source 'Warehouse' is not in the "
        "document",
        "85:5: error: cube 'Sales' > partition 'Rest': data source 'Warehouse' is not in the "
        "document",
        "95:1: error: cube 'Stock': data source 'Warehouse' is not in the document"}},
      {R"(connection_string="Provider=SQLOLEDB;Data Source=dw1")",
       "",
       {"5:5: error: data source 'Warehouse': attribute 'connection_string' is missing"}},
      {R"(<data_source name="Warehouse")",
       R"(<data_source name="warehouse" connection_string=""/><data_source name="Warehouse")",
       {"5:57: warning: data source 'Warehouse': 'Warehouse' is already defined in line 5; this "
        "one is ignored"}},
      {"<data_source name",
       "<datasource name",
       {"5:5: warning: data source 'Warehouse': element 'datasource' is read as a 'data_source'"}},
      {"<data_sources>",
       "<data_source>\n</data_source><data_sources>",
       {"4:3: warning: unknown element 'data_source'"}},
      {R"(type="time" data_source)",
       R"(type="times" data_source)",
       {"9:5: warning: dimension 'Time': attribute 'type': 'times' is read as 'regular' (did you "
        "mean 'time'?)"}},
      {R"(type="time" data_source="Warehouse")",
       R"(type="time" data_source="Warehuose")",
       {"9:5: error: dimension 'Time': data source 'Warehuose' is not in the document (did you "
        "mean 'Warehouse'?)"}},
      {R"(from_clause="dates" join_clause="" schema)",
       R"(from_clause="dates" schema)",
       {"9:5: error: dimension 'Time': attribute 'join_clause' is missing"}},
      {R"(name="Time" description="Calendar")",
       R"(name="" description="Calendar")",
       {"9:5: error: dimension '': the name is empty",
        "51:5: error: cube 'Sales' > dimension 'Time': dimension 'Time' is not in the document"}},
      {"<levels>\n        <level name=\"Region\"",
       "<lvels>\n        <level name=\"Region\"",
       {"39:16: error: Opening and ending tag mismatch: lvels line 35 and levels"}},
      {R"(name="Product" description="Goods")",
       R"(name="TIME" description="Goods")",
       {"18:5: warning: dimension 'TIME': 'TIME' is already defined in line 9; this one is ignored",
        "99:5: error: cube 'Stock' > dimension 'Product': dimension 'Product' is not in the "
        "document"}},
      {R"(name="Product" description="Goods" type="regular" data_source="Warehouse")",
       R"(name="TIME" description="Goods" type="regular" data_source="Stockhouse")",
       {"18:5: warning: dimension 'TIME': 'TIME' is already defined in line 9; this one is ignored",
        "18:5: warning: dimension 'TIME': data source 'Stockhouse' is not in the document",
        "99:5: error: cube 'Stock' > dimension 'Product': dimension 'Product' is not in the "
        "document"}},
      {R"(<level name="Month")",
       R"(<level name="year")",
       {"14:9: error: dimension 'Time' > level 'year': 'year' is already defined in line 12",
        "54:9: error: cube 'Sales' > dimension 'Time' > level 'Month': the dimension has no level "
        "'Month'"}},
      {R"(column_size="4")",
       R"(column_size="four")",
       {"12:9: error: dimension 'Time' > level 'Year': attribute 'column_size': 'four' is no whole "
        "number"}},
      {R"(column_size="4")",
       R"(column_size="40000")",
       {"12:9: error: dimension 'Time' > level 'Year': attribute 'column_size': '40000' is out of "
        "range (-32768 to 32767)"}},
      {R"(column_size="4")",
       R"(column_size="4.5")",
       {"12:9: warning: dimension 'Time' > level 'Year': attribute 'column_size': '4.5' is rounded "
        "to a whole number"}},
      {R"(column_size="4" )",
       "",
       {"12:9: error: dimension 'Time' > level 'Year': attribute 'column_size' is missing"}},
      {R"(estimated_size="900")",
       R"(estimated_size="9000000000")",
       {"23:9: error: dimension 'Product' > level 'Product': attribute 'estimated_size': "
        "'9000000000' is out of range (-2147483648 to 2147483647)"}},
      {R"(type="all" column_type="3")",
       R"(type="all" column_type="")",
       {"21:9: error: dimension 'Product' > level '(All)': attribute 'column_type': '' is no whole "
        "number"}},
      {R"(member_name_column="products.name" )",
       "",
       {"23:9: error: dimension 'Product' > level 'Product': attribute 'member_name_column' is "
        "missing"}},
      {R"(member_key_column="products.id" ordering="name")",
       R"(member_key_column="products.id" ordering="nmae")",
       {"23:9: warning: dimension 'Product' > level 'Product': attribute 'ordering': 'nmae' is "
        "read as 'name' (did you mean 'name'?)"}},
      {"unique_items=\"true\">\n",
       "unique_items=\"yes\">\n",
       {"23:9: warning: dimension 'Product' > level 'Product': attribute 'unique_items': 'yes' is "
        "read as 'false'; it is one of false, true"}},
      {R"(type="time_months")",
       R"(type="time_month")",
       {"14:9: warning: dimension 'Time' > level 'Month': attribute 'type': 'time_month' is read "
        "as 'regular' (did you mean 'time_months'?)",
        "14:9: error: dimension 'Time' > level 'Month': attribute 'member_name_column' is "
        "missing"}},
      {R"(<member_property name="Colour" description="")",
       R"(<member_property name="Colour")",
       {"27:13: error: dimension 'Product' > level 'Product' > member property 'Colour': attribute "
        "'description' is missing"}},
      {R"(<member_property name="Colour" description="" caption="Colour" source_column="colour"/>)",
       R"(<member_property name="Colour" description="" caption="Colour" source_column="colour"/><member_property name="colour" description="" caption="" source_column=""/>)",
       {"27:100: error: dimension 'Product' > level 'Product' > member property 'colour': 'colour' "
        "is already defined in line 27"}},
      {"<member_properties>\n",
       "<properties>\n",
       {"28:31: error: Opening and ending tag mismatch: properties line 26 and member_properties"}},
      {R"(user_list="anna;bert")",
       "",
       {"43:5: error: role 'Readers': attribute 'user_list' is missing"}},
      {R"(<role name="Readers" description)",
       R"(<role name="" description)",
       {"43:5: error: role '': the name is empty",
        "92:5: warning: cube 'Sales' > role 'Readers': role 'Readers' is not in the document"}},
      {R"(<role name="Readers" description="The shop@#$%s readers" user_list="anna;bert"/>)",
       R"(<role name="Readers" description="" user_list=""/><role name="READERS" description="" user_list=""/>)",
       {"43:55: warning: role 'READERS': 'READERS' is already defined in line 43; this one is "
        "ignored"}},
  });
}
// NOLINTEND(bugprone-suspicious-missing-comma)

}  // namespace
}  // namespace importkcd::testing
