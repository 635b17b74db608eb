#include "labels/label_references.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "labels/label_id.h"

namespace importkcd {
namespace {

constexpr auto npos = std::string_view::npos;

/// One walk over a text. All positions are multiples of the encoding's code unit.
class Substitution {
 public:
  /// `marker` and `end_of_id` are what a reference begins and ends with, in the encoding.
  Substitution(std::string_view text, const LoadedLabels& labels, const TextEncoding& encoding,
               std::string marker, std::string end_of_id)
      : text_(text),
        labels_(labels),
        encoding_(encoding),
        unit_(encoding.unit()),
        marker_(std::move(marker)),
        end_of_id_(std::move(end_of_id)),
        low_byte_first_(marker_.front() == '$'),
        encoded_(labels.LabelTable.size()) {}

  std::string run() {
    // Labels are longer than their references. Memory that is not needed is never touched.
    result_.reserve(2 * text_.size());
    auto marker = find_on_unit(text_, marker_, 0, unit_);
    result_.append(text_.substr(0, marker));
    while (marker != npos) {
      const auto begin = marker + marker_.size();
      marker = find_on_unit(text_, marker_, begin, unit_);
      append_piece(text_.substr(begin, marker == npos ? npos : marker - begin));
    }
    return resolved_ ? std::move(result_) : std::string(no_reference_resolved);
  }

 private:
  void append_piece(std::string_view piece) {
    const auto end = find_on_unit(piece, end_of_id_, 0, unit_);
    const auto id = end == npos ? std::nullopt : id_of(piece.substr(0, end));
    if (!id) {
      result_.append(marker_).append(piece);
      return;
    }
    append_label(*id);
    result_.append(piece.substr(end + end_of_id_.size()));
  }

  std::optional<std::int16_t> id_of(std::string_view bytes) const {
    if (unit_ == 1) {
      return label_id(bytes);
    }
    std::string ascii;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += unit_) {
      const char low = bytes[low_byte_first_ ? i : i + 1];
      const char high = bytes[low_byte_first_ ? i + 1 : i];
      if (high != 0) {
        return std::nullopt;
      }
      ascii += low;
    }
    return label_id(ascii);
  }

  void append_label(std::int16_t id) {
    if (!labels_.in_range(id)) {
      append_unknown(id);
      return;
    }
    resolved_ = true;
    const auto index = labels_.index_of(id);
    const auto& label = labels_.LabelTable.at(index);
    if (label.find_first_not_of(' ') == npos) {
      append_unknown(id);
      return;
    }
    auto& encoded = encoded_.at(index);
    if (!encoded) {
      encoded = encoding_.encode_with_references(label);
    }
    result_.append(*encoded);
  }

  void append_unknown(std::int16_t id) {
    result_.append(encoding_.encode_with_references("Unknown" + std::to_string(id)));
  }

  std::string_view text_;
  const LoadedLabels& labels_;
  const TextEncoding& encoding_;
  std::size_t unit_;
  std::string marker_;
  std::string end_of_id_;
  bool low_byte_first_;
  /// Each label is brought into the encoding once, however often it is used.
  std::vector<std::optional<std::string>> encoded_;
  std::string result_;
  bool resolved_ = false;
};

}  // namespace

std::string SubstituteLabelReferences(std::string_view text, const LoadedLabels& labels,
                                      const TextEncoding& encoding) {
  auto marker = encoding.encode("$##");
  auto end_of_id = encoding.encode("%");
  if (!marker || !end_of_id) {
    // National variants of ASCII have other characters in these places: no reference can be
    // written.
    return std::string(no_reference_resolved);
  }
  return Substitution(text, labels, encoding, std::move(*marker), std::move(*end_of_id)).run();
}

std::string SubstituteLabelReferences(std::string_view text, const LoadedLabels& labels) {
  return SubstituteLabelReferences(text, labels, TextEncoding::of_first_bytes({}));
}

}  // namespace importkcd
