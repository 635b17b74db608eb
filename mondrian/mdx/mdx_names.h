#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace importkcd {

/// The dimension that every cube has and no document writes.
inline constexpr const char* measures_dimension = "Measures";

/// A name in brackets, closing ones doubled inside.
std::string mdx_name(std::string_view name);

/// Names in brackets, joined by points.
std::string mdx_path(const std::vector<std::string>& names);

/// Takes a path of names in brackets or bare off the front of `text`, with the blanks around it.
/// Nothing when the text does not begin with a name or a bracket is not closed.
std::optional<std::vector<std::string>> take_mdx_path(std::string_view& text);

/// Whether quotes, brackets and parentheses of an MDX expression are closed in their order.
bool is_balanced_mdx(std::string_view expression);

/// The names X that an expression refers to as [Measures].[X], in their order.
std::vector<std::string> measures_named_in(std::string_view expression);

}  // namespace importkcd
