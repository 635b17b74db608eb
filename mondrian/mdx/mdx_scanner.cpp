#include "mondrian/mdx/mdx_scanner.h"

#include <algorithm>
#include <array>

#include "base/name_folding.h"
#include "base/quoting.h"
#include "base/text.h"

namespace importkcd {
namespace {

using Kind = MdxToken::Kind;

constexpr std::string_view ends_of_bare_names = " \t\r\n.,()[]{}+-*/<>='\";:";

bool is_mdx_digit(char c) { return c >= '0' && c <= '9'; }

/// Characters beyond ASCII belong to words.
bool begins_mdx_word(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

std::optional<std::string> take_mdx_name(std::string_view& text) {
  if (text.starts_with('[')) {
    return take_quoted_text(text);
  }
  const auto length = std::min(text.find_first_of(ends_of_bare_names), text.size());
  std::string name(text.substr(0, length));
  text.remove_prefix(length);
  return name.empty() ? std::nullopt : std::optional(name);
}

}  // namespace

MdxToken MdxScanner::next() {
  skip_blanks_and_comments();
  MdxToken token;
  token.begin = at_;
  if (at_ < text_.size()) {
    token.kind = take(peek());
    token.text = meaning(token.kind, text_.substr(token.begin, at_ - token.begin));
  }
  token.end = at_;
  return token;
}

void MdxScanner::skip_blanks_and_comments() {
  for (std::size_t before = text_.size() + 1; before != at_;) {
    before = at_;
    at_ = std::min(text_.find_first_not_of(" \t\r\n\f", at_), text_.size());
    skip_comment("--", "\n");
    skip_comment("//", "\n");
    skip_comment("/*", "*/");
  }
}

void MdxScanner::skip_comment(std::string_view opening, std::string_view closing) {
  if (text_.substr(at_).starts_with(opening)) {
    const auto end = text_.find(closing, at_ + opening.size());
    at_ = end == std::string_view::npos ? text_.size() : end + closing.size();
  }
}

/// Goes to the end of the piece that begins with `first`.
Kind MdxScanner::take(char first) {
  if (first == '[' || first == '"' || first == '\'') {
    const auto end = end_of_quotes(text_, at_);
    at_ = std::min(end, text_.size());
    if (end == std::string_view::npos) {
      return Kind::unclosed;
    }
    return first == '[' ? Kind::bracketed : Kind::string;
  }
  if (is_mdx_digit(first) || (first == '.' && is_mdx_digit(peek(1)))) {
    skip_number();
    return Kind::number;
  }
  if (begins_mdx_word(first)) {
    while (begins_mdx_word(peek()) || is_mdx_digit(peek()) || peek() == '$') {
      ++at_;
    }
    return Kind::word;
  }
  skip_symbol();
  return Kind::symbol;
}

void MdxScanner::skip_number() {
  const auto skip_digits = [this] {
    while (is_mdx_digit(peek())) {
      ++at_;
    }
  };
  skip_digits();
  at_ += peek() == '.' && !begins_mdx_word(peek(1)) ? 1 : 0;
  skip_digits();
  const auto sign = peek(1) == '+' || peek(1) == '-' ? 1U : 0U;
  if ((peek() == 'e' || peek() == 'E') && is_mdx_digit(peek(1 + sign))) {
    at_ += 1 + sign;
    skip_digits();
  }
}

void MdxScanner::skip_symbol() {
  constexpr std::array<std::string_view, 4> pairs{"<>", "<=", ">=", "||"};
  const auto next_two = text_.substr(at_, 2);
  at_ += std::find(pairs.begin(), pairs.end(), next_two) != pairs.end() ? 2 : 1;
}

std::string MdxScanner::meaning(Kind kind, std::string_view written) {
  switch (kind) {
    case Kind::bracketed:
      return undoubled(written.substr(1, written.size() - 2), ']');
    case Kind::word:
      return lower_cased(written);
    case Kind::symbol:
      return std::string(written);
    case Kind::number:
    case Kind::string:
    case Kind::unclosed:
    case Kind::end:
      break;
  }
  return {};
}

char MdxScanner::peek(std::size_t ahead) const {
  return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
}

std::string mdx_name(std::string_view name) { return in_quotes(name, '['); }

std::string mdx_path(const std::vector<std::string>& names) {
  std::string result;
  for (const auto& name : names) {
    result.append(result.empty() ? "" : ".").append(mdx_name(name));
  }
  return result;
}

std::optional<std::vector<std::string>> take_mdx_path(std::string_view& text) {
  const auto skip_blanks = [&text] {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  };
  std::vector<std::string> names;
  for (bool more = true; more;) {
    skip_blanks();
    auto name = take_mdx_name(text);
    if (!name) {
      return std::nullopt;
    }
    names.push_back(std::move(*name));
    skip_blanks();
    more = text.starts_with('.');
    text.remove_prefix(more ? 1 : 0);
  }
  return names;
}

}  // namespace importkcd
