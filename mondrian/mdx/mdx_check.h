#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// Why the engine could not read an MDX expression: broken syntax, or a function that it does not
/// have. Empty when nothing of that kind is wrong. The engine would answer no question about any
/// cube of a schema that holds such an expression.
std::string mdx_fault(std::string_view expression);

}  // namespace importkcd
