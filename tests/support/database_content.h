#pragma once

#include <string>
#include <vector>

namespace importkcd::testing {

/// A database of a test's server and the statements that make its content.
struct DatabaseContent {
  std::string name;
  std::vector<std::string> statements;
};

}  // namespace importkcd::testing
