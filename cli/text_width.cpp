#include "cli/text_width.h"

#include <utf8proc.h>

namespace importkcd {

std::size_t text_width(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    utf8proc_int32_t character = -1;
    auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                   static_cast<utf8proc_ssize_t>(text.size()), &character);
    if (length <= 0 || character < 0) {
      length = 1;
      ++width;
    } else {
      width += static_cast<std::size_t>(utf8proc_charwidth(character));
    }
    text.remove_prefix(static_cast<std::size_t>(length));
  }
  return width;
}

}  // namespace importkcd
