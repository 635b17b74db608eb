#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace importkcd {

/// The labels of one language, as the last load left them.
struct LoadedLabels {
  /// The texts from MinLabelID to MaxLabelID, ready to be put into XML; an ID without a label has
  /// the empty text. After a load that found no labels it is still the table before.
  std::vector<std::string> LabelTable;
  /// The lowest and the highest ID; both are -1 while nothing is loaded.
  std::int16_t MinLabelID = -1;
  std::int16_t MaxLabelID = -1;
  /// Tells a table whose one ID is -1 from none.
  bool loaded = false;

  bool in_range(std::int16_t id) const { return loaded && MinLabelID <= id && id <= MaxLabelID; }

  /// The position of an ID that is in range.
  std::size_t index_of(std::int16_t id) const { return static_cast<std::size_t>(id - MinLabelID); }
};

}  // namespace importkcd
