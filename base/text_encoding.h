#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace importkcd {

/// The encoding in which a document's text is written, as far as searching and replacing text in it
/// needs: the width and order of its code units and, where a unit is a byte, the declared encoding.
class TextEncoding {
 public:
  /// Judges by a byte order mark, or by how the first "<" is written. `first_bytes` are the first
  /// three bytes of the document (fewer when it is shorter).
  static TextEncoding of_first_bytes(std::string_view first_bytes);

  /// Takes over the encoding that an XML declaration at the beginning of `text` names. Changes
  /// nothing when there is none, when it is unknown, when it cannot be the text's encoding because
  /// its code units have another width, and after a byte order mark, which says more. Of the text
  /// only the first `declaration_size` bytes count; no declaration needs so many.
  static constexpr std::size_t declaration_size = 1024;
  void take_declaration(std::string_view text);

  /// "UTF-8", "UTF-16LE", ... or the name that the document declares.
  const std::string& name() const { return name_; }

  /// Bytes of a code unit: 1 or 2.
  std::size_t unit() const { return unit_; }

  /// Bytes of the byte order mark; 0 when there is none.
  std::size_t byte_order_mark() const { return byte_order_mark_; }

  /// What the declaration says, if it was looked at and holds the name of an encoding.
  const std::string& declared() const { return declared_; }

  /// Whether bytes that look like the code units of a character may be part of others, as in
  /// Shift_JIS or ISO-2022-JP: there no text can be searched for its bytes.
  bool hides_characters() const;

  /// The bytes of a UTF-8 text in this encoding; nothing when it holds a character that the
  /// encoding lacks.
  std::optional<std::string> encode(std::string_view text) const;

  /// The same, with numeric character references in place of characters that the encoding lacks.
  std::string encode_with_references(std::string_view text) const;

 private:
  TextEncoding(std::string name, std::size_t unit, std::size_t byte_order_mark)
      : name_(std::move(name)), unit_(unit), byte_order_mark_(byte_order_mark) {}

  bool is_utf8() const;

  std::string name_;
  std::string declared_;
  std::size_t unit_;
  std::size_t byte_order_mark_;
};

/// The first place at or after `start`, a multiple of `unit`, where `wanted` stands in `text`;
/// npos when there is none. `start` is a multiple of `unit`, `wanted` is not empty.
std::size_t find_on_unit(std::string_view text, std::string_view wanted, std::size_t start,
                         std::size_t unit);

/// UTF-8 as UTF-16 in the computer's byte order; what is no UTF-8 becomes U+FFFD, byte by byte.
std::u16string utf16_text(std::string_view text);

/// The way back; a surrogate without its partner becomes U+FFFD.
std::string utf8_text(std::u16string_view text);

}  // namespace importkcd
