#include "importer/levels.h"

#include <cstdint>

#include "document/attributes.h"
#include "model/vocabularies.h"

namespace importkcd {
namespace {

void set_level(OlapLevel& level, const KcdElement& element) {
  level.type = level_type(element.attribute("type"));
  // An all level has no key column, so what it says about the column's size is not even read.
  if (level.type != OlapLevelType::all) {
    const std::int16_t size = int16_number(element, "column_size");
    if (size > 0) {
      level.column_size = size;
    }
  }
  level.column_type = int16_number(element, "column_type");
  level.description = decoded_text(element, "description");
  level.estimated_size = int32_number(element, "estimated_size");
  level.member_key_column = decoded_text(element, "member_key_column");
  if (level.type == OlapLevelType::regular) {
    level.member_name_column = decoded_text(element, "member_name_column");
  }
  level.ordering = level_ordering(element.attribute("ordering"));
  level.unique_items = boolean(element.attribute("unique_items"));
}

/// Returns whether the member property came through.
bool ImportMemberProperty(const ImportRun& run, const KcdElement& element, OlapLevel& level) {
  return run.trap([&] {
    OlapMemberProperty& property = level.member_properties.add_new(decoded_text(element, "name"));
    property.description = decoded_text(element, "description");
    property.caption = decoded_text(element, "caption");
    property.source_column = raw_text(element, "source_column");
  });
}

/// Returns whether the level and all its member properties came through.
bool ImportLevel(const ImportRun& run, const KcdElement& element, OlapDimension& dimension) {
  bool whole = true;
  const bool level_is_set = run.trap([&] {
    OlapLevel& level = dimension.levels.add_new(decoded_text(element, "name"));
    set_level(level, element);
    for (const KcdElement& member_properties : children_of(element)) {
      for (const KcdElement& property : children_of(member_properties)) {
        whole = ImportMemberProperty(run, property, level) && whole;
      }
    }
  });
  return level_is_set && whole;
}

}  // namespace

bool ImportLevels(ImportRun& run, const KcdElement& levels, OlapDimension& dimension) {
  bool whole = true;
  for (const KcdElement& level : children_of(levels)) {
    whole = ImportLevel(run, level, dimension) && whole;
  }
  return whole;
}

}  // namespace importkcd
