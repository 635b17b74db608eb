#include "labels/label_references.h"

#include <algorithm>
#include <utility>

#include "base/import_error.h"
#include "base/text.h"
#include "labels/labels_connection.h"
#include "labels/loaded_labels.h"

namespace importkcd {
namespace {

constexpr auto npos = std::string_view::npos;

/// Whether label_id may accept a text with this character.
constexpr bool may_stand_in_number(char character) {
  return is_ascii_digit(character) || character == ' ' || character == '-' || character == '+' ||
         character == '.';
}

/// Whether XML 1.0 has this character.
constexpr bool may_stand_in_xml(std::int32_t code) {
  return code == '\t' || code == '\n' || code == '\r' ||
         (code >= 0x20 && code != 0xFFFE && code != 0xFFFF);
}

[[noreturn]] void refuse_character(std::int16_t id, std::int32_t code) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string what = "bytes that are no UTF-8";
  if (code >= 0) {
    what = "the character U+";
    for (int shift = 12; shift >= 0; shift -= 4) {
      what += digits[(static_cast<unsigned>(code) >> static_cast<unsigned>(shift)) & 15U];
    }
  }
  throw ImportError(
      "Label " + std::to_string(id) + " holds " + what + ", which cannot stand in a document",
      error_source::labels_database);
}

/// A label as it may stand in a document: what a reader of XML would turn into a blank, or into
/// another line end, as a reference. Throws ImportError for what no document may hold.
std::string document_text(std::int16_t id, std::string_view label) {
  std::string result;
  while (!label.empty()) {
    const auto character = take_character(label);
    if (!may_stand_in_xml(character.code)) {
      refuse_character(id, character.code);
    }
    if (character.code < ' ') {
      result += "&#" + std::to_string(character.code) + ";";
    } else {
      result += character.bytes;
    }
  }
  return result;
}

}  // namespace

LabelSubstitution::LabelSubstitution(const LoadedLabels& labels, const TextEncoding& encoding)
    : labels_(labels),
      encoding_(encoding),
      unit_(encoding.unit()),
      encoded_(labels.LabelTable.size()) {
  auto marker = encoding.encode("$##");
  auto end_of_id = encoding.encode("%");
  // National variants of ASCII have other characters in these places.
  if (marker && end_of_id) {
    low_byte_first_ = marker->front() == '$';
    marker_ = std::move(*marker);
    end_of_id_ = std::move(*end_of_id);
  }
}

std::size_t LabelSubstitution::take(std::string_view bytes, bool is_last, std::string& result) {
  const auto result_begin = result.size();
  std::size_t taken = 0;
  for (auto marker = find_marker(bytes, 0); marker != npos; marker = find_marker(bytes, taken)) {
    const auto number = marker + marker_.size();
    const auto end = end_of_number(bytes, number);
    if (!is_last && bytes.size() - end < end_of_id_.size()) {
      result.append(bytes, taken, marker - taken);
      return marker;
    }
    const bool has_end = bytes.substr(end, end_of_id_.size()) == end_of_id_;
    const auto id = has_end ? id_of(bytes.substr(number, end - number)) : std::nullopt;
    result.append(bytes, taken, (id ? marker : number) - taken);
    taken = number;
    if (id) {
      append_label(*id, result);
      taken = end + end_of_id_.size();
    }
    if (result.size() - result_begin >= enough) {
      return taken;
    }
  }
  // A marker may have begun at the end.
  const auto kept = is_last || marker_.empty() ? 0 : marker_.size() - 1;
  auto end = std::max(bytes.size(), taken + kept) - kept;
  end -= is_last ? 0 : end % unit_;
  result.append(bytes, taken, end - taken);
  return end;
}

std::size_t LabelSubstitution::find_marker(std::string_view bytes, std::size_t start) const {
  if (marker_.empty()) {
    return npos;
  }
  // Single bytes are found by their first one, which is rare.
  return unit_ == 1 ? bytes.find(marker_, start) : find_on_unit(bytes, marker_, start, unit_);
}

/// The end of the characters from `at` on that may stand in a number: no others belong to an ID.
std::size_t LabelSubstitution::end_of_number(std::string_view bytes, std::size_t at) const {
  while (at + unit_ <= bytes.size() && may_stand_in_number(ascii_at(bytes, at))) {
    at += unit_;
  }
  return at;
}

/// The character at a place; NUL for one that is not ASCII.
char LabelSubstitution::ascii_at(std::string_view bytes, std::size_t at) const {
  if (unit_ == 1) {
    return bytes[at];
  }
  const char low = bytes[low_byte_first_ ? at : at + 1];
  const char high = bytes[low_byte_first_ ? at + 1 : at];
  return high == 0 ? low : '\0';
}

std::optional<std::int16_t> LabelSubstitution::id_of(std::string_view number) const {
  if (unit_ == 1) {
    return label_id(number);
  }
  std::string ascii;
  for (std::size_t at = 0; at < number.size(); at += unit_) {
    ascii += ascii_at(number, at);
  }
  return label_id(ascii);
}

void LabelSubstitution::append_label(std::int16_t id, std::string& result) {
  if (!labels_.in_range(id)) {
    result.append(text_of(id));
    return;
  }
  resolved_ = true;
  auto& encoded = encoded_.at(labels_.index_of(id));
  if (!encoded) {
    encoded = text_of(id);
  }
  result.append(*encoded);
}

std::string LabelSubstitution::text_of(std::int16_t id) const {
  if (labels_.in_range(id)) {
    const auto& label = labels_.LabelTable.at(labels_.index_of(id));
    if (label.find_first_not_of(' ') != npos) {
      return encoding_.encode_with_references(document_text(id, label));
    }
  }
  return encoding_.encode_with_references("Unknown" + std::to_string(id));
}

std::string SubstituteLabelReferences(std::string_view text, const LoadedLabels& labels,
                                      const TextEncoding& encoding) {
  LabelSubstitution substitution(labels, encoding);
  std::string result;
  while (!text.empty()) {
    text.remove_prefix(substitution.take(text, true, result));
  }
  return substitution.resolved() ? result : std::string(no_reference_resolved);
}

std::string SubstituteLabelReferences(std::string_view text, const LoadedLabels& labels) {
  return SubstituteLabelReferences(text, labels, TextEncoding::of_first_bytes({}));
}

}  // namespace importkcd
