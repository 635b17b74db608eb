#include "engine/olap_model/catalogue/catalogue_writer.h"

#include <optional>
#include <string>

#include "engine/olap_model/catalogue/catalogue_schema.h"
#include "engine/olap_model/catalogue/catalogue_statements.h"
#include "engine/olap_model/catalogue/database_rows.h"

namespace importkcd {
namespace {

/// Inserts rows of one part table.
template <class Row>
class PartInserter {
 public:
  PartInserter(SQLite::Database& database, const PartTable& table)
      : database_(database), table_(table) {}

  void insert(const RowKey& key, const Row& row) {
    auto& statement = statement_.get(database_, [this] { return sql(); });
    const StatementUse use(statement);
    ValueBinder(statement).bind_key(key).bind_fields(row);
    statement.exec();
  }

  /// Inserts a collection whose objects have no parts of their own.
  void insert_all(const RowKey& owner, const NamedCollection<Row>& rows) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
      insert(owner.at(i), rows[i]);
    }
  }

 private:
  std::string sql() const {
    const auto columns = std::string(table_.key_columns) + ", " + field_columns<Row>();
    return "INSERT INTO " + std::string(table_.name) + " (" + columns + ") VALUES (" +
           placeholders(columns) + ")";
  }

  SQLite::Database& database_;
  const PartTable& table_;
  CachedStatement statement_;
};

/// Levels and their member properties, of a dimension or of a dimension's place in a cube.
class LevelInserter {
 public:
  LevelInserter(SQLite::Database& database, const PartTable& levels, const PartTable& properties)
      : levels_(database, levels), properties_(database, properties) {}

  void insert_all(const RowKey& owner, const NamedCollection<OlapLevel>& levels) {
    for (std::size_t i = 0; i < levels.size(); ++i) {
      levels_.insert(owner.at(i), levels[i]);
      properties_.insert_all(owner.at(i), levels[i].member_properties);
    }
  }

 private:
  PartInserter<OlapLevel> levels_;
  PartInserter<OlapMemberProperty> properties_;
};

/// Puts objects of one kind into a database: in the place of the one that has the name, or at the
/// end of the collection.
template <class Object>
class ObjectWriter {
 public:
  explicit ObjectWriter(SQLite::Database& database) : database_(database) {}

  /// Prepares for a database; `is_new` promises that nothing is stored in it.
  void begin(std::int64_t database_id, bool is_new) {
    database_id_ = database_id;
    is_new_ = is_new;
    next_position_.reset();
  }

  /// Stores the object's own row, without parts, and gives its id.
  std::int64_t put(const Object& object) {
    const auto folded_name = lower_cased(object.name);
    const auto replaced = is_new_ ? std::nullopt : remove(folded_name);
    return replaced ? insert(object, folded_name, *replaced) : append(object, folded_name);
  }

  void remove_named(const std::string& name) { remove(lower_cased(name)); }

 private:
  struct Place {
    std::optional<std::int64_t> id;
    std::int64_t position = 0;
  };

  static std::string table() { return std::string(object_table<Object>); }

  /// Removes the object with all its parts, and gives the place that it had.
  std::optional<Place> remove(const std::string& folded_name) {
    auto& statement = remove_.get(database_, [] {
      return "DELETE FROM " + table() +
             " WHERE database_id = ? AND folded_name = ? RETURNING id, position";
    });
    const StatementUse use(statement);
    ValueBinder(statement).bind(database_id_).bind(folded_name);
    if (!statement.executeStep()) {
      return std::nullopt;
    }
    const Place place{statement.getColumn(0).getInt64(), statement.getColumn(1).getInt64()};
    statement.executeStep();
    return place;
  }

  std::int64_t append(const Object& object, const std::string& folded_name) {
    if (!next_position_) {
      next_position_ = is_new_ ? 0 : end_position();
    }
    return insert(object, folded_name, {std::nullopt, (*next_position_)++});
  }

  std::int64_t end_position() {
    auto& statement = end_position_.get(database_, [] {
      return "SELECT ifnull(max(position) + 1, 0) FROM " + table() + " WHERE database_id = ?";
    });
    const StatementUse use(statement);
    ValueBinder(statement).bind(database_id_);
    statement.executeStep();
    return statement.getColumn(0).getInt64();
  }

  std::int64_t insert(const Object& object, const std::string& folded_name, const Place& place) {
    auto& statement = insert_.get(database_, [] {
      const auto columns = "id, database_id, position, folded_name, " + field_columns<Object>();
      return "INSERT INTO " + table() + " (" + columns + ") VALUES (" + placeholders(columns) + ")";
    });
    const StatementUse use(statement);
    ValueBinder binder(statement);
    place.id ? binder.bind(*place.id) : binder.bind(std::nullopt);
    binder.bind(database_id_).bind(place.position).bind(folded_name).bind_fields(object);
    statement.exec();
    return place.id ? *place.id : database_.getLastInsertRowid();
  }

  SQLite::Database& database_;
  std::int64_t database_id_ = 0;
  bool is_new_ = false;
  /// Where the next added object goes; found out when it is first needed.
  std::optional<std::int64_t> next_position_;
  CachedStatement remove_;
  CachedStatement end_position_;
  CachedStatement insert_;
};

}  // namespace

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
    for (const auto& name : changes.removed_dimensions) {
      dimensions_.remove_named(name);
    }
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

  void write(const OlapDimension& dimension) {
    const RowKey id(dimensions_.put(dimension));
    dimension_properties_.insert_all(id, dimension.custom_properties);
    levels_.insert_all(id, dimension.levels);
  }

  void write(const OlapRole& role) {
    const RowKey id(roles_.put(role));
    role_permissions_.insert_all(id, role.permissions);
  }

  void write(const OlapCube& cube) {
    const RowKey id(cubes_.put(cube));
    cube_properties_.insert_all(id, cube.custom_properties);
    for (std::size_t i = 0; i < cube.dimensions.size(); ++i) {
      cube_dimensions_.insert(id.at(i), cube.dimensions[i]);
      cube_levels_.insert_all(id.at(i), cube.dimensions[i].levels);
    }
    measures_.insert_all(id, cube.measures);
    calculated_members_.insert_all(id, cube.calculated_members);
    for (std::size_t i = 0; i < cube.roles.size(); ++i) {
      cube_roles_.insert(id.at(i), cube.roles[i]);
      cube_role_permissions_.insert_all(id.at(i), cube.roles[i].permissions);
    }
    for (std::size_t i = 0; i < cube.partitions.size(); ++i) {
      write_partition(id.at(i), cube.partitions[i]);
    }
  }

  void write_partition(const RowKey& key, const OlapPartition& partition) {
    partitions_.insert(key, partition);
    for (std::size_t i = 0; i < partition.slices.size(); ++i) {
      partition_dimensions_.insert(key.at(i), partition.slices[i]);
      partition_levels_.insert_all(key.at(i), partition.slices[i].levels);
    }
  }

  SQLite::Database& database_;
  DatabaseRows databases_{database_};
  ObjectWriter<OlapDataSource> data_sources_{database_};
  ObjectWriter<OlapDimension> dimensions_{database_};
  ObjectWriter<OlapRole> roles_{database_};
  ObjectWriter<OlapCube> cubes_{database_};
  PartInserter<OlapProperty> dimension_properties_{database_, part_tables::dimension_properties};
  LevelInserter levels_{database_, part_tables::levels, part_tables::member_properties};
  PartInserter<OlapProperty> role_permissions_{database_, part_tables::role_permissions};
  PartInserter<OlapProperty> cube_properties_{database_, part_tables::cube_properties};
  PartInserter<OlapCubeDimension> cube_dimensions_{database_, part_tables::cube_dimensions};
  LevelInserter cube_levels_{database_, part_tables::cube_levels,
                             part_tables::cube_member_properties};
  PartInserter<OlapMeasure> measures_{database_, part_tables::measures};
  PartInserter<OlapCalculatedMember> calculated_members_{database_,
                                                         part_tables::calculated_members};
  PartInserter<OlapRole> cube_roles_{database_, part_tables::cube_roles};
  PartInserter<OlapProperty> cube_role_permissions_{database_, part_tables::cube_role_permissions};
  PartInserter<OlapPartition> partitions_{database_, part_tables::partitions};
  PartInserter<OlapPartitionDimension> partition_dimensions_{database_,
                                                             part_tables::partition_dimensions};
  PartInserter<OlapPartitionLevel> partition_levels_{database_, part_tables::partition_levels};
};

CatalogueWriter::CatalogueWriter(SQLite::Database& database)
    : statements_(std::make_unique<Statements>(database)) {}

CatalogueWriter::~CatalogueWriter() = default;

void CatalogueWriter::apply(const DatabaseChanges& changes) { statements_->apply(changes); }

}  // namespace importkcd
