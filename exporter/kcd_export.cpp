#include "exporter/kcd_export.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <utility>

#include "base/connection_text.h"
#include "base/xml_element.h"
#include "exporter/document_layout.h"
#include "model/vocabularies.h"

// The sections stand in the order in which an import reads them, and attributes in the order of the
// format's description. Apostrophes are written as they are: only their placeholder is decoded when
// a document is read.

namespace importkcd {
namespace {

constexpr const char* written_version = "1.0.1073";
constexpr const char* layout_property = "SchemaLayout";
constexpr const char* access_permission = "Access";

const char* truth(bool value) { return value ? "true" : "false"; }

/// The document's word for a code; the number of a code that has none, which no import understands.
template <class Code>
std::string word_of(Word word, Code code) {
  return word ? std::string(*word) : std::to_string(static_cast<std::int32_t>(code));
}

/// The shortest text that reads as the same number; without an exponent as long as that is
/// readable.
std::string decimal(double number) {
  constexpr double readable = 1e15;
  std::array<char, 32> text{};
  auto* const begin = text.data();
  auto* const end = begin + text.size();
  const auto written = number == std::trunc(number) && std::abs(number) < readable
                           ? std::to_chars(begin, end, number, std::chars_format::fixed)
                           : std::to_chars(begin, end, number);
  return {begin, written.ptr};
}

std::string property_value(const NamedCollection<OlapProperty>& properties, std::string_view name) {
  const auto* property = properties.find(name);
  return property == nullptr ? std::string() : property->value;
}

XmlElement named(std::string tag, const std::string& name) {
  XmlElement element{.name = std::move(tag), .attributes = {}, .children = {}, .text = {}};
  element.set("name", name);
  return element;
}

/// An element that holds one child per object.
template <class Objects, class ToElement>
XmlElement collection(std::string tag, const Objects& objects, ToElement to_element) {
  XmlElement element{.name = std::move(tag), .attributes = {}, .children = {}, .text = {}};
  for (const auto& object : objects) {
    element.add(to_element(object));
  }
  return element;
}

/// What a level of a dimension and one of a cube's own dimension have in common.
XmlElement level_element(std::string tag, const OlapLevel& level) {
  auto element = named(std::move(tag), level.name);
  element.set("type", word_of(level_type_word(level.type), level.type))
      .set("column_size", std::to_string(level.column_size))
      .set("column_type", std::to_string(level.column_type))
      .set("description", level.description)
      .set("estimated_size", std::to_string(level.estimated_size))
      .set("member_key_column", level.member_key_column);
  if (level.type == OlapLevelType::regular) {
    element.set("member_name_column", level.member_name_column);
  }
  element.set("ordering", word_of(level_ordering_word(level.ordering), level.ordering))
      .set("unique_items", truth(level.unique_items));
  return element;
}

XmlElement member_property_element(const OlapMemberProperty& property) {
  auto element = named("member_property", property.name);
  element.set("description", property.description)
      .set("caption", property.caption)
      .set("source_column", property.source_column);
  return element;
}

XmlElement shared_level_element(const OlapLevel& level) {
  auto element = level_element("level", level);
  if (!level.member_properties.empty()) {
    element.add(collection("member_properties", level.member_properties, member_property_element));
  }
  return element;
}

/// The attributes that shared and private dimensions have in common.
XmlElement dimension_element(std::string tag, const OlapDimension& dimension) {
  auto element = named(std::move(tag), dimension.name);
  element.set("type", word_of(dimension_type_word(dimension.type), dimension.type))
      .set("description", dimension.description)
      .set("data_source", dimension.data_source)
      .set("from_clause", dimension.from_clause)
      .set("join_clause", dimension.join_clause);
  return element;
}

XmlElement shared_dimension_element(const OlapDimension& dimension) {
  auto element = dimension_element("shared_dimension", dimension);
  element.set("schema_layout", property_value(dimension.custom_properties, layout_property));
  element.add(collection("levels", dimension.levels, shared_level_element));
  return element;
}

XmlElement virtual_level_element(const OlapLevel& level) {
  auto element = named("level", level.name);
  if (level.type == OlapLevelType::all) {
    element.set("member_key_column", "All");
    return element;
  }
  element.set("column_type", std::to_string(level.column_type))
      .set("description", level.description)
      .set("member_key_column", level.member_key_column)
      .set("member_name_column", level.member_name_column)
      .set("ordering", word_of(level_ordering_word(level.ordering), level.ordering));
  return element;
}

XmlElement virtual_dimension_element(const OlapDimension& dimension) {
  auto element = named("virtual_dimension", dimension.name);
  element.set("type", word_of(dimension_type_word(dimension.type), dimension.type))
      .set("description", dimension.description);
  element.add(collection("levels", dimension.levels, virtual_level_element));
  return element;
}

XmlElement role_element(const OlapRole& role) {
  auto element = named("role", role.name);
  element.set("description", role.description).set("user_list", role.user_list);
  return element;
}

XmlElement cube_role_element(const OlapRole& role) {
  auto element = named("cube_role", role.name);
  element.set("permissions", property_value(role.permissions, access_permission));
  return element;
}

XmlElement measure_element(const OlapMeasure& measure) {
  auto element = named("cube_measure", measure.name);
  element
      .set("aggregate_function",
           word_of(aggregate_function_word(measure.aggregate_function), measure.aggregate_function))
      .set("format", measure.format)
      .set("source_column", measure.source_column)
      .set("internal", truth(measure.internal))
      .set("description", measure.description);
  return element;
}

XmlElement calculated_member_element(const OlapCalculatedMember& member) {
  auto element = named("cube_calculated_member", member.name);
  element.set("statement", member.statement);
  return element;
}

XmlElement private_dimension_element(const OlapDimension& dimension) {
  auto element = dimension_element("cube_dimension", dimension);
  element.add(collection("cube_levels", dimension.levels, [](const OlapLevel& level) {
    return level_element("cube_level", level);
  }));
  return element;
}

/// A dimension of the database in a cube, with the levels in which the cube differs from it.
XmlElement dimension_reference_element(const OlapCubeDimension& used,
                                       const OlapDimension* dimension) {
  auto element = named("cube_dimension_reference", used.name);
  XmlElement adjusted{
      .name = "cube_levels_reference", .attributes = {}, .children = {}, .text = {}};
  for (const auto& level : used.levels) {
    const auto* shared = dimension == nullptr ? nullptr : dimension->levels.find(level.name);
    if (shared == nullptr || level.member_key_column != shared->member_key_column ||
        level.disabled != shared->disabled) {
      adjusted.add(named("cube_level_reference", level.name))
          .set("member_key_column", level.member_key_column)
          .set("disabled", truth(level.disabled));
    }
  }
  element.add(std::move(adjusted));
  return element;
}

XmlElement slices_element(const OlapPartition& partition, const OlapCube& cube) {
  XmlElement dimensions{
      .name = "partition_dimensions", .attributes = {}, .children = {}, .text = {}};
  for (const auto& sliced : partition.slices) {
    const auto* dimension = cube.dimensions.find(sliced.name);
    if (dimension == nullptr) {
      continue;  // of a dimension that the cube no longer has; without effect
    }
    auto element = named("partition_dimension", sliced.name);
    auto& levels =
        element.add({.name = "partition_levels", .attributes = {}, .children = {}, .text = {}});
    for (const auto& slice : sliced.levels) {
      if (dimension->levels.contains(slice.name)) {
        levels.add(named("partition_level", slice.name))
            .set("member_key_column", slice.member_key_column)
            .set("slice_value", slice.slice_value);
      }
    }
    dimensions.add(std::move(element));
  }
  return dimensions;
}

XmlElement partition_element(const OlapPartition& partition, const OlapCube& cube) {
  auto element = named("cube_partition", partition.name);
  element.set("datasource", partition.data_source)
      .set("fact_table", partition.fact_table)
      .set("aggregation_prefix", partition.aggregation_prefix)
      .set("from_clause", partition.from_clause)
      .set("join_clause", partition.join_clause)
      .set("olap_mode", word_of(olap_mode_word(partition.olap_mode), partition.olap_mode))
      .set("readwrite", truth(partition.read_write));
  element.add(slices_element(partition, cube));
  return element;
}

/// The partitions that were set; the one that is made with every cube and follows it is none.
XmlElement partitions_element(const OlapCube& cube) {
  XmlElement element{.name = "cube_partitions", .attributes = {}, .children = {}, .text = {}};
  for (const auto& partition : cube.partitions) {
    if (!partition.follows_cube) {
      element.add(partition_element(partition, cube));
    }
  }
  return element;
}

XmlElement cube_dimensions_element(OlapDatabase& database, const OlapCube& cube) {
  return collection("cube_dimensions", cube.dimensions, [&](const OlapCubeDimension& used) {
    const auto* dimension = database.dimensions().find(used.name);
    return dimension != nullptr && dimension->kind == OlapDimensionKind::is_private
               ? private_dimension_element(*dimension)
               : dimension_reference_element(used, dimension);
  });
}

XmlElement cube_element(OlapDatabase& database, const OlapCube& cube) {
  auto element = named("cube", cube.name);
  element.set("description", cube.description)
      .set("data_source", cube.data_source)
      .set("fact_table", cube.fact_table)
      .set("aggregation_prefix", cube.aggregation_prefix)
      .set("from_clause", cube.from_clause)
      .set("join_clause", cube.join_clause)
      .set("schema_layout", property_value(cube.custom_properties, layout_property))
      .set("olap_mode", word_of(olap_mode_word(cube.olap_mode), cube.olap_mode))
      .set("estimated_rows", decimal(cube.estimated_rows));
  element.add(cube_dimensions_element(database, cube));
  element.add(collection("cube_measures", cube.measures, measure_element));
  element.add(
      collection("cube_calculated_members", cube.calculated_members, calculated_member_element));
  if (auto partitions = partitions_element(cube); !partitions.children.empty()) {
    element.add(std::move(partitions));
  }
  element.add(collection("cube_roles", cube.roles, cube_role_element));
  return element;
}

XmlElement virtual_cube_element(const OlapCube& cube) {
  auto element = named("virtual_cube", cube.name);
  element.add(collection("measure_references", cube.measures, [](const OlapMeasure& measure) {
    auto reference = named("measure_reference", measure.name);
    reference.set("source_column", measure.source_column);
    return reference;
  }));
  element.add(
      collection("dimension_references", cube.dimensions, [](const OlapCubeDimension& dimension) {
        return named("dimension_reference", dimension.name);
      }));
  element.add(collection("cube_roles", cube.roles, cube_role_element));
  return element;
}

/// Writes one database. Objects are looked up by name, one at a time.
class DatabaseExport {
 public:
  DatabaseExport(OlapDatabase& database, Passwords passwords)
      : database_(database), passwords_(passwords) {}

  ExportedDocument run() {
    XmlElement root{.name = "database", .attributes = {}, .children = {}, .text = {}};
    root.set("version", written_version)
        .set("name", database_.name())
        .set("description", database_.description);
    root.add(library());
    root.add(all_of("cubes", database_.cubes(), [this](const OlapCube& cube, XmlElement& cubes) {
      if (cube.kind == OlapCubeKind::regular) {
        cubes.add(cube_element(database_, cube));
      }
    }));
    add_unless_empty(root, all_of("virtual_cubes", database_.cubes(),
                                  [](const OlapCube& cube, XmlElement& cubes) {
                                    if (cube.kind == OlapCubeKind::is_virtual) {
                                      cubes.add(virtual_cube_element(cube));
                                    }
                                  }));
    result_.text = laid_out_document(root, comment());
    return std::move(result_);
  }

 private:
  /// `add` decides for each object of a kind whether and how it stands in the collection.
  template <class T, class Add>
  static XmlElement all_of(std::string tag, DatabaseObjects<T>& objects, Add add) {
    XmlElement element{.name = std::move(tag), .attributes = {}, .children = {}, .text = {}};
    for (const auto& name : objects.names()) {
      if (const T* object = objects.find(name)) {
        add(*object, element);
      }
    }
    return element;
  }

  static void add_unless_empty(XmlElement& parent, XmlElement element) {
    if (!element.children.empty()) {
      parent.add(std::move(element));
    }
  }

  XmlElement library() {
    XmlElement element{.name = "library", .attributes = {}, .children = {}, .text = {}};
    element.add(all_of("data_sources", database_.data_sources(),
                       [this](const OlapDataSource& data_source, XmlElement& list) {
                         list.add(data_source_element(data_source));
                       }));
    element.add(
        dimensions("shared_dimensions", OlapDimensionKind::shared, shared_dimension_element));
    add_unless_empty(element, dimensions("virtual_dimensions", OlapDimensionKind::is_virtual,
                                         virtual_dimension_element));
    element.add(all_of("roles", database_.roles(), [](const OlapRole& role, XmlElement& list) {
      list.add(role_element(role));
    }));
    return element;
  }

  template <class ToElement>
  XmlElement dimensions(std::string tag, OlapDimensionKind kind, ToElement to_element) {
    return all_of(std::move(tag), database_.dimensions(),
                  [&](const OlapDimension& dimension, XmlElement& list) {
                    if (dimension.kind == kind) {
                      list.add(to_element(dimension));
                    }
                  });
  }

  XmlElement data_source_element(const OlapDataSource& data_source) {
    auto text = data_source.connection_string;
    if (passwords_ == Passwords::left_out) {
      text = without_passwords(text);
      if (text != data_source.connection_string) {
        result_.without_password.push_back(data_source.name);
      }
    }
    auto element = named("data_source", data_source.name);
    element.set("description", data_source.description).set("connection_string", std::move(text));
    return element;
  }

  std::string comment() const {
    std::string names;
    for (const auto& name : result_.without_password) {
      names.append(names.empty() ? "'" : ", '").append(name).append("'");
    }
    return names.empty() ? names : "The passwords of these data sources are left out: " + names;
  }

  OlapDatabase& database_;
  Passwords passwords_;
  ExportedDocument result_;
};

}  // namespace

ExportedDocument export_document(OlapDatabase& database, Passwords passwords) {
  return DatabaseExport(database, passwords).run();
}

}  // namespace importkcd
