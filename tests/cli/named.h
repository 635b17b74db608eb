#pragma once

#include <string>

namespace importkcd::testing {

/// A definition of any kind with that name and the values of a newly added object.
template <class T>
T named(const std::string& name) {
  T definition;
  definition.name = name;
  return definition;
}

}  // namespace importkcd::testing
