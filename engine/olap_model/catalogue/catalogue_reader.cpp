#include "engine/olap_model/catalogue/catalogue_reader.h"

#include <array>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "engine/olap_model/catalogue/catalogue_schema.h"
#include "engine/olap_model/catalogue/catalogue_statements.h"

namespace importkcd {
namespace {

std::vector<std::string> first_column(SQLite::Statement& query) {
  std::vector<std::string> result;
  while (query.executeStep()) {
    result.push_back(query.getColumn(0).getString());
  }
  return result;
}

/// Finds objects of one kind under their database.
template <class Object>
class ObjectFinder {
 public:
  explicit ObjectFinder(SQLite::Database& database) : database_(database) {}

  bool contains(std::int64_t database_id, std::string_view name) {
    auto& query = contains_.get(database_, [] {
      return "SELECT 1 FROM " + table() + " WHERE database_id = ? AND folded_name = ?";
    });
    const StatementUse use(query);
    const auto folded_name = lower_cased(name);
    ValueBinder(query).bind(database_id).bind(folded_name);
    return query.executeStep();
  }

  /// The object without its parts, and its id.
  std::optional<std::pair<std::int64_t, Object>> load(std::int64_t database_id,
                                                      std::string_view name) {
    auto& query = load_.get(database_, [] {
      return "SELECT id, " + field_columns<Object>() + " FROM " + table() +
             " WHERE database_id = ? AND folded_name = ?";
    });
    const StatementUse use(query);
    const auto folded_name = lower_cased(name);
    ValueBinder(query).bind(database_id).bind(folded_name);
    if (!query.executeStep()) {
      return std::nullopt;
    }
    return std::pair(query.getColumn(0).getInt64(), read_fields<Object>(query, 1));
  }

  std::vector<std::string> names(std::int64_t database_id) {
    auto& query = names_.get(database_, [] {
      return "SELECT name FROM " + table() + " WHERE database_id = ? ORDER BY position";
    });
    const StatementUse use(query);
    ValueBinder(query).bind(database_id);
    return first_column(query);
  }

 private:
  static std::string table() { return std::string(object_table<Object>); }

  SQLite::Database& database_;
  CachedStatement contains_;
  CachedStatement load_;
  CachedStatement names_;
};

/// Where a part belongs: the positions in its key, from the outermost collection inwards.
using Positions = std::array<std::size_t, 3>;

/// Other programs can write to the file too: positions with gaps, rows without an owner.
[[noreturn]] void throw_damaged() { throw SQLite::Exception("parts of an object are missing"); }

template <class Part>
Part& part_at(NamedCollection<Part>& collection, std::size_t position) {
  if (position >= collection.size()) {
    throw_damaged();
  }
  return collection.edit_at(position);
}

/// Reads all rows of an object in one part table, those of nested collections included.
template <class Row>
class PartReader {
 public:
  PartReader(SQLite::Database& database, const PartTable& table)
      : database_(database), table_(table) {}

  /// Adds each row to the collection that `collection_at` gives for its positions.
  template <class CollectionAt>
  void read(std::int64_t object_id, const CollectionAt& collection_at) {
    auto& query = query_.get(database_, [this] { return part_rows_query<Row>(table_); });
    const StatementUse use(query);
    ValueBinder(query).bind(object_id);
    while (query.executeStep()) {
      const auto at = positions(query);
      NamedCollection<Row>& collection = collection_at(at);
      if (at.at(last_position()) != collection.size()) {
        throw_damaged();
      }
      collection.add(read_fields<Row>(query, table_.key_size));
    }
  }

  void read_into(std::int64_t object_id, NamedCollection<Row>& collection) {
    read(
        object_id, [&](const Positions&) -> auto& { return collection; });
  }

 private:
  std::size_t last_position() const { return static_cast<std::size_t>(table_.key_size) - 2; }

  /// The first column is the object's id, the other ones of the key are positions.
  Positions positions(SQLite::Statement& query) const {
    Positions result{};
    for (std::size_t i = 0; i <= last_position(); ++i) {
      result.at(i) = static_cast<std::size_t>(query.getColumn(static_cast<int>(i) + 1).getInt64());
    }
    return result;
  }

  SQLite::Database& database_;
  const PartTable& table_;
  CachedStatement query_;
};

}  // namespace

class CatalogueReader::Statements {
 public:
  explicit Statements(SQLite::Database& database) : database_(database) {}

  SQLite::Database& database() { return database_; }

  template <class Object>
  ObjectFinder<Object>& finder() {
    return std::get<ObjectFinder<Object>>(finders_);
  }

  void read_parts(std::int64_t, OlapDataSource&) {}

  void read_parts(std::int64_t id, OlapRole& role) {
    role_permissions_.read_into(id, role.permissions);
  }

  void read_parts(std::int64_t id, OlapDimension& dimension) {
    dimension_properties_.read_into(id, dimension.custom_properties);
    levels_.read_into(id, dimension.levels);
    member_properties_.read(
        id, [&](const Positions& at) -> auto& {
          return part_at(dimension.levels, at[0]).member_properties;
        });
  }

  void read_parts(std::int64_t id, OlapCube& cube) {
    cube_properties_.read_into(id, cube.custom_properties);
    read_cube_dimensions(id, cube.dimensions);
    measures_.read_into(id, cube.measures);
    calculated_members_.read_into(id, cube.calculated_members);
    cube_roles_.read_into(id, cube.roles);
    cube_role_permissions_.read(
        id, [&](const Positions& at) -> auto& { return part_at(cube.roles, at[0]).permissions; });
    read_partitions(id, cube.partitions);
  }

 private:
  void read_cube_dimensions(std::int64_t id, NamedCollection<OlapCubeDimension>& dimensions) {
    cube_dimensions_.read_into(id, dimensions);
    cube_levels_.read(
        id, [&](const Positions& at) -> auto& { return part_at(dimensions, at[0]).levels; });
    cube_member_properties_.read(
        id, [&](const Positions& at) -> auto& {
          return part_at(part_at(dimensions, at[0]).levels, at[1]).member_properties;
        });
  }

  void read_partitions(std::int64_t id, NamedCollection<OlapPartition>& partitions) {
    partitions_.read_into(id, partitions);
    partition_dimensions_.read(
        id, [&](const Positions& at) -> auto& { return part_at(partitions, at[0]).slices; });
    partition_levels_.read(
        id, [&](const Positions& at) -> auto& {
          return part_at(part_at(partitions, at[0]).slices, at[1]).levels;
        });
  }

  SQLite::Database& database_;
  std::tuple<ObjectFinder<OlapDataSource>, ObjectFinder<OlapDimension>, ObjectFinder<OlapRole>,
             ObjectFinder<OlapCube>>
      finders_{database_, database_, database_, database_};
  PartReader<OlapProperty> dimension_properties_{database_, part_tables::dimension_properties};
  PartReader<OlapLevel> levels_{database_, part_tables::levels};
  PartReader<OlapMemberProperty> member_properties_{database_, part_tables::member_properties};
  PartReader<OlapProperty> role_permissions_{database_, part_tables::role_permissions};
  PartReader<OlapProperty> cube_properties_{database_, part_tables::cube_properties};
  PartReader<OlapCubeDimension> cube_dimensions_{database_, part_tables::cube_dimensions};
  PartReader<OlapLevel> cube_levels_{database_, part_tables::cube_levels};
  PartReader<OlapMemberProperty> cube_member_properties_{database_,
                                                         part_tables::cube_member_properties};
  PartReader<OlapMeasure> measures_{database_, part_tables::measures};
  PartReader<OlapCalculatedMember> calculated_members_{database_, part_tables::calculated_members};
  PartReader<OlapRole> cube_roles_{database_, part_tables::cube_roles};
  PartReader<OlapProperty> cube_role_permissions_{database_, part_tables::cube_role_permissions};
  PartReader<OlapPartition> partitions_{database_, part_tables::partitions};
  PartReader<OlapPartitionDimension> partition_dimensions_{database_,
                                                           part_tables::partition_dimensions};
  PartReader<OlapPartitionLevel> partition_levels_{database_, part_tables::partition_levels};
};

CatalogueReader::CatalogueReader(SQLite::Database& database)
    : statements_(std::make_unique<Statements>(database)) {}

CatalogueReader::~CatalogueReader() = default;

std::vector<std::string> CatalogueReader::database_names() {
  SQLite::Statement query(statements_->database(),
                          "SELECT name FROM databases WHERE kept_since IS NULL ORDER BY id");
  return first_column(query);
}

std::optional<std::int64_t> CatalogueReader::find_database(const std::string& name) {
  SQLite::Statement query(statements_->database(),
                          "SELECT id FROM databases WHERE folded_name = ? AND kept_since IS NULL");
  query.bind(1, lower_cased(name));
  return query.executeStep() ? std::optional(query.getColumn(0).getInt64()) : std::nullopt;
}

std::string CatalogueReader::description(std::int64_t database_id) {
  SQLite::Statement query(statements_->database(),
                          "SELECT description FROM databases WHERE id = ?");
  query.bind(1, database_id);
  return query.executeStep() ? query.getColumn(0).getString() : std::string();
}

std::vector<std::string> CatalogueReader::dimensions_in_use(std::int64_t database_id,
                                                            OlapCubeKind kind) {
  SQLite::Statement query(statements_->database(),
                          "SELECT DISTINCT cube_dimensions.name"
                          " FROM cubes JOIN cube_dimensions ON cube_dimensions.cube_id = cubes.id"
                          " WHERE cubes.database_id = ? AND cubes.kind = ?");
  query.bind(1, database_id);
  query.bind(2, static_cast<std::int32_t>(kind));
  std::vector<std::string> result = first_column(query);
  std::unordered_set<std::string> seen;
  std::erase_if(result, [&](const auto& name) { return !seen.insert(lower_cased(name)).second; });
  return result;
}

template <class Object>
bool CatalogueReader::contains(std::int64_t database_id, std::string_view name) {
  return statements_->finder<Object>().contains(database_id, name);
}

template <class Object>
std::optional<Object> CatalogueReader::load(std::int64_t database_id, std::string_view name) {
  auto found = statements_->finder<Object>().load(database_id, name);
  if (!found) {
    return std::nullopt;
  }
  auto& [id, object] = *found;
  statements_->read_parts(id, object);
  return std::move(object);
}

template <class Object>
std::vector<std::string> CatalogueReader::names(std::int64_t database_id) {
  return statements_->finder<Object>().names(database_id);
}

template bool CatalogueReader::contains<OlapDataSource>(std::int64_t, std::string_view);
template bool CatalogueReader::contains<OlapDimension>(std::int64_t, std::string_view);
template bool CatalogueReader::contains<OlapRole>(std::int64_t, std::string_view);
template bool CatalogueReader::contains<OlapCube>(std::int64_t, std::string_view);
template std::optional<OlapDataSource> CatalogueReader::load(std::int64_t, std::string_view);
template std::optional<OlapDimension> CatalogueReader::load(std::int64_t, std::string_view);
template std::optional<OlapRole> CatalogueReader::load(std::int64_t, std::string_view);
template std::optional<OlapCube> CatalogueReader::load(std::int64_t, std::string_view);
template std::vector<std::string> CatalogueReader::names<OlapDataSource>(std::int64_t);
template std::vector<std::string> CatalogueReader::names<OlapDimension>(std::int64_t);
template std::vector<std::string> CatalogueReader::names<OlapRole>(std::int64_t);
template std::vector<std::string> CatalogueReader::names<OlapCube>(std::int64_t);

}  // namespace importkcd
