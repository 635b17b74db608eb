#include "check/kcd_format.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "base/apostrophes.h"
#include "base/name_folding.h"
#include "model/vocabularies.h"

namespace importkcd {
namespace {

using Attributes = std::vector<AttributeFormat>;

constexpr AttributeFormat decoded_name{"name", ValueKind::decoded};
constexpr AttributeFormat decoded_description{"description", ValueKind::decoded};
constexpr AttributeFormat from_clause{"from_clause", ValueKind::raw};
constexpr AttributeFormat join_clause{"join_clause", ValueKind::raw};
constexpr AttributeFormat schema_layout{"schema_layout", ValueKind::raw};
constexpr AttributeFormat data_source{"data_source", ValueKind::decoded};
constexpr AttributeFormat member_key_column{"member_key_column", ValueKind::decoded};

/// A collection, every child of which counts as one kind.
ElementFormat collection(ElementKind kind, std::string_view tag, ElementKind every_child) {
  return {kind, tag, {}, {}, {}, every_child};
}

Attributes level_attributes(Presence of_words) {
  return {decoded_name,
          {"type", ValueKind::level_type, of_words},
          {"column_size", ValueKind::int16, Presence::unless_all_level},
          {"column_type", ValueKind::int16},
          decoded_description,
          {"estimated_size", ValueKind::int32},
          member_key_column,
          {"member_name_column", ValueKind::decoded, Presence::of_regular_level},
          {"ordering", ValueKind::level_ordering, of_words},
          {"unique_items", ValueKind::boolean, of_words}};
}

void add_library(std::vector<ElementFormat>& formats) {
  using Kind = ElementKind;
  formats.push_back({Kind::database,
                     "database",
                     "",
                     {{"version", ValueKind::version},
                      decoded_name,
                      decoded_description,
                      {"guid", ValueKind::raw, Presence::optional}},
                     {{Kind::library}, {Kind::cubes}, {Kind::virtual_cubes}}});
  formats.push_back({Kind::library,
                     "library",
                     "",
                     {},
                     {{Kind::data_sources},
                      {Kind::shared_dimensions},
                      {Kind::virtual_dimensions},
                      {Kind::roles}}});
  formats.push_back(collection(Kind::data_sources, "data_sources", Kind::data_source));
  formats.push_back({Kind::data_source,
                     "data_source",
                     "data source",
                     {decoded_name,
                      {"connection_string", ValueKind::raw},
                      {"description", ValueKind::decoded, Presence::optional}}});
  formats.push_back(
      collection(Kind::shared_dimensions, "shared_dimensions", Kind::shared_dimension));
  formats.push_back({Kind::shared_dimension,
                     "shared_dimension",
                     "dimension",
                     {decoded_name,
                      decoded_description,
                      {"type", ValueKind::dimension_type, Presence::optional},
                      data_source,
                      from_clause,
                      join_clause,
                      schema_layout},
                     {{Kind::levels, true}}});
  formats.push_back(collection(Kind::levels, "levels", Kind::level));
  formats.push_back({Kind::level,
                     "level",
                     "level",
                     level_attributes(Presence::optional),
                     {},
                     Kind::member_properties});
  formats.push_back(
      collection(Kind::member_properties, "member_properties", Kind::member_property));
  formats.push_back({Kind::member_property,
                     "member_property",
                     "member property",
                     {decoded_name,
                      decoded_description,
                      {"caption", ValueKind::decoded},
                      {"source_column", ValueKind::raw}}});
}

void add_virtual_dimensions_and_roles(std::vector<ElementFormat>& formats) {
  using Kind = ElementKind;
  formats.push_back(
      collection(Kind::virtual_dimensions, "virtual_dimensions", Kind::virtual_dimension));
  formats.push_back(
      {Kind::virtual_dimension,
       "virtual_dimension",
       "virtual dimension",
       {decoded_name, decoded_description, {"type", ValueKind::dimension_type, Presence::optional}},
       {{Kind::virtual_levels, true}}});
  formats.push_back(collection(Kind::virtual_levels, "levels", Kind::virtual_level));
  formats.push_back(
      {Kind::virtual_level,
       "level",
       "level",
       {decoded_name,
        {"member_key_column", ValueKind::raw},
        {"column_type", ValueKind::int16, Presence::unless_keyed_all},
        {"description", ValueKind::decoded, Presence::unless_keyed_all},
        {"member_name_column", ValueKind::raw, Presence::unless_keyed_all},
        {"ordering", ValueKind::level_ordering, Presence::optional_unless_keyed_all}}});
  formats.push_back(collection(Kind::roles, "roles", Kind::role));
  formats.push_back({Kind::role,
                     "role",
                     "role",
                     {decoded_name, decoded_description, {"user_list", ValueKind::raw}}});
}

void add_cube(std::vector<ElementFormat>& formats) {
  using Kind = ElementKind;
  formats.push_back(collection(Kind::cubes, "cubes", Kind::cube));
  formats.push_back({Kind::cube,
                     "cube",
                     "cube",
                     {decoded_name,
                      decoded_description,
                      data_source,
                      {"fact_table", ValueKind::raw},
                      {"aggregation_prefix", ValueKind::decoded},
                      from_clause,
                      join_clause,
                      schema_layout,
                      {"olap_mode", ValueKind::olap_mode},
                      {"estimated_rows", ValueKind::decimal}},
                     {{Kind::cube_dimensions, true},
                      {Kind::cube_measures, true},
                      {Kind::cube_calculated_members, true},
                      {Kind::cube_roles, true},
                      {Kind::cube_partitions}}});
}

void add_cube_dimensions(std::vector<ElementFormat>& formats) {
  using Kind = ElementKind;
  formats.push_back({Kind::cube_dimensions,
                     "cube_dimensions",
                     "",
                     {},
                     {{Kind::cube_dimension}, {Kind::cube_dimension_reference}},
                     std::nullopt,
                     true});
  formats.push_back({Kind::cube_dimension,
                     "cube_dimension",
                     "dimension",
                     {decoded_name,
                      decoded_description,
                      {"type", ValueKind::dimension_type},
                      data_source,
                      from_clause,
                      join_clause},
                     {{Kind::cube_levels, true}}});
  formats.push_back(collection(Kind::cube_levels, "cube_levels", Kind::cube_level));
  formats.push_back(
      {Kind::cube_level, "cube_level", "level", level_attributes(Presence::required)});
  formats.push_back({Kind::cube_dimension_reference,
                     "cube_dimension_reference",
                     "dimension",
                     {decoded_name},
                     {{Kind::cube_levels_reference, true}}});
  formats.push_back(
      collection(Kind::cube_levels_reference, "cube_levels_reference", Kind::cube_level_reference));
  formats.push_back({Kind::cube_level_reference,
                     "cube_level_reference",
                     "level",
                     {decoded_name,
                      {"member_key_column", ValueKind::decoded, Presence::unless_named_all},
                      {"disabled", ValueKind::boolean, Presence::unless_named_all}}});
}

void add_cube_parts(std::vector<ElementFormat>& formats) {
  using Kind = ElementKind;
  formats.push_back(collection(Kind::cube_measures, "cube_measures", Kind::cube_measure));
  formats.push_back({Kind::cube_measure,
                     "cube_measure",
                     "measure",
                     {decoded_name,
                      decoded_description,
                      {"format", ValueKind::raw},
                      {"source_column", ValueKind::raw},
                      {"internal", ValueKind::boolean, Presence::optional},
                      {"aggregate_function", ValueKind::aggregate_function}}});
  formats.push_back(collection(Kind::cube_calculated_members, "cube_calculated_members",
                               Kind::cube_calculated_member));
  formats.push_back({Kind::cube_calculated_member,
                     "cube_calculated_member",
                     "calculated member",
                     {decoded_name, {"statement", ValueKind::statement}}});
  formats.push_back(collection(Kind::cube_roles, "cube_roles", Kind::cube_role));
  formats.push_back({Kind::cube_role,
                     "cube_role",
                     "role",
                     {decoded_name, {"permissions", ValueKind::permissions}}});
}

void add_partitions(std::vector<ElementFormat>& formats) {
  using Kind = ElementKind;
  formats.push_back(collection(Kind::cube_partitions, "cube_partitions", Kind::cube_partition));
  formats.push_back({Kind::cube_partition,
                     "cube_partition",
                     "partition",
                     {decoded_name,
                      {"fact_table", ValueKind::raw},
                      {"aggregation_prefix", ValueKind::decoded},
                      from_clause,
                      join_clause,
                      {"datasource", ValueKind::decoded},
                      {"olap_mode", ValueKind::olap_mode},
                      {"readwrite", ValueKind::boolean}},
                     {{Kind::partition_dimensions, true}}});
  formats.push_back(
      collection(Kind::partition_dimensions, "partition_dimensions", Kind::partition_dimension));
  formats.push_back({Kind::partition_dimension,
                     "partition_dimension",
                     "dimension",
                     {decoded_name},
                     {{Kind::partition_levels, true}}});
  formats.push_back(collection(Kind::partition_levels, "partition_levels", Kind::partition_level));
  formats.push_back({Kind::partition_level,
                     "partition_level",
                     "level",
                     {decoded_name, member_key_column, {"slice_value", ValueKind::raw}}});
}

void add_virtual_cubes(std::vector<ElementFormat>& formats) {
  using Kind = ElementKind;
  formats.push_back(collection(Kind::virtual_cubes, "virtual_cubes", Kind::virtual_cube));
  formats.push_back(
      {Kind::virtual_cube,
       "virtual_cube",
       "virtual cube",
       {decoded_name},
       {{Kind::measure_references}, {Kind::dimension_references}, {Kind::cube_roles}}});
  formats.push_back(
      collection(Kind::measure_references, "measure_references", Kind::measure_reference));
  formats.push_back({Kind::measure_reference,
                     "measure_reference",
                     "measure",
                     {decoded_name, {"source_column", ValueKind::raw}}});
  formats.push_back(
      collection(Kind::dimension_references, "dimension_references", Kind::dimension_reference));
  formats.push_back(
      {Kind::dimension_reference, "dimension_reference", "dimension", {decoded_name}});
}

std::vector<ElementFormat> make_formats() {
  std::vector<ElementFormat> formats;
  add_library(formats);
  add_virtual_dimensions_and_roles(formats);
  add_cube(formats);
  add_cube_dimensions(formats);
  add_cube_parts(formats);
  add_partitions(formats);
  add_virtual_cubes(formats);
  return formats;
}

/// Walks down to an element and collects the parts of its path on the way back.
bool find_path(const ElementFormat& format, const KcdElement& at, std::size_t number,
               const KcdElement& wanted, std::string& path) {
  bool found = &at == &wanted;
  std::size_t child_number = 0;
  for (const auto* child = at.first_child(); child != nullptr && !found;
       child = child->next_sibling()) {
    ++child_number;
    const auto* child_format = format_of_child(format, *child);
    found = child_format != nullptr && find_path(*child_format, *child, child_number, wanted, path);
  }
  if (found && !format.noun.empty()) {
    path = path_part(format, at, number) + (path.empty() ? "" : " > ") + path;
  }
  return found;
}

}  // namespace

const std::vector<std::string_view>& words_of(ValueKind kind) {
  static const std::vector<std::string_view> none;
  static const std::vector<std::string_view> versions{"1.0.1073", "1.0.1051"};
  static const std::vector<std::string_view> permissions{"R", "RW"};
  static const std::vector<std::string_view> booleans{"false", "true"};
  static const auto dimension_types = dimension_type_words();
  static const auto level_types = level_type_words();
  static const auto orderings = level_ordering_words();
  static const auto functions = aggregate_function_words();
  static const auto modes = olap_mode_words();
  switch (kind) {
    case ValueKind::version:
      return versions;
    case ValueKind::permissions:
      return permissions;
    case ValueKind::boolean:
      return booleans;
    case ValueKind::dimension_type:
      return dimension_types;
    case ValueKind::level_type:
      return level_types;
    case ValueKind::level_ordering:
      return orderings;
    case ValueKind::aggregate_function:
      return functions;
    case ValueKind::olap_mode:
      return modes;
    default:
      return none;
  }
}

bool words_are_exact(ValueKind kind) {
  return kind == ValueKind::version || kind == ValueKind::olap_mode;
}

std::span<const ElementFormat> all_formats() {
  static const auto formats = make_formats();
  return formats;
}

const ElementFormat& format_of(ElementKind kind) {
  return all_formats()[static_cast<std::size_t>(kind)];
}

const ElementFormat* format_of_child(const ElementFormat& parent, const KcdElement& child) {
  if (parent.every_child) {
    return &format_of(*parent.every_child);
  }
  for (const auto& known : parent.children) {
    const auto& format = format_of(known.kind);
    if (child.tag() == format.tag || (parent.repeats && same_name(child.tag(), format.tag))) {
      return &format;
    }
  }
  return nullptr;
}

const KcdElement* child_of_kind(const KcdElement& element, ElementKind kind) {
  return element.child(format_of(kind).tag);
}

std::string path_part(const ElementFormat& format, const KcdElement& element, std::size_t number) {
  const auto name = element.attribute("name");
  std::string part(format.noun);
  return name ? part.append(" '").append(DecodeApostrophes(*name)).append("'")
              : part.append(" number ").append(std::to_string(number));
}

std::string path_of(const KcdDocument& document, const KcdElement& element) {
  std::string path;
  find_path(format_of(ElementKind::database), document.root(), 1, element, path);
  return path;
}

}  // namespace importkcd
