#include "importer/shared_dimensions.h"

#include <exception>
#include <string>
#include <utility>

#include "document/attributes.h"
#include "importer/create_update_skip.h"
#include "importer/levels.h"
#include "model/vocabularies.h"

namespace importkcd {
namespace {

constexpr ObjectMessages dimension_messages{
    "Searching shared dimension '", "Creating shared dimension '", "Skipping shared dimension '",
    "Updating shared dimension '"};

/// Asks the server whether the dimension may be changed, and reports a refusal under `name`.
bool may_be_updated(const ImportRun& run, const OlapDimension& dimension, const std::string& name) {
  try {
    run.server().lock_dimension(run.database(), dimension);
    if (!run.options().DontUpdateLevels) {
      run.server().lock_levels(run.database(), dimension);
    }
    return true;
  } catch (const std::exception&) {
    run.ReportProgress("Error : Can't update Shared Dimension '" + name +
                       "' proberly locked due to use in Cube.");
    run.ReportProgress("           Updating shared dimension '" + name + "' canceled");
    return false;
  }
}

void set_properties(const ImportRun& run, OlapDimension& dimension, const KcdElement& element) {
  dimension.description = decoded_text(element, "description");
  dimension.type = dimension_type(element.attribute("type"));
  dimension.data_source = run.database().data_source_name(decoded_text(element, "data_source"));
  dimension.from_clause = raw_text(element, "from_clause");
  dimension.join_clause = raw_text(element, "join_clause");
  dimension.custom_properties.put(OlapProperty{"SchemaLayout", raw_text(element, "schema_layout")});
  if (run.server_is_version_8()) {
    dimension.allow_siblings_with_same_name = true;
  }
}

void ImportSharedDimension(ImportRun& run, const KcdElement& element) {
  run.trap([&] {
    OlapDimension fresh;
    fresh.name = decoded_text(element, "name");
    fresh.kind = OlapDimensionKind::shared;
    const std::string name = fresh.name;
    OlapDimension* dimension = object_to_set(
        run, dimension_messages, run.database().dimensions(), std::move(fresh),
        [&](const OlapDimension& existing) { return may_be_updated(run, existing, name); });
    if (dimension == nullptr) {
      return;
    }
    set_properties(run, *dimension, element);
    if (!run.options().DontUpdateLevels &&
        !ImportLevels(run, required_child(element, "levels"), *dimension)) {
      return;
    }
    run.server().write_back_dimension(run.database(), *dimension);
  });
}

}  // namespace

void ImportSharedDimensions(ImportRun& run, const KcdElement* shared_dimensions) {
  run.ReportProgress("Creating shared dimensions");
  if (shared_dimensions == nullptr) {
    return;
  }
  for (const KcdElement& element : children_of(*shared_dimensions)) {
    ImportSharedDimension(run, element);
  }
}

}  // namespace importkcd
