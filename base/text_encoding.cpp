#include "base/text_encoding.h"

#include <iconv.h>
#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "base/name_folding.h"
#include "base/text.h"

namespace importkcd {
namespace {

using namespace std::string_view_literals;

struct UnicodeForm {
  std::string_view first_bytes;
  const char* name;
  std::size_t unit;
  std::size_t byte_order_mark;
};

constexpr std::array unicode_forms = {
    UnicodeForm{"\xEF\xBB\xBF"sv, "UTF-8", 1, 3}, UnicodeForm{"\xFF\xFE"sv, "UTF-16LE", 2, 2},
    UnicodeForm{"\xFE\xFF"sv, "UTF-16BE", 2, 2},  UnicodeForm{"<\0"sv, "UTF-16LE", 2, 0},
    UnicodeForm{"\0<"sv, "UTF-16BE", 2, 0},
};

/// A conversion of the C library, if it knows both encodings.
class IconvHandle {
 public:
  IconvHandle(const std::string& to, const std::string& from)
      : handle_(iconv_open(to.c_str(), from.c_str())) {}
  ~IconvHandle() {
    if (known()) {
      iconv_close(handle_);
    }
  }
  IconvHandle(const IconvHandle&) = delete;
  IconvHandle& operator=(const IconvHandle&) = delete;

  bool known() const {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): this is how iconv_open tells a failure.
    return handle_ != reinterpret_cast<iconv_t>(-1);
  }
  iconv_t get() const { return handle_; }

 private:
  iconv_t handle_;
};

/// Converts characters one by one, to see which of them an encoding lacks.
class Converter {
 public:
  explicit Converter(const std::string& to, const std::string& from = "UTF-8")
      : handle_(to, from) {}

  bool known() const { return handle_.known(); }

  std::optional<std::string> convert(std::string_view character) {
    if (!known()) {
      return std::nullopt;
    }
    std::string in(character);
    std::array<char, 16> out{};
    char* from = in.data();
    char* to = out.data();
    std::size_t from_left = in.size();
    std::size_t to_left = out.size();
    iconv(handle_.get(), nullptr, nullptr, nullptr, nullptr);
    if (iconv(handle_.get(), &from, &from_left, &to, &to_left) == static_cast<std::size_t>(-1)) {
      return std::nullopt;
    }
    return std::string(out.data(), out.size() - to_left);
  }

 private:
  IconvHandle handle_;
};

constexpr std::int32_t replacement_character = 0xFFFD;

std::string reference(const Character& character) {
  return "&#" + std::to_string(character.code < 0 ? replacement_character : character.code) + ";";
}

/// Converts all characters; `if_lacking` gives the UTF-8 text to put in a lacking one's place, or
/// nothing to give up.
template <class IfLacking>
std::optional<std::string> convert_all(const std::string& encoding, std::string_view text,
                                       IfLacking if_lacking) {
  Converter converter(encoding);
  std::string result;
  while (!text.empty()) {
    const auto character = take_character(text);
    if (auto bytes = converter.convert(character.bytes)) {
      result += *bytes;
      continue;
    }
    const std::optional<std::string> instead = if_lacking(character);
    if (!instead) {
      return std::nullopt;
    }
    for (const char& c : *instead) {
      result += converter.convert({&c, 1}).value_or("");
    }
  }
  return result;
}

/// Whether a byte means the ASCII character in an encoding, at the beginning of a text. To write
/// the character may take more, as an announcement in front of it.
bool reads_as_itself(char byte, const std::string& encoding) {
  Converter converter("UTF-8", encoding);
  return converter.known() && converter.convert({&byte, 1}) == std::string(1, byte);
}

/// Whether no byte of an encoding needs others beside it to mean something. One that means nothing
/// at all counts as well.
bool every_byte_is_a_character(const std::string& encoding) {
  const IconvHandle handle("UTF-8", encoding);
  for (int byte = 0; handle.known() && byte < 256; ++byte) {
    char in = static_cast<char>(byte);
    char* from = &in;
    std::size_t from_left = 1;
    std::array<char, 16> out{};
    char* to = out.data();
    std::size_t to_left = out.size();
    iconv(handle.get(), nullptr, nullptr, nullptr, nullptr);
    errno = 0;
    if (iconv(handle.get(), &from, &from_left, &to, &to_left) == static_cast<std::size_t>(-1) &&
        errno == EINVAL) {
      return false;
    }
  }
  return true;
}

/// The value of the declaration's pseudo attribute `encoding`; empty when there is none.
std::string_view declared_encoding(std::string_view text) {
  constexpr std::string_view beginning = "<?xml";
  if (text.substr(0, beginning.size()) != beginning) {
    return {};
  }
  auto rest = text.substr(beginning.size(), text.find("?>") - beginning.size());
  constexpr std::string_view attribute = "encoding";
  const auto skip_white_space = [&rest] {
    rest.remove_prefix(std::min(rest.find_first_not_of(blanks), rest.size()));
  };
  rest.remove_prefix(std::min(rest.find(attribute), rest.size()));
  rest.remove_prefix(std::min(attribute.size(), rest.size()));
  skip_white_space();
  if (rest.substr(0, 1) != "=") {
    return {};
  }
  rest.remove_prefix(1);
  skip_white_space();
  if (rest.empty() || (rest.front() != '"' && rest.front() != '\'')) {
    return {};
  }
  const auto end = rest.find(rest.front(), 1);
  return end == std::string_view::npos ? std::string_view() : rest.substr(1, end - 1);
}

/// Anything else would mean more to iconv than a name.
bool is_encoding_name(std::string_view name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
    return is_ascii_letter(c) || is_ascii_digit(c) || c == '.' || c == '_' || c == '-';
  });
}

constexpr std::int32_t first_of_two_units = 0x10000;
constexpr std::int32_t first_surrogate = 0xD800;
constexpr std::int32_t first_low_surrogate = 0xDC00;
constexpr std::int32_t behind_surrogates = 0xE000;
constexpr int low_bits = 10;

bool is_surrogate(std::int32_t unit) { return unit >= first_surrogate && unit < behind_surrogates; }

void append_utf8(std::string& result, std::int32_t code) {
  std::array<utf8proc_uint8_t, 4> bytes{};
  const auto length = utf8proc_encode_char(code, bytes.data());
  result.append(bytes.begin(), bytes.begin() + length);
}

}  // namespace

TextEncoding TextEncoding::of_first_bytes(std::string_view first_bytes) {
  for (const auto& form : unicode_forms) {
    if (first_bytes.substr(0, form.first_bytes.size()) == form.first_bytes) {
      return {form.name, form.unit, form.byte_order_mark};
    }
  }
  return {"UTF-8", 1, 0};
}

void TextEncoding::take_declaration(std::string_view text) {
  if (unit_ != 1 || byte_order_mark_ != 0) {
    return;
  }
  const std::string declared(declared_encoding(text.substr(0, declaration_size)));
  if (!is_encoding_name(declared)) {
    return;
  }
  declared_ = declared;
  Converter converter(declared);
  // A declaration that could be read byte by byte is no UTF-16 and the like, whatever it says.
  if (converter.known() && converter.convert("<") == "<") {
    name_ = declared;
  }
}

bool TextEncoding::is_utf8() const { return same_name(name_, "UTF-8"); }

bool TextEncoding::hides_characters() const {
  constexpr std::string_view euro_sign = "\xE2\x82\xAC";
  return !declared_.empty() && reads_as_itself('<', declared_) &&
         Converter(declared_).convert(euro_sign) != euro_sign &&  // UTF-8 has several names
         !every_byte_is_a_character(declared_);
}

std::optional<std::string> TextEncoding::encode(std::string_view text) const {
  if (is_utf8()) {
    return std::string(text);
  }
  return convert_all(name_, text, [](const Character&) { return std::nullopt; });
}

std::string TextEncoding::encode_with_references(std::string_view text) const {
  if (is_utf8()) {
    return std::string(text);
  }
  return convert_all(name_, text, [](const Character& c) { return reference(c); }).value_or("");
}

std::size_t find_on_unit(std::string_view text, std::string_view wanted, std::size_t start,
                         std::size_t unit) {
  while (start < text.size()) {
    const auto rest = text.substr(start);
    const void* const found = wanted.size() == 1
                                  ? std::memchr(rest.data(), wanted.front(), rest.size())
                                  : memmem(rest.data(), rest.size(), wanted.data(), wanted.size());
    if (found == nullptr) {
      return std::string_view::npos;
    }
    const auto at = static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
    if (at % unit == 0) {
      return at;
    }
    start = at + 1;
  }
  return std::string_view::npos;
}

std::u16string utf16_text(std::string_view text) {
  std::u16string result;
  result.reserve(text.size());
  while (!text.empty()) {
    auto code = take_character(text).code;
    code = code < 0 ? replacement_character : code;
    if (code < first_of_two_units) {
      result += static_cast<char16_t>(code);
      continue;
    }
    code -= first_of_two_units;
    result += static_cast<char16_t>(first_surrogate + (code >> low_bits));
    result += static_cast<char16_t>(first_low_surrogate + (code & ((1 << low_bits) - 1)));
  }
  return result;
}

std::string utf8_text(std::u16string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::int32_t unit = text[i];
    const std::int32_t next = i + 1 < text.size() ? text[i + 1] : 0;
    if (!is_surrogate(unit)) {
      append_utf8(result, unit);
    } else if (unit < first_low_surrogate && is_surrogate(next) && next >= first_low_surrogate) {
      append_utf8(result, first_of_two_units + ((unit - first_surrogate) << low_bits) +
                              (next - first_low_surrogate));
      ++i;
    } else {
      append_utf8(result, replacement_character);
    }
  }
  return result;
}

}  // namespace importkcd
