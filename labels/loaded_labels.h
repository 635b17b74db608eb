#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
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

/// The label ID that a text means: a decimal number with an optional sign, an optional fraction and
/// blanks around it. A fraction is rounded to the nearest integer, halves to the even one. Nothing
/// when the text is no such number; throws ImportError when the ID does not fit in 16 bits.
std::optional<std::int16_t> label_id(std::string_view text);

/// A text with the five characters that mean something in XML as numeric references: "&#34;" for
/// the double quote, "&#39;" for the apostrophe, "&#38;" for the ampersand, "&#60;" and "&#62;" for
/// less-than and greater-than. Throws ImportError for a text of more than 32767 characters.
std::string XmlEscapeText(std::string_view text);

}  // namespace importkcd
