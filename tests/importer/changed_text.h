#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace importkcd::testing {

/// A sample text with the first occurrence of `from`, which must be there, replaced by `to`.
inline std::string changed(std::string text, std::string_view from, std::string_view to) {
  const auto at = text.find(from);
  EXPECT_NE(at, std::string::npos) << "no '" << from << "' in '" << text << "'";
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

/// The same with the first occurrence taken out.
inline std::string without(std::string text, std::string_view part) {
  return changed(std::move(text), part, "");
}

}  // namespace importkcd::testing
