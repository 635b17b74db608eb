#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace importkcd {

/// A value that may be null as text: `strDefault` when it is null.
inline std::string ToString(std::optional<std::string_view> varInput, std::string_view strDefault) {
  return std::string(varInput.value_or(strDefault));
}

}  // namespace importkcd
