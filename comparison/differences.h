#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "model/definitions.h"

namespace importkcd {

/// A part of an object, such as the level 'Category' of a dimension.
struct PartName {
  /// The word of visit_parts().
  std::string_view kind;
  std::string name;

  bool operator==(const PartName&) const = default;
};

/// One thing in which two states of an object differ. Values are texts in the words of cube
/// definition documents; passwords in connection strings are masked.
struct Difference {
  enum class Kind {
    /// A property has another value.
    changed,
    /// The part that `path` leads to is new.
    added,
    /// The part that `path` leads to is gone.
    removed,
    /// The parts that both states have stand in another order.
    reordered,
  };

  Kind kind = Kind::changed;
  /// The way from the object to the part that differs; empty for the object itself.
  std::vector<PartName> path;
  /// The property of a changed part; the kind of the reordered ones; empty otherwise.
  std::string_view property;
  /// Of a changed property or an order; the same text twice when only a password differs.
  std::string before;
  std::string after;

  bool operator==(const Difference&) const = default;
};

/// All differences between two states of an object, its parts included; none exactly when they
/// have the same content, the order of their parts included. The name's letter case is content.
std::vector<Difference> compare(const OlapDataSource& before, const OlapDataSource& after);
std::vector<Difference> compare(const OlapDimension& before, const OlapDimension& after);
std::vector<Difference> compare(const OlapRole& before, const OlapRole& after);
std::vector<Difference> compare(const OlapCube& before, const OlapCube& after);

/// A difference for people: `level 'Category': member_key_column "c" -> "c_id"`.
std::string text_of(const Difference& difference);

/// What differs, counted and without values: "2 measures, description".
std::string summary_of(const std::vector<Difference>& differences);

}  // namespace importkcd
