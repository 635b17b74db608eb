#include "cli/text_width.h"

#include <utf8proc.h>

#include "base/text.h"

namespace importkcd {

std::size_t text_width(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const auto code = take_character(text).code;
    width += code < 0 ? 1 : static_cast<std::size_t>(utf8proc_charwidth(code));
  }
  return width;
}

}  // namespace importkcd
