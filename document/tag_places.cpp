#include "document/tag_places.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "base/text.h"

namespace importkcd {
namespace {

std::uint32_t characters_in(std::string_view text) {
  return static_cast<std::uint32_t>(std::count_if(text.begin(), text.end(), begins_character));
}

std::size_t last_of(std::string_view text, char wanted) {
  const auto* const found = static_cast<const char*>(memrchr(text.data(), wanted, text.size()));
  return found == nullptr ? std::string_view::npos : static_cast<std::size_t>(found - text.data());
}

}  // namespace

void TagPlaces::note_text(ReachedPlace at, std::string_view text) {
  if (text.data() == at.behind.data() + at.behind.size()) {
    at.behind = {at.behind.data(), at.behind.size() + text.size()};
    at.passed += text.size();
  }
  if (at.passed - noted_.passed != text.size()) {
    note(at);
    return;
  }
  const auto line_end = last_of(text, '\n');
  noted_ = {at.passed, line_end == std::string_view::npos
                           ? noted_.column + characters_in(text)
                           : characters_in(text.substr(line_end + 1)) + 1};
}

DocumentPosition TagPlaces::beginning(const ReachedPlace& at) const {
  const auto begin = std::min(last_of(at.behind, '<'), at.behind.size());
  const auto tag = at.behind.substr(begin);
  const auto line_ends = static_cast<std::uint32_t>(std::count(tag.begin(), tag.end(), '\n'));
  return {at.counted.line - line_ends, column(at, at.behind.substr(0, begin))};
}

/// Of the end of `before`, which is a beginning of at.behind.
std::uint32_t TagPlaces::column(const ReachedPlace& at, std::string_view before) const {
  constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
  const auto since = at.passed - (at.behind.size() - before.size()) - noted_.passed;
  auto fresh = before.substr(before.size() - std::min<std::uint64_t>(since, before.size()));
  const auto line_end = last_of(fresh, '\n');
  if (line_end != std::string_view::npos) {
    return characters_in(fresh.substr(line_end + 1)) + 1;
  }
  if (since > before.size()) {
    const auto tag = characters_in(at.behind.substr(before.size()));
    return at.counted.column > tag ? at.counted.column - tag : 0;
  }
  if (noted_.passed == 0 && fresh.starts_with(byte_order_mark)) {
    fresh.remove_prefix(byte_order_mark.size());
  }
  return noted_.column + characters_in(fresh);
}

}  // namespace importkcd
