#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace importkcd {

/// One piece of an MDX expression.
struct MdxToken {
  enum class Kind : std::uint8_t {
    number,
    /// A text in single or double quotes.
    string,
    /// A name in brackets.
    bracketed,
    /// A bare name, the name of a function, or a keyword.
    word,
    /// An operator, a parenthesis, a point, or any other character.
    symbol,
    /// A quote or bracket that nothing closes, with all that follows it.
    unclosed,
    /// Behind the last piece.
    end,
  };
  Kind kind = Kind::end;
  /// A word in lower case, a name without its brackets, or a symbol; empty for the other kinds.
  std::string text;
  /// Where it stands in the expression: from `begin`, up to but not including `end`.
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// Takes an MDX expression apart, piece by piece. Blanks and comments ("--", "//" and "/* */") are
/// passed over. `text` outlives the scanner.
class MdxScanner {
 public:
  explicit MdxScanner(std::string_view text) : text_(text) {}

  /// The next piece; one of the kind `end` when there is none any more.
  MdxToken next();

 private:
  void skip_blanks_and_comments();
  void skip_comment(std::string_view opening, std::string_view closing);
  MdxToken::Kind take(char first);
  void skip_number();
  void skip_symbol();
  static std::string meaning(MdxToken::Kind kind, std::string_view written);
  char peek(std::size_t ahead = 0) const;

  std::string_view text_;
  std::size_t at_ = 0;
};

/// The dimension that every cube has and no document writes.
inline constexpr const char* measures_dimension = "Measures";

/// A name in brackets, closing ones doubled inside.
std::string mdx_name(std::string_view name);

/// Names in brackets, joined by points.
std::string mdx_path(const std::vector<std::string>& names);

/// Takes a path of names off the front of `text`, with the blanks around it. A name stands in
/// brackets or bare; a bare one may hold whatever does not end it, more than a word of an
/// expression. Nothing when the text does not begin with a name or a bracket is not closed.
std::optional<std::vector<std::string>> take_mdx_path(std::string_view& text);

}  // namespace importkcd
