#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mondrian/sql/sql_names.h"

namespace importkcd {

/// One piece of an SQL text.
struct SqlToken {
  enum class Kind {
    /// One or more names joined by points: a column, a table, a function, a keyword.
    path,
    /// A string in apostrophes, as it stands.
    string,
    /// A number.
    number,
    /// An operator or a bracket.
    symbol,
  };
  Kind kind = Kind::symbol;
  SqlPath path;
  /// The text of anything but a path.
  std::string text;
  /// Whether blanks or a comment stood in front of it.
  bool after_blank = false;
};

using SqlText = std::vector<SqlToken>;

/// Takes an SQL text apart; comments are dropped, as is the ODBC escape "{oj ...}" around a join.
/// Nothing when a quote is not closed.
std::optional<SqlText> parse_sql_text(std::string_view text);

/// Whether the token is a single bare word, such as a keyword, in any letter case. `word` is in
/// upper case.
bool is_word(const SqlToken& token, std::string_view word);

bool is_symbol(const SqlToken& token, std::string_view symbol);

/// Puts a text together again. `name` gives the text of a path, or nothing for a path that stays
/// as it was: bare words bare, the others in the quotes of the database.
using PathWriter = std::function<std::optional<std::string>(const SqlPath&)>;
std::string sql_text(DatabaseKind kind, const SqlText& text, const PathWriter& name);

}  // namespace importkcd
