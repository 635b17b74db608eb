#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "model/database_objects.h"
#include "model/definitions.h"

namespace importkcd {

/// Where the working copy of a stored database reads its objects; owned by the OlapDatabase.
struct DatabaseSources {
  std::unique_ptr<ObjectSource<OlapDataSource>> data_sources;
  std::unique_ptr<ObjectSource<OlapDimension>> dimensions;
  std::unique_ptr<ObjectSource<OlapRole>> roles;
  std::unique_ptr<ObjectSource<OlapCube>> cubes;
};

/// The content collections of a cube that an update empties, in the order in which it does so.
enum class OlapCubeContent {
  dimensions,
  measures,
  calculated_members,
  roles,
  data_sources,
  partitions
};

/// The working copy of one OLAP database: what a run sees and changes. Only a write back of the
/// OlapServer makes a change exist on the server; roles take effect when they are set.
///
/// The rules that hold between the objects of a database are kept here: a definition refers only to
/// objects that are there, and a removed cube takes its private dimensions with it. Operations
/// throw ImportError.
class OlapDatabase {
 public:
  OlapDatabase(std::string name, std::string description, DatabaseSources sources);

  const std::string& name() const { return name_; }

  std::string description;

  DatabaseObjects<OlapDataSource>& data_sources() { return data_sources_; }
  DatabaseObjects<OlapRole>& roles() { return roles_; }
  DatabaseObjects<OlapDimension>& dimensions() { return dimensions_; }
  /// To be searched and edited; cubes are added by add_cube.
  DatabaseObjects<OlapCube>& cubes() { return cubes_; }

  /// The stored name of a data source that a definition refers to by `name`.
  /// Throws ImportError when the database has none of that name.
  std::string data_source_name(std::string_view name);

  /// Adds an empty cube; it takes the place of a cube that has its name, whose private dimensions
  /// are removed. A regular cube comes with its own partition. Throws ImportError on an empty name.
  OlapCube& add_cube(const std::string& name, OlapCubeKind kind);

  /// Removes a cube with its private dimensions, whose names are given back. Does nothing when
  /// there is none of that name.
  std::vector<std::string> remove_cube(const std::string& name);

  /// Adds the dimension `name` of this database to a cube, with the cube's own copy of its levels.
  /// Throws ImportError when there is no such dimension or the cube has it already. The result is
  /// valid until the next cube dimension is added.
  OlapCubeDimension& add_cube_dimension(OlapCube& cube, const std::string& name);

  /// Removes the first member of one of the cube's content collections, if it has one. A private
  /// dimension is removed from the database, too.
  void remove_first(OlapCube& cube, OlapCubeContent content);

  /// The private dimensions that were removed from the database together with content of `cube`
  /// since the last call. The server removes them when the cube is written back.
  std::vector<std::string> take_released_dimensions(const OlapCube& cube);

 private:
  void release_private_dimension(const OlapCube& cube, const std::string& dimension);

  std::string name_;
  DatabaseObjects<OlapDataSource> data_sources_;
  DatabaseObjects<OlapDimension> dimensions_;
  DatabaseObjects<OlapRole> roles_;
  DatabaseObjects<OlapCube> cubes_;
  /// Lower-cased cube name -> names of private dimensions.
  std::unordered_map<std::string, std::vector<std::string>> released_;
};

/// How many members a content collection of a cube has. The data source that the cube is bound to
/// is the one member of its data sources.
std::size_t count_of(const OlapCube& cube, OlapCubeContent content);

/// Gives a regular cube without partitions the one that is made with every cube: named after it,
/// and following its source settings.
void restore_own_partition(OlapCube& cube);

/// Has the partitions that follow their cube take over its source settings.
void refresh_following_partitions(OlapCube& cube);

/// A level of a cube as one of its partitions has it.
struct PartitionLevelView {
  std::string name;
  /// Whether the cube does not use the level; such a level is never sliced by a document.
  bool disabled = false;
  /// The cube's key column, unless the partition has one of its own.
  std::string member_key_column;
  /// The member that the partition is limited to at this level; empty when it is not sliced.
  std::string slice_value;

  bool operator==(const PartitionLevelView&) const = default;
};

/// A dimension of a cube as one of its partitions has it.
struct PartitionDimensionView {
  std::string name;
  std::vector<PartitionLevelView> levels;

  bool operator==(const PartitionDimensionView&) const = default;
};

/// The dimensions of a cube's partition: those of the cube, with all their levels, in the cube's
/// order. What the partition recorded about a dimension or level that the cube does not have (any
/// more) is left out.
std::vector<PartitionDimensionView> partition_dimensions(const OlapCube& cube,
                                                         const OlapPartition& partition);

}  // namespace importkcd
