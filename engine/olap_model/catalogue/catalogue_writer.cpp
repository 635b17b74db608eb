#include "engine/olap_model/catalogue/catalogue_writer.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "engine/olap_model/catalogue/catalogue_schema.h"
#include "engine/olap_model/catalogue/catalogue_statements.h"
#include "engine/olap_model/catalogue/database_rows.h"

namespace importkcd {
namespace {

/// Calls `visit(key, part)` for all parts that a path of collections leads to from their owner, in
/// the order of their keys.
template <class Owner, class Visit, class Part, class... Path>
void for_each_part(const RowKey& key, const Owner& owner, const Visit& visit,
                   NamedCollection<Part> Owner::*parts, Path... path) {
  for (std::size_t i = 0; i < (owner.*parts).size(); ++i) {
    const Part& part = (owner.*parts)[i];
    if constexpr (sizeof...(path) == 0) {
      visit(key.at(i), part);
    } else {
      for_each_part(key.at(i), part, visit, path...);
    }
  }
}

/// The end of an insertion that sets these columns when a row of that key is there already.
std::string or_update(std::string_view key, const std::string& columns) {
  std::string values = "excluded.";
  for (const char c : columns) {
    values += c;
    if (c == ' ') {
      values += "excluded.";
    }
  }
  return " ON CONFLICT (" + std::string(key) + ") DO UPDATE SET (" + columns + ") = (" + values +
         ")";
}

/// Where an object's own row is.
struct ObjectRow {
  std::int64_t id;
  /// Nothing is stored of the object's parts yet.
  bool is_new;
};

/// Writes the rows of one part table.
template <class Row>
class PartWriter {
 public:
  PartWriter(SQLite::Database& database, const PartTable& table)
      : database_(database), table_(table) {}

  /// Makes the parts that a path of collections leads to the only ones of the object in this table.
  /// Rows that are as they should be are left alone: reading one costs a fraction of writing it.
  template <class Object, class... Path>
  void write(const ObjectRow& owner, const Object& object, Path... path) {
    if (owner.is_new) {
      for_each_part(
          RowKey(owner.id), object, [this](const RowKey& key, const Row& row) { put(key, row); },
          path...);
      return;
    }
    const auto differences = differences_from_stored(owner.id, object, path...);
    for (const auto& key : differences.surplus) {
      remove(key);
    }
    for (const auto& [key, row] : differences.changed) {
      put(key, *row);
    }
  }

 private:
  struct Differences {
    std::vector<RowKey> surplus;
    std::vector<std::pair<RowKey, const Row*>> changed;
  };

  /// Both the stored rows and the parts come in the order of their keys.
  template <class Object, class... Path>
  Differences differences_from_stored(std::int64_t object_id, const Object& object, Path... path) {
    Differences result;
    auto& query = query_.get(database_, [this] { return part_rows_query<Row>(table_); });
    const StatementUse use(query);
    ValueBinder(query).bind(object_id);
    auto stored = next_key(query);
    const auto compare = [&](const RowKey& key, const Row& row) {
      for (; stored && *stored < key; stored = next_key(query)) {
        result.surplus.push_back(*stored);
      }
      const bool is_there = stored == key;
      if (!is_there || !fields_equal(query, table_.key_size, row)) {
        result.changed.emplace_back(key, &row);
      }
      if (is_there) {
        stored = next_key(query);
      }
    };
    for_each_part(RowKey(object_id), object, compare, path...);
    for (; stored; stored = next_key(query)) {
      result.surplus.push_back(*stored);
    }
    return result;
  }

  std::optional<RowKey> next_key(SQLite::Statement& query) const {
    return query.executeStep() ? std::optional(RowKey(query, table_.key_size)) : std::nullopt;
  }

  void put(const RowKey& key, const Row& row) {
    auto& statement = put_.get(database_, [this] {
      const auto columns = std::string(table_.key_columns) + ", " + field_columns<Row>();
      return "INSERT INTO " + std::string(table_.name) + " (" + columns + ") VALUES (" +
             placeholders(columns) + ")" + or_update(table_.key_columns, field_columns<Row>());
    });
    const StatementUse use(statement);
    ValueBinder(statement).bind_key(key).bind_fields(row);
    statement.exec();
  }

  void remove(const RowKey& key) {
    auto& statement = remove_.get(database_, [this] {
      const std::string columns(table_.key_columns);
      return "DELETE FROM " + std::string(table_.name) + " WHERE (" + columns + ") = (" +
             placeholders(columns) + ")";
    });
    const StatementUse use(statement);
    ValueBinder(statement).bind_key(key);
    statement.exec();
  }

  SQLite::Database& database_;
  const PartTable& table_;
  CachedStatement query_;
  CachedStatement put_;
  CachedStatement remove_;
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
    leaving_.clear();
    next_position_.reset();
  }

  /// Removes the stored objects of these names with all their parts. Those among `returning` are to
  /// be put again: they come to the end of the collection, and keep the rows that are still right.
  void remove(const std::vector<std::string>& names, const NamedCollection<Object>& returning) {
    for (const auto& name : names) {
      auto folded_name = lower_cased(name);
      if (returning.contains(name)) {
        leaving_.insert(std::move(folded_name));
      } else {
        remove(folded_name);
      }
    }
  }

  /// Stores the object's own row, without parts.
  ObjectRow put(const Object& object) {
    const auto folded_name = lower_cased(object.name);
    if (!is_new_) {
      if (const auto stored = update_stored(object, folded_name)) {
        return {*stored, false};
      }
    }
    insert_or_update(object, folded_name, {std::nullopt, end_position()});
    return {database_.getLastInsertRowid(), true};
  }

 private:
  struct Place {
    std::optional<std::int64_t> id;
    std::int64_t position = 0;
  };

  static std::string table() { return std::string(object_table<Object>); }

  /// Brings the stored row of that name up to date and gives its id; nothing when there is none.
  std::optional<std::int64_t> update_stored(const Object& object, const std::string& folded_name) {
    auto& query = query_.get(database_, [] {
      return "SELECT id, position, " + field_columns<Object>() + " FROM " + table() +
             " WHERE database_id = ? AND folded_name = ?";
    });
    const StatementUse use(query);
    ValueBinder(query).bind(database_id_).bind(folded_name);
    if (!query.executeStep()) {
      return std::nullopt;
    }
    const auto id = query.getColumn(0).getInt64();
    const auto stored_position = query.getColumn(1).getInt64();
    const auto position =
        leaving_.count(folded_name) == 0 ? stored_position : end_position(stored_position);
    if (position != stored_position || !fields_equal(query, 2, object)) {
      insert_or_update(object, folded_name, {id, position});
    }
    return id;
  }

  /// A position after all objects that are not leaving and all that were put there before; it is
  /// `present`, the position of an object that comes back, when that will do.
  std::int64_t end_position(std::int64_t present = -1) {
    if (!next_position_) {
      find_end();
    }
    const auto result = present >= end_ ? present : (*next_position_)++;
    end_ = result + 1;
    return result;
  }

  void find_end() {
    next_position_ = 0;
    end_ = 0;
    if (is_new_) {
      return;
    }
    auto& query = last_ones_.get(database_, [] {
      return "SELECT position, folded_name FROM " + table() +
             " WHERE database_id = ? ORDER BY position DESC";
    });
    const StatementUse use(query);
    ValueBinder(query).bind(database_id_);
    while (query.executeStep()) {
      end_ = query.getColumn(0).getInt64() + 1;
      next_position_ = std::max(*next_position_, end_);
      if (leaving_.count(query.getColumn(1).getString()) == 0) {
        return;
      }
    }
    end_ = 0;
  }

  void insert_or_update(const Object& object, const std::string& folded_name, const Place& place) {
    auto& statement = put_.get(database_, [] {
      const auto fields = "position, " + field_columns<Object>();
      const auto columns = "id, database_id, folded_name, " + fields;
      return "INSERT INTO " + table() + " (" + columns + ") VALUES (" + placeholders(columns) +
             ")" + or_update("id", fields);
    });
    const StatementUse use(statement);
    ValueBinder binder(statement);
    place.id ? binder.bind(*place.id) : binder.bind(std::nullopt);
    binder.bind(database_id_).bind(folded_name).bind(place.position).bind_fields(object);
    statement.exec();
  }

  void remove(const std::string& folded_name) {
    auto& statement = remove_.get(database_, [] {
      return "DELETE FROM " + table() + " WHERE database_id = ? AND folded_name = ?";
    });
    const StatementUse use(statement);
    ValueBinder(statement).bind(database_id_).bind(folded_name);
    statement.exec();
  }

  SQLite::Database& database_;
  std::int64_t database_id_ = 0;
  bool is_new_ = false;
  /// Lower-cased names of removed objects that will come back.
  std::unordered_set<std::string> leaving_;
  /// Greater than every stored position; found out when it is first needed.
  std::optional<std::int64_t> next_position_;
  /// Where the collection ends without the leaving objects that have not come back yet.
  std::int64_t end_ = 0;
  CachedStatement query_;
  CachedStatement last_ones_;
  CachedStatement put_;
  CachedStatement remove_;
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
