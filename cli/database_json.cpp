#include "cli/database_json.h"

#include <cmath>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "cli/code_words.h"
#include "model/olap_database.h"

namespace importkcd {
namespace {

using Json = nlohmann::ordered_json;

template <class Code>
std::int32_t code_number(Code code) {
  return static_cast<std::int32_t>(code);
}

Json name_or_null(const std::string& name) { return name.empty() ? Json() : Json(name); }

/// A whole number is written without a decimal point as far as it is exact.
Json number(double value) {
  constexpr double exact_limit = 9007199254740992.0;
  if (std::abs(value) <= exact_limit && std::trunc(value) == value) {
    return static_cast<std::int64_t>(value);
  }
  return value;
}

template <class List, class ToJson>
Json list_of(const List& list, ToJson to_object) {
  Json result = Json::array();
  for (const auto& object : list) {
    result.push_back(to_object(object));
  }
  return result;
}

Json properties(const NamedCollection<OlapProperty>& list) {
  Json result = Json::object();
  for (const auto& property : list) {
    result[property.name] = property.value;
  }
  return result;
}

Json member_property(const OlapMemberProperty& property) {
  return {{"name", property.name},
          {"description", property.description},
          {"caption", property.caption},
          {"source_column", property.source_column}};
}

Json level(const OlapLevel& level) {
  return {{"name", level.name},
          {"type", code_number(level.type)},
          {"column_size", level.column_size},
          {"column_type", level.column_type},
          {"description", level.description},
          {"estimated_size", level.estimated_size},
          {"member_key_column", level.member_key_column},
          {"member_name_column", level.member_name_column},
          {"ordering", code_number(level.ordering)},
          {"unique_items", level.unique_items},
          {"disabled", level.disabled},
          {"member_properties", list_of(level.member_properties, member_property)}};
}

Json cube_dimension(const OlapCubeDimension& dimension) {
  return {{"name", dimension.name}, {"levels", list_of(dimension.levels, level)}};
}

Json measure(const OlapMeasure& measure) {
  return {{"name", measure.name},
          {"description", measure.description},
          {"format", measure.format},
          {"source_column", measure.source_column},
          {"internal", measure.internal},
          {"aggregate_function", code_number(measure.aggregate_function)}};
}

Json calculated_member(const OlapCalculatedMember& member) {
  return {{"name", member.name}, {"statement", member.statement}};
}

Json cube_role(const OlapRole& role) {
  return {{"name", role.name}, {"permissions", properties(role.permissions)}};
}

Json partition_level(const PartitionLevelView& level) {
  return {{"name", level.name},
          {"disabled", level.disabled},
          {"member_key_column", level.member_key_column},
          {"slice_value", level.slice_value}};
}

Json partition_dimension(const PartitionDimensionView& dimension) {
  return {{"name", dimension.name}, {"levels", list_of(dimension.levels, partition_level)}};
}

Json partition(const OlapCube& cube, const OlapPartition& partition) {
  return {{"name", partition.name},
          {"fact_table", partition.fact_table},
          {"aggregation_prefix", partition.aggregation_prefix},
          {"from_clause", partition.from_clause},
          {"join_clause", partition.join_clause},
          {"data_source", name_or_null(partition.data_source)},
          {"olap_mode", code_number(partition.olap_mode)},
          {"read_write", partition.read_write},
          {"dimensions", list_of(partition_dimensions(cube, partition), partition_dimension)}};
}

Json object_json(const OlapDataSource& source) {
  return {{"name", source.name},
          {"connection_string", source.connection_string},
          {"description", source.description}};
}

Json object_json(const OlapDimension& dimension) {
  return {{"name", dimension.name},
          {"kind", word_for(dimension.kind)},
          {"description", dimension.description},
          {"type", code_number(dimension.type)},
          {"data_source", name_or_null(dimension.data_source)},
          {"from_clause", dimension.from_clause},
          {"join_clause", dimension.join_clause},
          {"custom_properties", properties(dimension.custom_properties)},
          {"allow_siblings_with_same_name", dimension.allow_siblings_with_same_name},
          {"levels", list_of(dimension.levels, level)}};
}

/// A role of a database.
Json object_json(const OlapRole& role) {
  return {{"name", role.name}, {"description", role.description}, {"user_list", role.user_list}};
}

Json object_json(const OlapCube& cube) {
  return {{"name", cube.name},
          {"kind", word_for(cube.kind)},
          {"description", cube.description},
          {"data_source", name_or_null(cube.data_source)},
          {"fact_table", cube.fact_table},
          {"aggregation_prefix", cube.aggregation_prefix},
          {"from_clause", cube.from_clause},
          {"join_clause", cube.join_clause},
          {"olap_mode", code_number(cube.olap_mode)},
          {"estimated_rows", number(cube.estimated_rows)},
          {"custom_properties", properties(cube.custom_properties)},
          {"dimensions", list_of(cube.dimensions, cube_dimension)},
          {"measures", list_of(cube.measures, measure)},
          {"calculated_members", list_of(cube.calculated_members, calculated_member)},
          {"roles", list_of(cube.roles, cube_role)},
          {"partitions", list_of(cube.partitions, [&](const OlapPartition& of_cube) {
             return partition(cube, of_cube);
           })}};
}

constexpr int indent_step = 2;
constexpr std::size_t member_indent = 6;
constexpr std::size_t object_indent = 8;

/// The JSON text, its lines after the first one indented. A line end in JSON text is never a part
/// of a value.
std::string indented_text(const Json& value, std::size_t indent) {
  std::string result;
  for (const char c : value.dump(indent_step, ' ', false, Json::error_handler_t::replace)) {
    result.push_back(c);
    if (c == '\n') {
      result.append(indent, ' ');
    }
  }
  return result;
}

std::string line_start(std::size_t indent) { return '\n' + std::string(indent, ' '); }

void write_member(std::ostream& out, std::string_view key) {
  out << line_start(member_indent) << '"' << key << "\": ";
}

/// Writes a list of database objects, one at a time, so that memory holds the JSON of one.
template <class T>
void write_list(std::ostream& out, std::string_view key, DatabaseObjects<T>& objects) {
  write_member(out, key);
  out << '[';
  bool first = true;
  for (const auto& name : objects.names()) {
    if (const T* object = objects.find(name)) {
      out << (first ? "" : ",") << line_start(object_indent)
          << indented_text(object_json(*object), object_indent);
      first = false;
    }
  }
  out << (first ? "" : line_start(member_indent)) << ']';
}

}  // namespace

DatabaseJson::DatabaseJson(std::ostream& out) : out_(out) { out_ << "{\n  \"databases\": ["; }

void DatabaseJson::add(OlapDatabase& database) {
  out_ << (first_ ? "" : ",") << "\n    {";
  first_ = false;
  write_member(out_, "name");
  out_ << indented_text(database.name(), member_indent) << ',';
  write_member(out_, "description");
  out_ << indented_text(database.description, member_indent) << ',';
  write_list(out_, "data_sources", database.data_sources());
  out_ << ',';
  write_list(out_, "dimensions", database.dimensions());
  out_ << ',';
  write_list(out_, "roles", database.roles());
  out_ << ',';
  write_list(out_, "cubes", database.cubes());
  out_ << "\n    }";
}

void DatabaseJson::end() { out_ << (first_ ? "" : "\n  ") << "]\n}\n"; }

Json xmla_database_json(const std::string& database, const std::vector<XmlaCube>& cubes,
                        const std::vector<UnservedCube>& unserved) {
  auto list = Json::array();
  for (const auto& cube : cubes) {
    list.push_back(
        {{"name", cube.name}, {"virtual", cube.is_virtual}, {"description", cube.description}});
  }
  Json result{{"name", database}, {"cubes", std::move(list)}};
  for (const auto& cube : unserved) {
    result["unserved"].push_back({{"name", cube.name}, {"reason", cube.reason}});
  }
  return result;
}

}  // namespace importkcd
