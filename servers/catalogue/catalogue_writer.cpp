#include "servers/catalogue/catalogue_writer.h"

#include "servers/catalogue/catalogue_schema.h"
#include "servers/catalogue/database_rows.h"
#include "servers/catalogue/object_writer.h"
#include "servers/catalogue/part_writer.h"

namespace importkcd {

class CatalogueWriter::Statements {
 public:
  explicit Statements(SQLite::Database& database) : database_(database) {}

  void apply(const DatabaseChanges& changes) {
    const auto folded_name = lower_cased(changes.name);
    if (changes.removes_stored) {
      databases_.keep(folded_name);
    }
    if (!changes.exists_afterwards) {
      return;
    }
    const auto stored = databases_.find(folded_name);
    const auto id = stored ? *stored : databases_.add(changes.name, folded_name);
    if (changes.description) {
      databases_.describe(id, *changes.description);
    }
    begin(id, !stored);
    write_objects(changes);
  }

 private:
  void begin(std::int64_t database_id, bool is_new) {
    data_sources_.begin(database_id, is_new);
    dimensions_.begin(database_id, is_new);
    roles_.begin(database_id, is_new);
    cubes_.begin(database_id, is_new);
  }

  void write_objects(const DatabaseChanges& changes) {
    dimensions_.remove(changes.removed_dimensions, changes.dimensions);
    for (const auto& data_source : changes.data_sources) {
      data_sources_.put(data_source);
    }
    for (const auto& dimension : changes.dimensions) {
      write(dimension);
    }
    for (const auto& role : changes.roles) {
      write(role);
    }
    for (const auto& cube : changes.cubes) {
      write(cube);
    }
  }

  // A row is written after the row that it belongs to.

  void write(const OlapDimension& dimension) {
    const auto row = dimensions_.put(dimension);
    dimension_properties_.write(row, dimension, &OlapDimension::custom_properties);
    levels_.write(row, dimension, &OlapDimension::levels);
    member_properties_.write(row, dimension, &OlapDimension::levels, &OlapLevel::member_properties);
  }

  void write(const OlapRole& role) {
    role_permissions_.write(roles_.put(role), role, &OlapRole::permissions);
  }

  void write(const OlapCube& cube) {
    const auto row = cubes_.put(cube);
    cube_properties_.write(row, cube, &OlapCube::custom_properties);
    cube_dimensions_.write(row, cube, &OlapCube::dimensions);
    cube_levels_.write(row, cube, &OlapCube::dimensions, &OlapCubeDimension::levels);
    cube_member_properties_.write(row, cube, &OlapCube::dimensions, &OlapCubeDimension::levels,
                                  &OlapLevel::member_properties);
    measures_.write(row, cube, &OlapCube::measures);
    calculated_members_.write(row, cube, &OlapCube::calculated_members);
    cube_roles_.write(row, cube, &OlapCube::roles);
    cube_role_permissions_.write(row, cube, &OlapCube::roles, &OlapRole::permissions);
    partitions_.write(row, cube, &OlapCube::partitions);
    partition_dimensions_.write(row, cube, &OlapCube::partitions, &OlapPartition::slices);
    partition_levels_.write(row, cube, &OlapCube::partitions, &OlapPartition::slices,
                            &OlapPartitionDimension::levels);
  }

  SQLite::Database& database_;
  DatabaseRows databases_{database_};
  ObjectWriter<OlapDataSource> data_sources_{database_};
  ObjectWriter<OlapDimension> dimensions_{database_};
  ObjectWriter<OlapRole> roles_{database_};
  ObjectWriter<OlapCube> cubes_{database_};
  PartWriter<OlapProperty> dimension_properties_{database_, part_tables::dimension_properties};
  PartWriter<OlapLevel> levels_{database_, part_tables::levels};
  PartWriter<OlapMemberProperty> member_properties_{database_, part_tables::member_properties};
  PartWriter<OlapProperty> role_permissions_{database_, part_tables::role_permissions};
  PartWriter<OlapProperty> cube_properties_{database_, part_tables::cube_properties};
  PartWriter<OlapCubeDimension> cube_dimensions_{database_, part_tables::cube_dimensions};
  PartWriter<OlapLevel> cube_levels_{database_, part_tables::cube_levels};
  PartWriter<OlapMemberProperty> cube_member_properties_{database_,
                                                         part_tables::cube_member_properties};
  PartWriter<OlapMeasure> measures_{database_, part_tables::measures};
  PartWriter<OlapCalculatedMember> calculated_members_{database_, part_tables::calculated_members};
  PartWriter<OlapRole> cube_roles_{database_, part_tables::cube_roles};
  PartWriter<OlapProperty> cube_role_permissions_{database_, part_tables::cube_role_permissions};
  PartWriter<OlapPartition> partitions_{database_, part_tables::partitions};
  PartWriter<OlapPartitionDimension> partition_dimensions_{database_,
                                                           part_tables::partition_dimensions};
  PartWriter<OlapPartitionLevel> partition_levels_{database_, part_tables::partition_levels};
};

CatalogueWriter::CatalogueWriter(SQLite::Database& database)
    : statements_(std::make_unique<Statements>(database)) {}

CatalogueWriter::~CatalogueWriter() = default;

void CatalogueWriter::apply(const DatabaseChanges& changes) { statements_->apply(changes); }

}  // namespace importkcd
