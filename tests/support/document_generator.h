#pragma once

#include <cstdint>
#include <string>

namespace importkcd::testing {

/// How large and how odd a generated document is.
struct GeneratorOptions {
  std::uint32_t seed = 1;
  int data_sources = 2;
  int shared_dimensions = 6;
  int roles = 2;
  int cubes = 4;
  int virtual_dimensions = 0;
  int virtual_cubes = 0;
  /// Chance, in a hundred, that an attribute is absent or not what it should be, that a name is
  /// empty or used before, and that a reference leads nowhere.
  int odd_percentage = 0;
};

/// A cube definition document that depends on the options alone, and on nothing of the platform.
std::string generate_document(const GeneratorOptions& options);

}  // namespace importkcd::testing
