#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "base/apostrophes.h"
#include "document/attributes.h"
#include "importer/create_update_skip.h"
#include "importer/sections.h"
#include "model/vocabularies.h"

// Shared and virtual dimensions go through the same steps (import_dimension): the dimension is
// created or found, an existing one is locked before it is changed, properties and levels are set,
// and only a dimension that came through whole is written back. Each dimension has a trap of its
// own, and so has each level and each member property, so that one error does not hide the others.

namespace importkcd {
namespace {

/// The messages about one kind of dimension. The name of a dimension that may not be changed stands
/// between `refused` and `refused_end`.
struct DimensionTexts {
  ObjectMessages messages;
  std::string_view refused;
  std::string_view refused_end;
};

constexpr DimensionTexts shared_dimension_texts{
    {"shared dimension", "Searching shared dimension '", "Creating shared dimension '",
     "Skipping shared dimension '", "Updating shared dimension '"},
    "Error : Can't update Shared Dimension '",
    "' proberly locked due to use in Cube."};

constexpr DimensionTexts virtual_dimension_texts{
    {"virtual dimension", "Searching virtual dimension '", "Creating virtual dimension '",
     "Skipping virtual dimension '", "Updating virtual dimension '"},
    "Error : Can't update Dimension '",
    "'"};

/// Imports one dimension. `lock` asks the server whether an existing dimension may be changed, by
/// LockRefused if not; `set` sets properties and levels and returns whether all came through.
/// Returns whether there was no error.
template <class Lock, class Set>
bool import_dimension(const ImportRun& run, const KcdElement& element, OlapDimensionKind kind,
                      const DimensionTexts& texts, Lock lock, Set set) {
  bool whole = true;
  const bool ended = run.trap([&] {
    const auto at = run.working_on(element);
    OlapDimension fresh;
    fresh.name = decoded_text(element, "name");
    fresh.kind = kind;
    const std::string name = fresh.name;
    const auto may_update = [&](const OlapDimension& existing) {
      const bool locked = may_change([&] { lock(existing); });
      if (!locked) {
        report_object(run, texts.refused, {ObjectAction::refusing, texts.messages.kind, name},
                      texts.refused_end);
        report_object(run, "           " + std::string(texts.messages.updating),
                      {ObjectAction::canceling, texts.messages.kind, name}, "' canceled");
      }
      return locked;
    };
    OlapDimension* dimension = prepare_database_object(
        run, texts.messages, run.database().dimensions(), std::move(fresh), may_update);
    if (dimension == nullptr) {
      return;
    }
    whole = set(*dimension);
    if (whole) {
      run.server().write_back_dimension(run.database(), *dimension);
    }
  });
  return ended && whole;
}

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
    const auto at = run.working_on(element);
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
    const auto at = run.working_on(element);
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

/// Adds the levels of a shared dimension in document order. Returns whether all of them came
/// through: otherwise the dimension is not fit to be written back.
bool ImportLevels(const ImportRun& run, const KcdElement& levels, OlapDimension& dimension) {
  bool whole = true;
  for (const KcdElement& level : children_of(levels)) {
    whole = ImportLevel(run, level, dimension) && whole;
  }
  return whole;
}

void set_shared_dimension(const ImportRun& run, OlapDimension& dimension,
                          const KcdElement& element) {
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

void ImportSharedDimension(const ImportRun& run, const KcdElement& element) {
  const auto lock = [&](const OlapDimension& dimension) {
    run.server().lock_dimension(run.database(), dimension);
    if (!run.options().DontUpdateLevels) {
      run.server().lock_levels(run.database(), dimension);
    }
  };
  const auto set = [&](OlapDimension& dimension) {
    set_shared_dimension(run, dimension, element);
    return run.options().DontUpdateLevels ||
           ImportLevels(run, required_child(element, "levels"), dimension);
  };
  import_dimension(run, element, OlapDimensionKind::shared, shared_dimension_texts, lock, set);
}

/// Returns whether the level came through.
bool ImportVirtualLevel(const ImportRun& run, const KcdElement& element, OlapDimension& dimension) {
  return run.trap([&] {
    const auto at = run.working_on(element);
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

/// As ImportLevels.
bool ImportVirtualLevels(const ImportRun& run, const KcdElement& levels, OlapDimension& dimension) {
  bool whole = true;
  for (const KcdElement& level : children_of(levels)) {
    whole = ImportVirtualLevel(run, level, dimension) && whole;
  }
  return whole;
}

void ImportVirtualDimension(const ImportRun& run, const KcdElement& element) {
  const auto lock = [&](const OlapDimension& dimension) {
    run.server().lock_dimension(run.database(), dimension);
  };
  const auto set = [&](OlapDimension& dimension) {
    dimension.description = decoded_text(element, "description");
    dimension.type = dimension_type(element.attribute("type"));
    if (run.server_is_version_8()) {
      dimension.allow_siblings_with_same_name = true;
    }
    if (run.options().import_virtual_objects) {
      // Otherwise no update would come through: a level may be added only once.
      dimension.levels = {};
    }
    return ImportVirtualLevels(run, required_child(element, "levels"), dimension);
  };
  if (!import_dimension(run, element, OlapDimensionKind::is_virtual, virtual_dimension_texts, lock,
                        set)) {
    const std::string_view name = element.attribute("name").value_or("");
    run.pass_over("Virtual dimension '" + DecodeApostrophes(name) +
                  "' could not be built: " + run.last_error());
  }
}

}  // namespace

void ImportSharedDimensions(ImportRun& run, const KcdElement* shared_dimensions) {
  run.ReportProgress("Creating shared dimensions");
  for (const KcdElement& element : children_of(shared_dimensions)) {
    ImportSharedDimension(run, element);
  }
}

void ImportVirtualDimensions(ImportRun& run, const KcdElement* virtual_dimensions) {
  run.ReportProgress("Creating virtual dimensions");
  for (const KcdElement& element : children_of(virtual_dimensions)) {
    ImportVirtualDimension(run, element);
  }
}

}  // namespace importkcd
