#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/text_encoding.h"
#include "labels/loaded_labels.h"

namespace importkcd {

/// Replaces the label references "$##" ID "%" of a text by the labels. An ID in range without a
/// label (or with nothing but blanks), and an ID out of range, becomes "Unknown" and the ID; a
/// marker that opens no reference stays. The text may come in pieces, as a file is read.
///
/// The text is in `encoding`, a byte order mark included; labels, which are UTF-8, are brought into
/// it, with numeric character references for characters that it lacks, and for line ends and tabs.
class LabelSubstitution {
 public:
  /// `labels` and `encoding` outlive this object.
  LabelSubstitution(const LoadedLabels& labels, const TextEncoding& encoding);

  /// The length of a result at which a call of take() ends before it has taken all that it could.
  static constexpr std::size_t enough = std::size_t{1} << 18;

  /// Appends to `result` what becomes of the next bytes of the text, and gives the number of those
  /// that it has taken. What cannot be judged yet is left: bytes at the end, unless `is_last` says
  /// that no others follow. The next call begins with the first byte left, and needs further ones
  /// when nothing was taken. Throws ImportError for an ID that does not fit in 16 bits, and for one
  /// whose label cannot stand in XML.
  std::size_t take(std::string_view bytes, bool is_last, std::string& result);

  /// Whether an ID so far lay in the loaded range.
  bool resolved() const { return resolved_; }

 private:
  std::size_t find_marker(std::string_view bytes, std::size_t start) const;
  std::size_t end_of_number(std::string_view bytes, std::size_t at) const;
  char ascii_at(std::string_view bytes, std::size_t at) const;
  std::optional<std::int16_t> id_of(std::string_view number) const;
  void append_label(std::int16_t id, std::string& result);
  std::string text_of(std::int16_t id) const;

  const LoadedLabels& labels_;
  const TextEncoding& encoding_;
  std::size_t unit_;
  /// What a reference begins and ends with, in the encoding; empty where none can be written.
  std::string marker_;
  std::string end_of_id_;
  bool low_byte_first_ = false;
  /// Each label is brought into the encoding once, however often it is used.
  std::vector<std::optional<std::string>> encoded_;
  bool resolved_ = false;
};

/// What SubstituteLabelReferences gives for a text without a reference into the loaded range.
constexpr std::string_view no_reference_resolved = "ERROR";

/// Replaces the label references of a whole text in `encoding`, as LabelSubstitution does. Gives
/// "ERROR" when no ID lies in the loaded range.
std::string SubstituteLabelReferences(std::string_view text, const LoadedLabels& labels,
                                      const TextEncoding& encoding);

/// The same for a UTF-8 text.
std::string SubstituteLabelReferences(std::string_view text, const LoadedLabels& labels);

}  // namespace importkcd
