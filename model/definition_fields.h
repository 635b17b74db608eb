#pragma once

#include <concepts>
#include <type_traits>
#include <utility>

#include "model/definitions.h"

namespace importkcd {

/// A definition to be looked at (const) or to be filled.
template <class Row, class Definition>
concept RowOf = std::same_as<std::remove_const_t<Row>, Definition>;

/// Calls `field(name, value)` for every field of a definition, in one fixed order; the names are
/// words of cube definition documents where those have one. This is the only list of a definition's
/// fields: what a catalogue stores and what a comparison tells are made from it. Collections are no
/// fields; see visit_parts().
template <class Field>
void visit_fields(RowOf<OlapProperty> auto& property, Field&& field) {
  field("name", property.name);
  field("value", property.value);
}

template <class Field>
void visit_fields(RowOf<OlapDataSource> auto& data_source, Field&& field) {
  field("name", data_source.name);
  field("connection_string", data_source.connection_string);
  field("description", data_source.description);
}

template <class Field>
void visit_fields(RowOf<OlapMemberProperty> auto& property, Field&& field) {
  field("name", property.name);
  field("description", property.description);
  field("caption", property.caption);
  field("source_column", property.source_column);
}

template <class Field>
void visit_fields(RowOf<OlapLevel> auto& level, Field&& field) {
  field("name", level.name);
  field("type", level.type);
  field("column_size", level.column_size);
  field("column_type", level.column_type);
  field("description", level.description);
  field("estimated_size", level.estimated_size);
  field("member_key_column", level.member_key_column);
  field("member_name_column", level.member_name_column);
  field("ordering", level.ordering);
  field("unique_items", level.unique_items);
  field("disabled", level.disabled);
}

template <class Field>
void visit_fields(RowOf<OlapDimension> auto& dimension, Field&& field) {
  field("name", dimension.name);
  field("kind", dimension.kind);
  field("owner_cube", dimension.owner_cube);
  field("description", dimension.description);
  field("type", dimension.type);
  field("data_source", dimension.data_source);
  field("from_clause", dimension.from_clause);
  field("join_clause", dimension.join_clause);
  field("allow_siblings_with_same_name", dimension.allow_siblings_with_same_name);
}

template <class Field>
void visit_fields(RowOf<OlapCubeDimension> auto& dimension, Field&& field) {
  field("name", dimension.name);
}

template <class Field>
void visit_fields(RowOf<OlapMeasure> auto& measure, Field&& field) {
  field("name", measure.name);
  field("description", measure.description);
  field("format", measure.format);
  field("source_column", measure.source_column);
  field("internal", measure.internal);
  field("aggregate_function", measure.aggregate_function);
}

template <class Field>
void visit_fields(RowOf<OlapCalculatedMember> auto& member, Field&& field) {
  field("name", member.name);
  field("statement", member.statement);
}

template <class Field>
void visit_fields(RowOf<OlapRole> auto& role, Field&& field) {
  field("name", role.name);
  field("description", role.description);
  field("user_list", role.user_list);
}

template <class Field>
void visit_fields(RowOf<OlapPartitionLevel> auto& level, Field&& field) {
  field("name", level.name);
  field("member_key_column", level.member_key_column);
  field("slice_value", level.slice_value);
}

template <class Field>
void visit_fields(RowOf<OlapPartitionDimension> auto& dimension, Field&& field) {
  field("name", dimension.name);
}

template <class Field>
void visit_fields(RowOf<OlapPartition> auto& partition, Field&& field) {
  field("name", partition.name);
  field("fact_table", partition.fact_table);
  field("aggregation_prefix", partition.aggregation_prefix);
  field("from_clause", partition.from_clause);
  field("join_clause", partition.join_clause);
  field("data_source", partition.data_source);
  field("olap_mode", partition.olap_mode);
  field("read_write", partition.read_write);
  field("follows_cube", partition.follows_cube);
}

template <class Field>
void visit_fields(RowOf<OlapCube> auto& cube, Field&& field) {
  field("name", cube.name);
  field("kind", cube.kind);
  field("description", cube.description);
  field("data_source", cube.data_source);
  field("fact_table", cube.fact_table);
  field("aggregation_prefix", cube.aggregation_prefix);
  field("from_clause", cube.from_clause);
  field("join_clause", cube.join_clause);
  field("olap_mode", cube.olap_mode);
  field("estimated_rows", cube.estimated_rows);
}

template <class Row>
concept RowWithoutParts =
    RowOf<Row, OlapProperty> || RowOf<Row, OlapDataSource> || RowOf<Row, OlapMemberProperty> ||
    RowOf<Row, OlapMeasure> || RowOf<Row, OlapCalculatedMember> || RowOf<Row, OlapPartitionLevel>;

/// Calls `part(kind, collection)` for every collection of a definition, in one fixed order; `kind`
/// names one of its parts ("level").
template <class Part>
void visit_parts(RowWithoutParts auto& /*definition*/, Part&& /*part*/) {}

template <class Part>
void visit_parts(RowOf<OlapLevel> auto& level, Part&& part) {
  part("member property", level.member_properties);
}

template <class Part>
void visit_parts(RowOf<OlapDimension> auto& dimension, Part&& part) {
  part("custom property", dimension.custom_properties);
  part("level", dimension.levels);
}

template <class Part>
void visit_parts(RowOf<OlapCubeDimension> auto& dimension, Part&& part) {
  part("level", dimension.levels);
}

template <class Part>
void visit_parts(RowOf<OlapRole> auto& role, Part&& part) {
  part("permission", role.permissions);
}

template <class Part>
void visit_parts(RowOf<OlapPartitionDimension> auto& dimension, Part&& part) {
  part("level", dimension.levels);
}

template <class Part>
void visit_parts(RowOf<OlapPartition> auto& partition, Part&& part) {
  part("dimension", partition.slices);
}

template <class Part>
void visit_parts(RowOf<OlapCube> auto& cube, Part&& part) {
  part("custom property", cube.custom_properties);
  part("dimension", cube.dimensions);
  part("measure", cube.measures);
  part("calculated member", cube.calculated_members);
  part("role", cube.roles);
  part("partition", cube.partitions);
}

}  // namespace importkcd
