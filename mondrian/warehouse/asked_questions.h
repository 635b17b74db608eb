#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "mondrian/aggregation/cube_shape.h"
#include "mondrian/aggregation/level_lattice.h"

namespace importkcd {

/// An MDX question that somebody has asked.
struct AskedQuestion {
  /// The engine's catalogue; empty when it is not known.
  std::string catalogue;
  std::string mdx;
};

/// The questions of an access log: lines of JSON, those with a text under "mdx". Other lines are
/// passed over. Throws ImportError when the file cannot be read or no line of it is JSON.
std::vector<AskedQuestion> read_access_log(const std::string& file);

/// The name of the cube that an MDX question is about; empty when it says none.
std::string cube_asked(std::string_view mdx);

/// The levels that a question tells apart, as far as its names show: those of levels, and of
/// members by their paths. What functions make of them is not followed, but for Children.
LevelCombination levels_asked(const CubeShape& shape, std::string_view mdx);

/// How often each combination of levels was asked for.
std::vector<LatticeQuestion> lattice_questions(const CubeShape& shape, const std::string& database,
                                               const std::vector<AskedQuestion>& asked);

}  // namespace importkcd
