#include <string>
#include <utility>

#include "document/attributes.h"
#include "importer/cube_parts.h"
#include "model/vocabularies.h"

namespace importkcd {
namespace {

void write_partition_properties(const ImportRun& run, const KcdElement& element,
                                OlapPartition& partition) {
  partition.fact_table = raw_text(element, "fact_table");
  partition.aggregation_prefix = decoded_text(element, "aggregation_prefix");
  partition.from_clause = raw_text(element, "from_clause");
  partition.join_clause = raw_text(element, "join_clause");
  partition.data_source = run.database().data_source_name(decoded_text(element, "datasource"));
  partition.olap_mode = olap_mode(raw_text(element, "olap_mode"));
  partition.read_write = boolean(raw_text(element, "readwrite"));
}

void slice_level(const KcdElement& element, const OlapCubeDimension& dimension,
                 OlapPartition& partition) {
  const auto name = decoded_text(element, "name");
  const OlapLevel* level = dimension.levels.find(name);
  if (level == nullptr) {
    throw ImportError("level '" + name + "' not found", error_source::olap_server);
  }
  if (level->disabled) {
    return;
  }
  OlapPartitionLevel slice;
  slice.name = level->name;
  slice.member_key_column = decoded_text(element, "member_key_column");
  slice.slice_value = raw_text(element, "slice_value");
  partition.slices.edit_or_add(dimension.name).levels.put(std::move(slice));
}

void slice_dimension(const ImportRun& run, const KcdElement& element, const OlapCube& cube,
                     OlapPartition& partition) {
  const auto at_dimension = run.working_on(element);
  const auto name = decoded_text(element, "name");
  const OlapCubeDimension* dimension = cube.dimensions.find(name);
  if (dimension == nullptr) {
    throw ImportError("dimension '" + name + "' not found", error_source::olap_server);
  }
  for (const KcdElement& level : children_of(required_child(element, "partition_levels"))) {
    const auto at = run.working_on(level);
    slice_level(level, *dimension, partition);
  }
}

void build_partition(ImportRun& run, const KcdElement& element) {
  OlapCube& cube = *run.current_cube;
  const auto name = decoded_text(element, "name");
  OlapPartition& written = cube.partitions.edit_or_add(name);
  write_partition_properties(run, element, written);
  run.server().write_back_partition(run.database(), cube, written);

  OlapPartition& sliced = *cube.partitions.edit(name);
  for (const KcdElement& dimension : children_of(required_child(element, "partition_dimensions"))) {
    slice_dimension(run, dimension, cube, sliced);
  }
}

}  // namespace

void create_cube_partitions(ImportRun& run, const KcdElement* cube_partitions) {
  run.ReportProgress("Creating cube partitions");
  for (const KcdElement& element : children_of(cube_partitions)) {
    const auto at = run.working_on(element);
    build_partition(run, element);
  }
}

}  // namespace importkcd
