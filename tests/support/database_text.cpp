#include "tests/support/database_text.h"

#include <cstddef>
#include <sstream>

namespace importkcd::testing {
namespace {

/// Collects lines; the object that is being told sets the indentation.
class Lines {
 public:
  template <class... Fields>
  void line(std::size_t depth, const std::string& kind, const Fields&... fields) {
    text_ << std::string(2 * depth, ' ') << kind;
    ((text_ << " | " << fields), ...);
    text_ << '\n';
  }
  std::string text() const { return text_.str(); }

 private:
  std::ostringstream text_;
};

template <class Code>
int number(Code code) {
  return static_cast<int>(code);
}

void tell(Lines& lines, std::size_t depth, const OlapLevel& level) {
  lines.line(depth, "level", level.name, number(level.type), level.column_size, level.column_type,
             level.description, level.estimated_size, level.member_key_column,
             level.member_name_column, number(level.ordering), level.unique_items, level.disabled);
  for (const auto& property : level.member_properties) {
    lines.line(depth + 1, "member property", property.name, property.description, property.caption,
               property.source_column);
  }
}

void tell(Lines& lines, const OlapDimension& dimension) {
  lines.line(1, "dimension", dimension.name, number(dimension.kind), dimension.owner_cube,
             dimension.description, number(dimension.type), dimension.data_source,
             dimension.from_clause, dimension.join_clause, dimension.allow_siblings_with_same_name);
  for (const auto& property : dimension.custom_properties) {
    lines.line(2, "custom property", property.name, property.value);
  }
  for (const auto& level : dimension.levels) {
    tell(lines, 2, level);
  }
}

void tell(Lines& lines, std::size_t depth, const OlapRole& role) {
  lines.line(depth, "role", role.name, role.description, role.user_list);
  for (const auto& permission : role.permissions) {
    lines.line(depth + 1, "permission", permission.name, permission.value);
  }
}

void tell(Lines& lines, const OlapPartition& partition) {
  lines.line(2, "partition", partition.name, partition.fact_table, partition.aggregation_prefix,
             partition.from_clause, partition.join_clause, partition.data_source,
             number(partition.olap_mode), partition.read_write, partition.follows_cube);
  for (const auto& dimension : partition.slices) {
    lines.line(3, "sliced dimension", dimension.name);
    for (const auto& level : dimension.levels) {
      lines.line(4, "slice", level.name, level.member_key_column, level.slice_value);
    }
  }
}

void tell_parts(Lines& lines, const OlapCube& cube) {
  for (const auto& dimension : cube.dimensions) {
    lines.line(2, "cube dimension", dimension.name);
    for (const auto& level : dimension.levels) {
      tell(lines, 3, level);
    }
  }
  for (const auto& measure : cube.measures) {
    lines.line(2, "measure", measure.name, measure.description, measure.format,
               measure.source_column, measure.internal, number(measure.aggregate_function));
  }
  for (const auto& member : cube.calculated_members) {
    lines.line(2, "calculated member", member.name, member.statement);
  }
  for (const auto& role : cube.roles) {
    tell(lines, 2, role);
  }
  for (const auto& partition : cube.partitions) {
    tell(lines, partition);
  }
}

void tell(Lines& lines, const OlapCube& cube) {
  lines.line(1, "cube", cube.name, number(cube.kind), cube.description, cube.data_source,
             cube.fact_table, cube.aggregation_prefix, cube.from_clause, cube.join_clause,
             number(cube.olap_mode), cube.estimated_rows);
  for (const auto& property : cube.custom_properties) {
    lines.line(2, "custom property", property.name, property.value);
  }
  tell_parts(lines, cube);
}

}  // namespace

std::string database_text(OlapDatabase& database) {
  Lines lines;
  lines.line(0, "database", database.name(), database.description);
  for (const auto& name : database.data_sources().names()) {
    const auto& data_source = *database.data_sources().find(name);
    lines.line(1, "data source", data_source.name, data_source.connection_string,
               data_source.description);
  }
  for (const auto& name : database.dimensions().names()) {
    tell(lines, *database.dimensions().find(name));
  }
  for (const auto& name : database.roles().names()) {
    tell(lines, 1, *database.roles().find(name));
  }
  for (const auto& name : database.cubes().names()) {
    tell(lines, *database.cubes().find(name));
  }
  return lines.text();
}

std::string server_text(OlapServer& server) {
  std::string text;
  for (const auto& object : server.stored_objects()) {
    if (object.class_type == OlapClassType::database) {
      text += database_text(server.open_database(object.name));
    }
  }
  return text;
}

}  // namespace importkcd::testing
