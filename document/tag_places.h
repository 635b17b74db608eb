#pragma once

#include <cstdint>
#include <string_view>

#include "document/kcd_document.h"

namespace importkcd {

/// A place in a document that its parser has reached.
struct ReachedPlace {
  /// The text in front of it, in UTF-8, as far as the parser still holds it: at the end of a tag
  /// the whole tag, and usually the beginning of its line.
  std::string_view behind;
  /// How many bytes of UTF-8 the document has up to here; a change of encoding may turn it back.
  std::uint64_t passed = 0;
  /// The place as the parser counts it. Lines are right; columns may be wrong.
  DocumentPosition counted;
};

/// Finds out where tags begin: a parser tells their ends. A "<" cannot stand within a tag.
///
/// Columns are counted here, because libxml2 miscounts some content. Its own count is taken behind
/// a comment, a processing instruction or a CDATA section that is longer than what it keeps in
/// memory (some 400 bytes) and ends in the line in which it began.
class TagPlaces {
 public:
  /// Notes a place that is not within a tag.
  void note(const ReachedPlace& at) { noted_ = {at.passed, column(at, at.behind)}; }

  /// Notes the end of a text, which may have gone from memory, or which the parser is going to
  /// pass.
  void note_text(ReachedPlace at, std::string_view text);

  /// The place of the "<" of the tag whose attributes end at `at`. The column is 0 when nothing
  /// tells it.
  DocumentPosition beginning(const ReachedPlace& at) const;

 private:
  std::uint32_t column(const ReachedPlace& at, std::string_view before) const;

  struct Noted {
    std::uint64_t passed = 0;
    std::uint32_t column = 1;
  };
  Noted noted_;
};

}  // namespace importkcd
