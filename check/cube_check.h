#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "check/element_check.h"

namespace importkcd {

/// A dimension that cubes may use.
struct KnownDimension {
  std::string name;
  DocumentPosition position;
  /// Its levels, by their lower-cased names.
  NameTable levels;
};

/// The objects of a document that others refer to.
struct KnownObjects {
  NameTable data_sources;
  NameTable roles;
  NameTable cubes;
  /// By lower-cased names: shared dimensions, and those of the cubes so far.
  std::unordered_map<std::string, KnownDimension> dimensions;
  /// By lower-cased names of cubes: the measures and calculated members. Kept only when virtual
  /// cubes ask for it.
  std::unordered_map<std::string, NameTable> measures;
  bool keeps_measures = false;

  const KnownDimension* dimension(std::string_view name) const;
  /// " (did you mean 'NAME'?)", or nothing.
  std::string dimension_did_you_mean(std::string_view name) const;
};

/// Checks a `cube`, and makes its dimensions and measures known.
void check_cube(ElementCheck& check, KnownObjects& known, const Place& cube);

/// Checks a `cube_roles`.
void check_cube_roles(ElementCheck& check, const KnownObjects& known, const Place& cube_roles);

/// Checks the levels in a collection of them, and gives their names.
NameTable check_levels(ElementCheck& check, const Place& levels);

}  // namespace importkcd
