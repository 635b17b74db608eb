#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "base/apostrophes.h"
#include "document/attributes.h"
#include "importer/create_update_skip.h"
#include "importer/cube_parts.h"
#include "importer/sections.h"

// Every statement that can fail is a step of its own: its error is ignored (ignore_errors, or
// passing_over where something is missing afterwards), and the next statement runs all the same.
// After an error the cube may be null or the name empty. Only a virtual cube that cannot be locked
// or emptied makes a difference: that cancels its update.

namespace importkcd {
namespace {

constexpr auto virtual_state_code = static_cast<std::int32_t>(OlapCubeKind::is_virtual);

void report(const ImportRun& run, const std::string& message) {
  ignore_errors([&] { run.ReportProgress(message); });
}

void report_cube(const ImportRun& run, std::string_view text, ObjectAction action,
                 const std::string& name, std::string_view end = "'") {
  ignore_errors([&] { report_object(run, text, {action, "virtual cube", name}, end); });
}

/// Runs a step whose error is ignored, but said to a person after the words `what`.
template <class Step>
void passing_over(const ImportRun& run, const std::string& what, Step step) {
  try {
    step();
  } catch (const std::exception& error) {
    run.pass_over(what + ": " + error.what());
  }
}

std::string virtual_cube_text(const std::string& name) { return "Virtual cube '" + name + "'"; }

/// The name of what an element is about, for a message.
std::string shown_name(const KcdElement& element) {
  return "'" + DecodeApostrophes(element.attribute("name").value_or("")) + "'";
}

/// The new virtual cube; null when it cannot be added.
OlapCube* add_virtual_cube(ImportRun& run, const std::string& name) {
  OlapCube* cube = nullptr;
  passing_over(run, virtual_cube_text(name) + " could not be added", [&] {
    // The look before may have failed, and adding would take the place of a cube that is there.
    check_new_name(name, run.database().cubes().contains(name));
    cube = &run.database().add_cube(name, OlapCubeKind::is_virtual);
  });
  return cube;
}

/// A virtual cube in the place of a cube of another kind; null when it cannot be added.
OlapCube* replace_by_virtual_cube(ImportRun& run, const std::string& name) {
  OlapCube* cube = nullptr;
  passing_over(run, virtual_cube_text(name) + " could not be added",
               [&] { cube = &run.database().add_cube(name, OlapCubeKind::is_virtual); });
  return cube;
}

/// Whether the server lets the cube be changed; reports a refusal, and passes other errors on.
bool lock_virtual_cube(const ImportRun& run, const OlapCube& cube, const std::string& name) {
  const bool locked = may_change([&] { run.server().lock_cube(run.database(), cube); });
  if (!locked) {
    report_cube(run, "Error : Can't update Virtual Cube '", ObjectAction::refusing, name);
  }
  return locked;
}

/// The existing virtual cube, emptied; null when the server refused to lock it.
OlapCube* emptied_virtual_cube(ImportRun& run, const std::string& name) {
  const OlapCube& existing = *run.database().cubes().find(name);
  if (!lock_virtual_cube(run, existing, name)) {
    return nullptr;
  }
  // A copy is emptied: whatever counts as changed is stored by the next cube's save.
  OlapCube emptied = existing;
  remove_all(run, emptied, OlapCubeContent::measures);
  remove_all(run, emptied, OlapCubeContent::dimensions);
  return &run.database().cubes().put(std::move(emptied));
}

/// The same, null also when it could not be emptied; says what happens.
OlapCube* take_over_virtual_cube(ImportRun& run, const std::string& name) {
  report_cube(run, "Update virtual cube '", ObjectAction::updating, name);
  OlapCube* cube = nullptr;
  try {
    cube = emptied_virtual_cube(run, name);
  } catch (const std::exception& error) {
    run.pass_over(virtual_cube_text(name) + " was not updated: " + error.what());
  }
  if (cube == nullptr) {
    report_cube(run, "           Updating virtual cube '", ObjectAction::canceling, name,
                "' canceled");
  }
  return cube;
}

OlapCube* update_virtual_cube(ImportRun& run, const std::string& name) {
  const OlapCube* existing = nullptr;
  passing_over(run, virtual_cube_text(name) + " was not updated",
               [&] { existing = run.database().cubes().find(name); });
  if (existing == nullptr) {
    return nullptr;
  }
  if (existing->state_code() == virtual_state_code) {
    return take_over_virtual_cube(run, name);
  }
  OlapCube* cube = replace_by_virtual_cube(run, name);
  report_cube(run, "Creating new virtual cube '", ObjectAction::creating, name);
  return cube;
}

/// The virtual cube to be written; null when there is nothing to do for it.
OlapCube* prepare_virtual_cube(ImportRun& run, const std::string& name) {
  bool exists = false;
  ignore_errors([&] { exists = run.database().cubes().contains(name); });
  switch (action_for(exists, run.options().ImportType)) {
    case Action::create: {
      OlapCube* cube = add_virtual_cube(run, name);
      report_cube(run, "Creating virtual cube '", ObjectAction::creating, name);
      return cube;
    }
    case Action::skip:
      report_cube(run, "Skipping virtual cube '", ObjectAction::skipping, name);
      return nullptr;
    case Action::update:
      return update_virtual_cube(run, name);
    case Action::none:
      break;
  }
  if (run.options().ImportType == import_type::replace) {
    run.pass_over(virtual_cube_text(name) +
                  " was not built: the document has another cube of that name");
  }
  return nullptr;
}

void create_measure_reference(const ImportRun& run, const KcdElement& element, OlapCube& cube) {
  const auto about = virtual_cube_text(cube.name) + ": measure " + shown_name(element);
  OlapMeasure* added = nullptr;
  passing_over(run, about + " is left out",
               [&] { added = &cube.measures.add_new(decoded_text(element, "name")); });
  if (added != nullptr) {
    passing_over(run, about + " has no source",
                 [&] { added->source_column = raw_text(element, "source_column"); });
  }
}

void create_measure_references(ImportRun& run, const KcdElement* references, OlapCube& cube) {
  report(run, "Creating measure references");
  for (const KcdElement& element : children_of(references)) {
    create_measure_reference(run, element, cube);
  }
}

void create_dimension_references(ImportRun& run, const KcdElement* references, OlapCube& cube) {
  report(run, "Creating dimension references");
  for (const KcdElement& element : children_of(references)) {
    passing_over(
        run, virtual_cube_text(cube.name) + ": dimension " + shown_name(element) + " is left out",
        [&] { run.database().add_cube_dimension(cube, decoded_text(element, "name")); });
  }
}

void import_virtual_cube(ImportRun& run, const KcdElement& element) {
  std::string name;
  ignore_errors([&] { name = decoded_text(element, "name"); });
  report_cube(run, "Searching virtual cube '", ObjectAction::searching, name);
  OlapCube* cube = prepare_virtual_cube(run, name);
  if (cube == nullptr) {
    return;
  }
  create_measure_references(run, element.child("measure_references"), *cube);
  create_dimension_references(run, element.child("dimension_references"), *cube);
  if (const KcdElement* roles = element.child("cube_roles")) {
    passing_over(run, virtual_cube_text(name) + ": its roles are not complete",
                 [&] { build_cube_roles(run, *roles, *cube); });
  }
  passing_over(run, virtual_cube_text(name) + " could not be stored",
               [&] { run.server().write_back_database(run.database()); });
}

}  // namespace

void import_virtual_cubes(ImportRun& run, const KcdElement* virtual_cubes) {
  report(run, "Creating virtual cubes");
  for (const KcdElement& element : children_of(virtual_cubes)) {
    import_virtual_cube(run, element);
  }
}

}  // namespace importkcd
