#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "comparison/differences.h"
#include "servers/database_definition.h"

namespace importkcd {

/// What an import would do about one object directly under a database, or about the database.
struct PlannedObject {
  enum class Action {
    create,
    change,
    /// The object is left alone although the document says something else.
    keep,
    remove,
  };

  Action action = Action::create;
  /// "database", "data source", "dimension", "role" or "cube".
  std::string_view kind;
  /// As it is stored; of a new object, as it would be.
  std::string name;
  /// Of a new object: its parts, as a kind and how many of it.
  std::vector<std::pair<std::string_view, std::size_t>> contents = {};
  /// Why an object is kept.
  std::string reason = {};
  /// From what is stored to what would be; of a kept object, to what the document says.
  std::vector<Difference> differences = {};
};

/// What an import would do to a database. Kinds follow each other as above, objects of a kind in
/// the order of the database, new ones last. A private dimension is a part of its cube. The order
/// of objects directly under a database is not content: nothing depends on it.
struct Plan {
  std::vector<PlannedObject> objects;

  std::size_t count(PlannedObject::Action action) const;
  /// Whether anything stored would differ.
  bool changes_anything() const;
};

/// What a document says, to find the objects that an import leaves as they are.
struct DocumentContent {
  /// Null when nobody asked.
  const DatabaseDefinition* definition = nullptr;
  /// The mode that leaves them alone, as people know it.
  std::string_view mode;
};

/// Compares two states of a database; null stands for one that is not there.
Plan compare_databases(const DatabaseDefinition* before, const DatabaseDefinition* after,
                       const DocumentContent& document = {});

/// The dimensions that belong to a cube alone: private ones, in the cube's order.
std::vector<const OlapDimension*> private_dimensions(const DatabaseDefinition& database,
                                                     const OlapCube& cube);

/// Whether a dimension is private to a cube that the database has.
bool belongs_to_cube(const DatabaseDefinition& database, const OlapDimension& dimension);

/// The differences of two states of a cube with the dimensions that belong to it.
std::vector<Difference> compare_whole_cubes(const DatabaseDefinition& database_before,
                                            const OlapCube& before,
                                            const DatabaseDefinition& database_after,
                                            const OlapCube& after);

}  // namespace importkcd
