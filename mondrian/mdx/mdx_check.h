#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace importkcd {

/// Why the engine could not read an MDX expression: broken syntax, or a function that it does not
/// have. Empty when nothing of that kind is wrong. The engine would answer no question about any
/// cube of a schema that holds such an expression.
std::string mdx_fault(std::string_view expression);

/// Whether quotes, brackets and parentheses of an MDX expression are closed in their order.
bool is_balanced_mdx(std::string_view expression);

/// Where the expression at the front of `text` ends: at the first comma outside of quotes, brackets
/// and parentheses; at the end of the text when there is none, or when they are not closed in their
/// order.
std::size_t end_of_mdx_item(std::string_view text);

/// The names X that an expression refers to as [Measures].[X], in their order.
std::vector<std::string> measures_named_in(std::string_view expression);

}  // namespace importkcd
