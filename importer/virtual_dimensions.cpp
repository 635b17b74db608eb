#include "importer/virtual_dimensions.h"

#include <exception>
#include <string>
#include <utility>

#include "document/attributes.h"
#include "importer/create_update_skip.h"
#include "model/vocabularies.h"

namespace importkcd {
namespace {

constexpr ObjectMessages virtual_dimension_messages{
    "Searching virtual dimension '", "Creating virtual dimension '", "Skipping virtual dimension '",
    "Updating virtual dimension '"};

/// Asks the server whether the dimension may be changed, and reports a refusal under `name`.
bool virtual_dimension_may_be_updated(const ImportRun& run, const OlapDimension& dimension,
                                      const std::string& name) {
  try {
    run.server().lock_dimension(run.database(), dimension);
    return true;
  } catch (const std::exception&) {
    run.ReportProgress("Error : Can't update Dimension '" + name + "'");
    run.ReportProgress("           Updating virtual dimension '" + name + "' canceled");
    return false;
  }
}

/// Returns whether the level came through.
bool ImportVirtualLevel(const ImportRun& run, const KcdElement& element, OlapDimension& dimension) {
  return run.trap([&] {
    const auto name = decoded_text(element, "name");
    auto key_column = raw_text(element, "member_key_column");
    OlapLevel& level = dimension.levels.add_new(name);
    if (key_column == "All") {
      level.type = OlapLevelType::all;
      level.member_key_column = std::move(key_column);
      return;
    }
    level.column_type = int16_number(element, "column_type");
    level.description = decoded_text(element, "description");
    level.member_key_column = std::move(key_column);
    level.member_name_column = raw_text(element, "member_name_column");
    level.ordering = level_ordering(element.attribute("ordering"));
  });
}

/// Returns whether all levels came through.
bool ImportVirtualLevels(const ImportRun& run, const KcdElement& levels, OlapDimension& dimension) {
  bool whole = true;
  for (const KcdElement& level : children_of(levels)) {
    whole = ImportVirtualLevel(run, level, dimension) && whole;
  }
  return whole;
}

void ImportVirtualDimension(ImportRun& run, const KcdElement& element) {
  run.trap([&] {
    OlapDimension fresh;
    fresh.name = decoded_text(element, "name");
    fresh.kind = OlapDimensionKind::is_virtual;
    const std::string name = fresh.name;
    OlapDimension* dimension =
        object_to_set(run, virtual_dimension_messages, run.database().dimensions(),
                      std::move(fresh), [&](const OlapDimension& existing) {
                        return virtual_dimension_may_be_updated(run, existing, name);
                      });
    if (dimension == nullptr) {
      return;
    }
    dimension->description = decoded_text(element, "description");
    dimension->type = dimension_type(element.attribute("type"));
    if (run.server_is_version_8()) {
      dimension->allow_siblings_with_same_name = true;
    }
    if (ImportVirtualLevels(run, required_child(element, "levels"), *dimension)) {
      run.server().write_back_dimension(run.database(), *dimension);
    }
  });
}

}  // namespace

void ImportVirtualDimensions(ImportRun& run, const KcdElement* virtual_dimensions) {
  run.ReportProgress("Creating virtual dimensions");
  if (virtual_dimensions == nullptr) {
    return;
  }
  for (const KcdElement& element : children_of(*virtual_dimensions)) {
    ImportVirtualDimension(run, element);
  }
}

}  // namespace importkcd
