#include "tests/importer/faults/whole_document_script.h"

#include <utility>

#include "importer/import_options.h"
#include "tests/importer/changed_text.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

using Steps = std::vector<std::string>;

ObjectSteps heading(const std::string& text) { return {"", {text}}; }

Steps together(Steps first, const Steps& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

SectionSteps opening() {
  return {Section::opening,
          {{"",
            {"Opening DSO server on machine 'memory:'", "connect memory:", "class_type",
             "Opening kcd document file 'COPY'", "Processing document"}}}};
}

/// The look for a database that is there, or is not.
SectionSteps look(bool finds) {
  Steps steps{"hold_database Shop", "stored_objects"};
  if (finds) {
    steps.emplace_back("open_database Shop");
  }
  return {Section::database, {{"", steps}}};
}

SectionSteps deletion() {
  return {Section::deletion, {{"", {"stored_objects", "remove_database Shop"}}}};
}

SectionSteps found() {
  auto section = look(true);
  section.objects.push_back(heading("Searching database 'Shop'"));
  section.objects.push_back(heading("Creating library"));
  return section;
}

SectionSteps created() {
  auto section = look(false);
  section.objects.push_back(
      {"", {"Creating database 'Shop'", "add_database Shop", "write_back_database Shop"}});
  section.objects.push_back(heading("Creating library"));
  return section;
}

/// What becomes of the objects that older_document() left on the server.
enum class Existing { none, skipped, updated, unmentioned };

Existing existing_objects(const ScriptCase& tested) {
  if (!tested.holds_database || tested.type == import_type::replace) {
    return Existing::none;
  }
  return tested.type == import_type::incremental ? Existing::skipped
         : tested.type == import_type::update    ? Existing::updated
                                                 : Existing::unmentioned;
}

ObjectSteps data_source(const std::string& name, Existing existing) {
  const auto quoted = " data source '" + name + "'";
  const auto write_back = "write_back_data_source " + name;
  switch (existing) {
    case Existing::none:
      return {name, {"Searching" + quoted, "Creating" + quoted, write_back}};
    case Existing::skipped:
      return {name, {"Searching" + quoted, "Skipping" + quoted}};
    case Existing::updated:
      return {name, {"Searching" + quoted, "Updating" + quoted, write_back}};
    case Existing::unmentioned:
      return {name, {"Searching" + quoted}};
  }
  return {};
}

SectionSteps data_sources(Existing existing) {
  return {Section::data_sources,
          {heading("Creating data sources"), data_source("Warehouse", existing),
           data_source("Archive", Existing::none)}};
}

ObjectSteps shared_dimension(const std::string& name, Existing existing, const Steps& updating) {
  const auto quoted = " shared dimension '" + name + "'";
  switch (existing) {
    case Existing::none:
      return {
          name,
          {"Searching" + quoted, "Creating" + quoted, "version", "write_back_dimension " + name}};
    case Existing::skipped:
      return {name, {"Searching" + quoted, "Skipping" + quoted}};
    case Existing::updated:
      return {name, together({"Searching" + quoted, "Updating" + quoted}, updating)};
    case Existing::unmentioned:
      return {name, {"Searching" + quoted}};
  }
  return {};
}

SectionSteps shared_dimensions(Existing existing, bool dont_update_levels) {
  // The old cube uses it.
  const Steps refused{
      "lock_dimension Time",
      "Error : Can't update Shared Dimension 'Time' proberly locked due to use in Cube.",
      "           Updating shared dimension 'Time' canceled"};
  Steps updated{"lock_dimension Region"};
  if (!dont_update_levels) {
    updated.emplace_back("lock_levels Region");
  }
  updated.insert(updated.end(), {"version", "write_back_dimension Region"});
  return {Section::shared_dimensions,
          {heading("Creating shared dimensions"), shared_dimension("Time", existing, refused),
           shared_dimension("Product", Existing::none, {}),
           shared_dimension("Region", existing, updated)}};
}

SectionSteps roles(Existing existing) {
  Steps readers{"Searching role 'Readers'"};
  if (existing == Existing::none) {
    readers.emplace_back("Creating role 'Readers'");
  } else if (existing == Existing::skipped) {
    readers.emplace_back("Skipping role 'Readers'");
  } else if (existing == Existing::updated) {
    readers.emplace_back("Updating virtual dimension 'Readers'");
  }
  return {Section::roles,
          {heading("Creating roles"),
           {"Readers", readers},
           {"Writers", {"Searching role 'Writers'", "Creating role 'Writers'"}}}};
}

/// The rest of the cube "Sales" when there is room for it.
Steps built_sales(bool time_has_levels) {
  Steps steps{"write_back_cube Sales"};
  if (!time_has_levels) {
    // The references of a dimension are read from the last to the first.
    steps.emplace_back("!level 'Month' not found");
    return steps;
  }
  return together(
      steps, {"write_back_cube Sales", "version", "write_back_dimension Channel",
              "write_back_dimension Channel", "Creating cube partitions",
              "write_back_partition Sales", "write_back_partition Rest",
              "Creating cube role 'Readers'", "write_back_cube Sales", "structure_is_valid Sales"});
}

Steps sales(Existing existing, bool time_has_levels) {
  switch (existing) {
    case Existing::none:
      return together({"Creating cube 'Sales'"}, built_sales(time_has_levels));
    case Existing::skipped:
      return {"Skipping cube 'Sales'"};
    case Existing::updated:
      return together({"Updating cube 'Sales'", "lock_cube Sales", "remove_first dimensions Sales",
                       "remove_first dimensions Sales", "remove_first measures Sales",
                       "remove_first calculated_members Sales", "remove_first roles Sales",
                       "remove_first data_sources Sales", "remove_first partitions Sales",
                       "remove_first partitions Sales"},
                      built_sales(time_has_levels));
    case Existing::unmentioned:
      return {};
  }
  return {};
}

SectionSteps cubes(Existing existing, bool time_has_levels) {
  const Steps stock{"Searching cube 'Stock'",  "Creating cube 'Stock'",    "write_back_cube Stock",
                    "write_back_cube Stock",   "Creating cube partitions", "write_back_cube Stock",
                    "structure_is_valid Stock"};
  return {Section::cubes,
          {heading("Creating cubes"),
           {"Sales", together({"Searching cube 'Sales'"}, sales(existing, time_has_levels))},
           {"Stock", stock}}};
}

void append_content(std::vector<SectionSteps>& sections, Existing existing,
                    bool dont_update_levels) {
  sections.push_back(data_sources(existing));
  sections.push_back(shared_dimensions(existing, dont_update_levels));
  sections.push_back(roles(existing));
  sections.push_back(cubes(existing, existing != Existing::none || !dont_update_levels));
  sections.push_back({Section::storing, {{"", {"finish"}}}});
}

}  // namespace

std::string name_of(const ScriptCase& tested) {
  const std::string mode = tested.type == import_type::incremental ? "Incremental"
                           : tested.type == import_type::replace   ? "Replace"
                           : tested.type == import_type::update    ? "Update"
                                                                   : "NoMode";
  return mode + (tested.dont_update_levels ? "WithoutLevels" : "") +
         (tested.holds_database ? "OverTheDatabase" : "OverNothing");
}

std::vector<ScriptCase> script_cases() {
  std::vector<ScriptCase> cases;
  for (const bool holds_database : {false, true}) {
    for (const auto type :
         {import_type::none, import_type::incremental, import_type::replace, import_type::update}) {
      cases.push_back({type, false, holds_database});
    }
    cases.push_back({import_type::update, true, holds_database});
  }
  return cases;
}

std::string scripted_document() {
  return changed(
      changed(
          whole_document(), "</data_sources>",
          R"(<data_source name="Archive" connection_string="Provider=MSDASQL"/></data_sources>)"),
      "</roles>", R"(<role name="Writers" description="" user_list="carl"/></roles>)");
}

RunScript script_of(const ScriptCase& tested) {
  RunScript script;
  script.sections.push_back(opening());
  if (tested.type == import_type::replace) {
    script.sections.push_back(look(tested.holds_database));
    if (tested.holds_database) {
      script.sections.push_back(deletion());
      script.without_deletion.push_back(found());
      append_content(script.without_deletion, Existing::unmentioned, tested.dont_update_levels);
    }
  }
  const auto existing = existing_objects(tested);
  script.sections.push_back(existing == Existing::none ? created() : found());
  append_content(script.sections, existing, tested.dont_update_levels);
  return script;
}

}  // namespace importkcd::testing
