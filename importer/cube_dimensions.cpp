#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "document/attributes.h"
#include "importer/cube_parts.h"
#include "model/vocabularies.h"

namespace importkcd {
namespace {

void build_level(const KcdElement& element, OlapDimension& dimension) {
  OlapLevel& level = dimension.levels.add_new(decoded_text(element, "name"));
  level.type = level_type(raw_text(element, "type"));
  if (level.type != OlapLevelType::all) {
    level.column_size = int16_number(element, "column_size");
  }
  level.column_type = int16_number(element, "column_type");
  level.description = decoded_text(element, "description");
  level.estimated_size = int32_number(element, "estimated_size");
  // Set again on purpose: on some servers setting the sizes changes the type.
  level.type = level_type(raw_text(element, "type"));
  level.member_key_column = decoded_text(element, "member_key_column");
  if (level.type == OlapLevelType::regular) {
    level.member_name_column = decoded_text(element, "member_name_column");
  }
  level.ordering = level_ordering(raw_text(element, "ordering"));
  level.unique_items = boolean(raw_text(element, "unique_items"));
}

/// Adds the private dimension of a cube to the database. Owned by the database.
OlapDimension& add_private_dimension(ImportRun& run, const std::string& name) {
  OlapDimension added;
  added.name = name;
  added.kind = OlapDimensionKind::is_private;
  added.owner_cube = run.current_cube->name;
  return run.database().dimensions().add(std::move(added));
}

void write_dimension_properties(const ImportRun& run, const KcdElement& element,
                                OlapDimension& dimension) {
  dimension.description = decoded_text(element, "description");
  dimension.type = dimension_type(raw_text(element, "type"));
  dimension.data_source = run.database().data_source_name(decoded_text(element, "data_source"));
  dimension.from_clause = raw_text(element, "from_clause");
  dimension.join_clause = raw_text(element, "join_clause");
  if (run.server_is_version_8()) {
    dimension.allow_siblings_with_same_name = true;
  }
}

void build_private_dimension(ImportRun& run, const KcdElement& element) {
  const auto name = decoded_text(element, "name");
  OlapDimension& made = add_private_dimension(run, name);
  write_dimension_properties(run, element, made);
  run.server().write_back_dimension(run.database(), made);

  OlapDimension& dimension = *run.database().dimensions().edit(name);
  for (const KcdElement& level : children_of(required_child(element, "cube_levels"))) {
    const auto at = run.working_on(level);
    build_level(level, dimension);
  }
  run.server().write_back_dimension(run.database(), dimension);
  // Last, because the cube copies the levels as they are at this moment.
  run.database().add_cube_dimension(*run.current_cube, name);
}

void adjust_level(const KcdElement& element, OlapCubeDimension& dimension) {
  const auto name = decoded_text(element, "name");
  if (name == "(All)") {
    return;
  }
  OlapLevel* level = dimension.levels.edit(name);
  if (level == nullptr) {
    throw ImportError("level '" + name + "' not found", error_source::olap_server);
  }
  level->member_key_column = decoded_text(element, "member_key_column");
  level->disabled = boolean(raw_text(element, "disabled"));
}

/// Adjusts the levels from the last to the first.
void adjust_levels(const ImportRun& run, const KcdElement& cube_levels_reference,
                   OlapCubeDimension& dimension) {
  std::vector<const KcdElement*> levels;
  for (const KcdElement& level : children_of(cube_levels_reference)) {
    levels.push_back(&level);
  }
  std::reverse(levels.begin(), levels.end());
  for (const KcdElement* level : levels) {
    const auto at = run.working_on(*level);
    adjust_level(*level, dimension);
  }
}

void build_dimension_reference(ImportRun& run, const KcdElement& element) {
  OlapCube& cube = *run.current_cube;
  OlapCubeDimension& dimension =
      run.database().add_cube_dimension(cube, decoded_text(element, "name"));
  adjust_levels(run, required_child(element, "cube_levels_reference"), dimension);
  run.server().write_back_cube(run.database(), cube);
}

void build_cube_dimension(ImportRun& run, const KcdElement& element) {
  const auto tag = lower_cased(element.tag());
  if (tag == "cube_dimension") {
    build_private_dimension(run, element);
  } else if (tag == "cube_dimension_reference") {
    build_dimension_reference(run, element);
  }
}

}  // namespace

void build_cube_dimensions(ImportRun& run, const KcdElement& cube_dimensions) {
  for (const KcdElement& element : children_of(cube_dimensions)) {
    const auto at = run.working_on(element);
    build_cube_dimension(run, element);
  }
}

}  // namespace importkcd
