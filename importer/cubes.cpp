#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "document/attributes.h"
#include "importer/create_update_skip.h"
#include "importer/cube_parts.h"
#include "importer/sections.h"
#include "model/vocabularies.h"

// Each cube definition goes through the same steps: decide by name and mode which cube it is
// written to (cube_to_write), write the cube's own properties, write it back so that the server
// knows it, build its parts, write it back again, and ask the server whether the result is a valid
// cube. A cube that is updated is locked and emptied first, because parts are always added anew.
// The cube at hand is run.current_cube; it deliberately outlives its definition, because in replace
// mode a second definition of the same name is written to the cube that is current then.

namespace importkcd {
namespace {

constexpr std::string_view cube_kind = "cube";

void empty_cube(const ImportRun& run, OlapCube& cube) {
  remove_all(run, cube, OlapCubeContent::dimensions);
  remove_all(run, cube, OlapCubeContent::measures);
  remove_all(run, cube, OlapCubeContent::calculated_members);
  remove_all(run, cube, OlapCubeContent::roles);
  remove_all(run, cube, OlapCubeContent::data_sources);
  if (run.options().import_partitions) {
    remove_all(run, cube, OlapCubeContent::partitions);
  }
}

/// Whether the cube was emptied. An error cancels the cube's update and no more, but a person hears
/// of it.
bool emptied_without_error(const ImportRun& run, OlapCube& cube, const std::string& name) {
  try {
    empty_cube(run, cube);
    return true;
  } catch (const std::exception& error) {
    run.pass_over("Cube '" + name + "' was not updated: " + error.what());
    return false;
  }
}

/// Whether the server let the cube be locked and emptied; reports why not.
bool make_room(const ImportRun& run, OlapCube& cube, const std::string& name) {
  const bool locked = may_change([&] { run.server().lock_cube(run.database(), cube); });
  if (!locked) {
    report_object(run, "Error : Can't update Cube '", {ObjectAction::refusing, cube_kind, name});
  }
  const bool emptied = locked && emptied_without_error(run, cube, name);
  if (!emptied) {
    report_object(run, "           Updating cube '", {ObjectAction::canceling, cube_kind, name},
                  "' canceled");
  }
  return emptied;
}

/// Makes the existing cube of that name the current one, ready to be written anew. Returns false
/// when its update was canceled.
bool take_existing_cube(ImportRun& run, const std::string& name) {
  run.current_cube = run.database().cubes().edit(name);
  if (run.current_cube->state_code() != static_cast<std::int32_t>(OlapCubeKind::regular)) {
    run.current_cube = &run.database().add_cube(name, OlapCubeKind::regular);
    report_object(run, "Creating new cube '", {ObjectAction::creating, cube_kind, name});
    return true;
  }
  report_object(run, "Updating cube '", {ObjectAction::updating, cube_kind, name});
  return make_room(run, *run.current_cube, name);
}

/// Decides what becomes of a cube definition. Returns the cube that it is to be written to; null
/// when it is left out.
OlapCube* cube_to_write(ImportRun& run, const std::string& name) {
  const bool exists = run.database().cubes().contains(name);
  switch (action_for(exists, run.options().ImportType)) {
    case Action::create:
      run.current_cube = &run.database().add_cube(name, OlapCubeKind::regular);
      report_object(run, "Creating cube '", {ObjectAction::creating, cube_kind, name});
      return run.current_cube;
    case Action::skip:
      run.current_cube = nullptr;
      report_object(run, "Skipping cube '", {ObjectAction::skipping, cube_kind, name});
      return nullptr;
    case Action::update:
      return take_existing_cube(run, name) ? run.current_cube : nullptr;
    case Action::none:
      break;
  }
  // In replace mode a cube that is still there was made by this document: its second definition is
  // written to whichever cube is current, without looking it up.
  return run.options().ImportType == import_type::replace ? run.current_cube : nullptr;
}

void write_cube_properties(const ImportRun& run, const KcdElement& element, OlapCube& cube) {
  cube.description = decoded_text(element, "description");
  cube.data_source = run.database().data_source_name(decoded_text(element, "data_source"));
  cube.fact_table = raw_text(element, "fact_table");
  cube.aggregation_prefix = decoded_text(element, "aggregation_prefix");
  cube.from_clause = raw_text(element, "from_clause");
  cube.join_clause = raw_text(element, "join_clause");
  cube.custom_properties.put(OlapProperty{"SchemaLayout", raw_text(element, "schema_layout")});
  cube.olap_mode = olap_mode(raw_text(element, "olap_mode"));
  cube.estimated_rows = double_number(element, "estimated_rows");
}

void build_parts(ImportRun& run, const KcdElement& element, OlapCube& cube) {
  build_cube_dimensions(run, required_child(element, "cube_dimensions"));
  build_measures(run, required_child(element, "cube_measures"));
  build_calculated_members(run, required_child(element, "cube_calculated_members"));
  if (run.options().import_partitions) {
    create_cube_partitions(run, element.child("cube_partitions"));
  }
  build_cube_roles(run, required_child(element, "cube_roles"), cube);
}

void import_cube(ImportRun& run, const KcdElement& element) {
  const auto at = run.working_on(element);
  const auto name = decoded_text(element, "name");
  report_object(run, "Searching cube '", {ObjectAction::searching, cube_kind, name});
  OlapCube* cube = cube_to_write(run, name);
  if (cube == nullptr) {
    return;
  }
  write_cube_properties(run, element, *cube);
  run.server().write_back_cube(run.database(), *cube);
  run.cube_is_begun(cube->name);
  build_parts(run, element, *cube);
  run.server().write_back_cube(run.database(), *cube);
  if (run.server().structure_is_valid(run.database(), *cube)) {
    run.last_begun_cube_is_whole();
  } else {
    run.fail("New Cube structure is not valid");
  }
}

}  // namespace

void remove_all(const ImportRun& run, OlapCube& cube, OlapCubeContent content) {
  for (auto left = count_of(cube, content); left > 0; --left) {
    run.server().remove_first(run.database(), cube, content);
  }
}

void import_cubes(ImportRun& run, const KcdElement* cubes) {
  run.ReportProgress("Creating cubes");
  for (const KcdElement& element : children_of(cubes)) {
    import_cube(run, element);
  }
}

}  // namespace importkcd
