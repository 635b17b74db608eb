#include "mondrian/sql/sql_text.h"

#include <algorithm>
#include <utility>

#include "base/name_folding.h"
#include "base/quoting.h"
#include "base/text.h"

namespace importkcd {
namespace {

constexpr std::string_view sql_blanks = " \t\r\n\f\v";
constexpr std::string_view digits = "0123456789";

/// Characters beyond ASCII belong to names.
bool begins_bare_name(char c) {
  return is_ascii_letter(c) || c == '_' || c == '@' || c == '#' ||
         static_cast<unsigned char>(c) >= 0x80;
}

bool continues_bare_name(char c) { return begins_bare_name(c) || is_ascii_digit(c) || c == '$'; }

bool begins_quoted_name(char c) { return c == '"' || c == '`' || c == '['; }

/// Walks over an SQL text.
class SqlScanner {
 public:
  explicit SqlScanner(std::string_view text) : rest_(text) {}

  /// Whether all of the text came apart.
  bool scan(SqlText& result) {
    bool blank = skip_blanks();
    while (!rest_.empty() && !failed_) {
      auto token = next();
      token.after_blank = blank;
      result.push_back(std::move(token));
      blank = skip_blanks();
    }
    return !failed_;
  }

 private:
  bool skip_blanks() {
    const auto before = rest_.size();
    for (auto size = rest_.size() + 1; size != rest_.size();) {
      size = rest_.size();
      rest_.remove_prefix(std::min(rest_.find_first_not_of(sql_blanks), rest_.size()));
      skip_comment("--", "\n");
      skip_comment("/*", "*/");
    }
    return rest_.size() != before;
  }

  void skip_comment(std::string_view opening, std::string_view closing) {
    if (rest_.starts_with(opening)) {
      const auto end = rest_.find(closing, opening.size());
      rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + closing.size());
    }
  }

  SqlToken next() {
    const char c = rest_.front();
    if (c == '\'') {
      return SqlToken{SqlToken::Kind::string, {}, in_quotes(quoted(), '\'')};
    }
    if (begins_quoted_name(c) || begins_bare_name(c)) {
      return path();
    }
    if (digits.find(c) != std::string_view::npos) {
      return SqlToken{SqlToken::Kind::number, {}, number()};
    }
    return SqlToken{SqlToken::Kind::symbol, {}, symbol()};
  }

  SqlToken path() {
    SqlToken token{SqlToken::Kind::path, {}, {}};
    token.path.push_back(name());
    while (!failed_ && next_is_point()) {
      rest_.remove_prefix(rest_.find('.') + 1);
      skip_blanks();
      token.path.push_back(name());
    }
    return token;
  }

  /// Whether a point and another name follow; "table.*" is no name.
  bool next_is_point() const {
    const auto at = rest_.find_first_not_of(sql_blanks);
    if (at == std::string_view::npos || rest_[at] != '.') {
      return false;
    }
    const auto after = rest_.find_first_not_of(sql_blanks, at + 1);
    return after != std::string_view::npos &&
           (begins_bare_name(rest_[after]) || begins_quoted_name(rest_[after]));
  }

  SqlName name() {
    if (begins_quoted_name(rest_.front())) {
      return {quoted(), true};
    }
    const auto end = std::find_if_not(rest_.begin(), rest_.end(), continues_bare_name);
    const auto length = static_cast<std::size_t>(end - rest_.begin());
    return {take(length), false};
  }

  std::string quoted() {
    auto text = take_quoted_text(rest_);
    failed_ = failed_ || !text;
    return std::move(text).value_or("");
  }

  std::string number() {
    const auto end = rest_.find_first_not_of("0123456789.", 0);
    auto length = std::min(end, rest_.size());
    if (length < rest_.size() && (rest_[length] == 'e' || rest_[length] == 'E')) {
      const auto sign = rest_.find_first_of("+-", length + 1) == length + 1 ? 1U : 0U;
      const auto exponent_end =
          std::min(rest_.find_first_not_of(digits, length + 1 + sign), rest_.size());
      length = exponent_end > length + 1 + sign ? exponent_end : length;
    }
    return take(length);
  }

  std::string symbol() {
    for (const std::string_view two : {"<>", "<=", ">=", "!=", "||", "*=", "=*", "::"}) {
      if (rest_.starts_with(two)) {
        return take(two.size());
      }
    }
    return take(1);
  }

  std::string take(std::size_t length) {
    std::string taken(rest_.substr(0, length));
    rest_.remove_prefix(length);
    return taken;
  }

  std::string_view rest_;
  bool failed_ = false;
};

/// Drops "{oj" and its closing brace.
void drop_join_escapes(SqlText& text) {
  std::vector<bool> dropped_brackets;
  SqlText kept;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (is_symbol(text[i], "{")) {
      const bool escape = i + 1 < text.size() && is_word(text[i + 1], "OJ");
      dropped_brackets.push_back(escape);
      if (escape) {
        ++i;
        continue;
      }
    } else if (is_symbol(text[i], "}") && !dropped_brackets.empty()) {
      const bool escape = dropped_brackets.back();
      dropped_brackets.pop_back();
      if (escape) {
        continue;
      }
    }
    kept.push_back(std::move(text[i]));
  }
  text = std::move(kept);
}

std::string path_as_it_was(DatabaseKind kind, const SqlPath& path) {
  std::string result;
  for (const auto& name : path) {
    result.append(result.empty() ? "" : ".");
    result.append(name.is_quoted ? quoted_name(kind, name.text) : name.text);
  }
  return result;
}

}  // namespace

std::string known_name(DatabaseKind kind, const SqlName& name) {
  if (name.is_quoted) {
    return name.text;
  }
  // Databases fold bare names by ASCII letters only.
  switch (kind) {
    case DatabaseKind::postgresql:
      return ascii_lower_cased(name.text);
    case DatabaseKind::upper_case:
      return ascii_upper_cased(name.text);
    case DatabaseKind::mariadb:
    case DatabaseKind::sql_server:
    case DatabaseKind::unknown:
      break;
  }
  return name.text;
}

std::string quoted_name(DatabaseKind kind, std::string_view known_name) {
  return in_quotes(known_name, kind == DatabaseKind::mariadb ? '`' : '"');
}

bool same_known_name(DatabaseKind kind, std::string_view left, std::string_view right) {
  const bool case_counts = kind == DatabaseKind::postgresql || kind == DatabaseKind::upper_case;
  return case_counts ? left == right : same_name(left, right);
}

std::string sql_string(std::string_view text) { return in_quotes(text, '\''); }

std::optional<SqlText> parse_sql_text(std::string_view text) {
  SqlText result;
  if (!SqlScanner(text).scan(result)) {
    return std::nullopt;
  }
  drop_join_escapes(result);
  return result;
}

bool is_word(const SqlToken& token, std::string_view word) {
  return token.kind == SqlToken::Kind::path && token.path.size() == 1 && !token.path[0].is_quoted &&
         same_name(token.path[0].text, word);
}

bool is_symbol(const SqlToken& token, std::string_view symbol) {
  return token.kind == SqlToken::Kind::symbol && token.text == symbol;
}

std::string sql_text(DatabaseKind kind, const SqlText& text, const PathWriter& name) {
  std::string result;
  for (const auto& token : text) {
    result.append(!result.empty() && token.after_blank ? " " : "");
    if (token.kind == SqlToken::Kind::path) {
      const auto written = name ? name(token.path) : std::nullopt;
      result.append(written ? *written : path_as_it_was(kind, token.path));
    } else {
      result.append(token.text);
    }
  }
  return result;
}

}  // namespace importkcd
