#pragma once

#include <string>
#include <string_view>

#include "tests/support/import_fixture.h"

namespace importkcd::testing {

/// For the sections that import dimensions: looks at what they left on the server.
class DimensionsTest : public SectionTest {
 protected:
  /// Puts a cube on the server that uses the dimension.
  void given_cube_with(const std::string& dimension, OlapCubeKind kind) {
    OlapCube& cube = database().add_cube("Sales", kind);
    database().add_cube_dimension(cube, dimension);
    if (kind == OlapCubeKind::regular) {
      server().write_back_cube(database(), cube);
    } else {
      server().write_back_database(database());
    }
    store_and_reopen();
  }

  /// The dimension as the server keeps it; with an empty name when there is none.
  OlapDimension stored(std::string_view name) {
    store_and_reopen();
    const OlapDimension* found = database().dimensions().find(name);
    return found == nullptr ? OlapDimension{} : *found;
  }

  /// The one level of a dimension as the server keeps it.
  OlapLevel only_level_of(std::string_view dimension) {
    const auto levels = stored(dimension).levels;
    EXPECT_EQ(levels.size(), 1U);
    return levels.empty() ? OlapLevel{} : levels[0];
  }
};

}  // namespace importkcd::testing
