// Any bytes as a whole file with label references, in the encoding that it shows or declares. The
// result is what the rules say, and a proper text of the encoding stays one.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/import_error.h"
#include "base/text_encoding.h"
#include "fuzz/fuzz_support.h"
#include "labels/label_references.h"
#include "labels/loaded_labels.h"

namespace {

using namespace importkcd;
using fuzz::require;

LoadedLabels some_labels() {
  LoadedLabels labels;
  labels.MinLabelID = -2;
  labels.MaxLabelID = 3;
  labels.loaded = true;
  labels.LabelTable = {"Year", "", "   ", "Men@#$%s Wear", "&#38;&#60;", "Größe \xE2\x82\xAC"};
  return labels;
}

/// The rules once more: one code unit after another, every text encoded where it is used.
class Model {
 public:
  Model(std::string_view text, const LoadedLabels& labels, const TextEncoding& encoding)
      : text_(text),
        labels_(labels),
        encoding_(encoding),
        marker_(encoded("$##")),
        end_of_id_(encoded("%")),
        low_byte_first_(marker_.front() == '$') {
    std::size_t at = 0;
    while (at < text.size()) {
      const auto taken = take_reference(at);
      if (taken == 0) {
        result_ += text.substr(at, encoding.unit());
      }
      at = std::min(at + std::max(taken, encoding.unit()), text.size());
    }
  }

  std::string result() const { return resolved_ ? result_ : std::string(no_reference_resolved); }

 private:
  std::string encoded(std::string_view text) const {
    return encoding_.encode_with_references(text);
  }
  bool stands_at(std::size_t at, const std::string& bytes) const {
    return text_.substr(std::min(at, text_.size()), bytes.size()) == bytes;
  }

  /// The text of the ID that begins at a place, up to its end; nothing when it has none.
  std::optional<std::string> id_text(std::size_t& at) const {
    std::string id;
    for (; at < text_.size(); at += encoding_.unit()) {
      if (stands_at(at, end_of_id_)) {
        return id;
      }
      if (stands_at(at, marker_)) {
        return std::nullopt;
      }
      const auto unit = text_.substr(at, encoding_.unit());
      const auto low = low_byte_first_ ? unit.front() : unit.back();
      const bool is_byte = unit.size() == 1 || (low_byte_first_ ? unit.back() : unit.front()) == 0;
      // Any letter makes the text no number.
      id += is_byte ? low : 'x';
    }
    return std::nullopt;
  }

  /// How many bytes the reference takes that stands at a place; 0: none does.
  std::size_t take_reference(std::size_t at) {
    if (!stands_at(at, marker_)) {
      return 0;
    }
    auto end = at + 3 * encoding_.unit();
    const auto text = id_text(end);
    const auto id = text ? label_id(*text) : std::nullopt;
    if (!id) {
      return 0;
    }
    const bool in_range = labels_.in_range(*id);
    resolved_ = resolved_ || in_range;
    const auto label = in_range ? labels_.LabelTable.at(labels_.index_of(*id)) : std::string();
    const bool is_blank = label.find_first_not_of(' ') == std::string::npos;
    result_ += encoded(is_blank ? "Unknown" + std::to_string(*id) : label);
    return end + encoding_.unit() - at;
  }

  std::string_view text_;
  const LoadedLabels& labels_;
  const TextEncoding& encoding_;
  std::string marker_;
  std::string end_of_id_;
  bool low_byte_first_;
  std::string result_;
  bool resolved_ = false;
};

/// Whether all surrogates stand in pairs, and no byte is left over.
bool is_utf16(std::string_view text, bool low_byte_first) {
  bool half = false;
  for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
    const auto high = static_cast<unsigned char>(text[low_byte_first ? at + 1 : at]);
    const bool is_second = high >= 0xDC && high <= 0xDF;
    if (half != is_second) {
      return false;
    }
    half = high >= 0xD8 && high <= 0xDB;
  }
  return !half && text.size() % 2 == 0;
}

bool is_proper(std::string_view text, const TextEncoding& encoding) {
  if (encoding.unit() == 2) {
    return is_utf16(text, encoding.name() == "UTF-16LE");
  }
  return encoding.name() != "UTF-8" || fuzz::is_utf8(text);
}

/// The same text in windows of some size, which grow when they do not suffice.
std::string result_in_windows(std::string_view text, std::size_t size, const LoadedLabels& labels,
                              const TextEncoding& encoding) {
  LabelSubstitution substitution(labels, encoding);
  std::string result;
  auto shown = size;
  while (!text.empty()) {
    const auto taken = substitution.take(text.substr(0, shown), shown > text.size(), result);
    require(taken <= std::min(shown, text.size()));
    shown = taken == 0 ? 2 * shown : size;
    text.remove_prefix(taken);
  }
  return substitution.resolved() ? result : std::string(no_reference_resolved);
}

void check(std::string_view text, const LoadedLabels& labels, const TextEncoding& encoding) {
  std::string result;
  try {
    result = SubstituteLabelReferences(text, labels, encoding);
  } catch (const ImportError&) {
    // An ID that does not fit in 16 bits.
    try {
      const Model model(text, labels, encoding);
      require(false);
    } catch (const ImportError&) {
      return;
    }
  }
  for (const std::size_t size : {1U, 2U, 7U, 64U}) {
    require(result == result_in_windows(text, size, labels, encoding));
  }
  if (!encoding.encode("$##%")) {
    require(result == no_reference_resolved);
    return;
  }
  require(result == Model(text, labels, encoding).result());
  if (result != no_reference_resolved && is_proper(text, encoding)) {
    require(is_proper(result, encoding));
  }
}

void check_without_labels(std::string_view text) {
  try {
    require(SubstituteLabelReferences(text, LoadedLabels{}) == no_reference_resolved);
  } catch (const ImportError&) {
    // The same.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto labels = some_labels();
  const std::string text(data, data + size);
  const std::string_view view = text;
  auto encoding = TextEncoding::of_first_bytes(view.substr(0, 3));
  encoding.take_declaration(view);
  check(view, labels, encoding);
  check_without_labels(view);
  return 0;
}
