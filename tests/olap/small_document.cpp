#include "tests/olap/small_document.h"

namespace importkcd::testing {
namespace {

/// An attribute whose text may hold double quotes.
std::string attribute(const std::string& name, std::string value) {
  for (auto at = value.find('"'); at != std::string::npos; at = value.find('"', at)) {
    value.replace(at, 1, "&quot;");
  }
  return " " + name + R"(=")" + value + "\"";
}

std::string dimension(const std::string& name, const std::string& table,
                      const std::string& data_source) {
  return "<shared_dimension" + attribute("name", name) + R"( type="regular" description="")" +
         attribute("data_source", data_source) + attribute("from_clause", table) +
         R"( join_clause="" schema_layout=""><levels><level)" + attribute("name", name) +
         R"( type="regular" column_size="0" column_type="3" description="" )"
         R"(estimated_size="1")" +
         attribute("member_key_column", table + "." + table + "_id") +
         attribute("member_name_column", table + "." + table + "_name") +
         R"( ordering="key" unique_items="true"/></levels></shared_dimension>)";
}

std::string cube_text(const SmallCube& cube) {
  std::string text =
      "<cube" + attribute("name", cube.name) + R"( description="")" +
      attribute("data_source", cube.data_source) + R"( fact_table="sales" aggregation_prefix="")" +
      attribute("from_clause", cube.from_clause) + attribute("join_clause", cube.join_clause) +
      R"( schema_layout="" olap_mode="olapmodeRolap" estimated_rows="1">)"
      "<cube_dimensions>";
  for (const auto& name : cube.dimensions) {
    text += "<cube_dimension_reference" + attribute("name", name) +
            "><cube_levels_reference/></cube_dimension_reference>";
  }
  text += R"(</cube_dimensions><cube_measures><cube_measure name="Figure" )"
          R"(aggregate_function="sum" format="#")" +
          attribute("source_column", cube.measure_column) +
          R"( internal="false" description=""/></cube_measures><cube_calculated_members>)";
  if (!cube.calculation.empty()) {
    text +=
        R"(<cube_calculated_member name="Rate")" + attribute("statement", cube.calculation) + "/>";
  }
  return text + "</cube_calculated_members><cube_partitions/><cube_roles/></cube>";
}

}  // namespace

std::string small_document(const std::string& database, const std::string& connection_string,
                           const std::vector<SmallCube>& cubes) {
  std::string text = R"(<database version="1.0.1073")" + attribute("name", database) +
                     R"( description=""><library><data_sources><data_source name="Warehouse" )"
                     R"(description="")" +
                     attribute("connection_string", connection_string) +
                     R"(/><data_source name="Elsewhere" description="" )"
                     R"(connection_string="jdbc:postgresql://nowhere/other"/></data_sources>)"
                     "<shared_dimensions>" +
                     dimension("Store", "store", "Warehouse") +
                     dimension("Region", "region", "Warehouse") +
                     dimension("Far Away", "customer", "Elsewhere") +
                     "</shared_dimensions><virtual_dimensions/><roles/></library><cubes>";
  for (const auto& cube : cubes) {
    text += cube_text(cube);
  }
  return text + "</cubes></database>";
}

}  // namespace importkcd::testing
