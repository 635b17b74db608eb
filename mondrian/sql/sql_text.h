#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace importkcd {

/// How a database treats names; decides how names are written for the engine, which puts every
/// name in quotes.
enum class DatabaseKind {
  /// Bare names mean lower-case ones; letter case counts.
  postgresql,
  /// Names are put in backticks and keep their letters; letter case is passed over.
  mariadb,
  /// Names keep their letters; letter case is passed over.
  sql_server,
  /// Bare names mean upper-case ones (the SQL standard); letter case counts.
  upper_case,
  /// Nothing is known: names keep their letters, and letter case is passed over.
  unknown,
};

/// A name as a clause writes it: bare, or in double quotes, brackets or backticks.
struct SqlName {
  /// Without its quotes, which are undoubled.
  std::string text;
  bool is_quoted = false;
};

/// The parts of a name joined by points, such as schema, table and column.
using SqlPath = std::vector<SqlName>;

/// The name that the database knows: a bare one as the database folds it, a quoted one as it is.
std::string known_name(DatabaseKind kind, const SqlName& name);

/// The name in the quotes of the database, doubled inside.
std::string quoted_name(DatabaseKind kind, std::string_view known_name);

/// Whether two known names may be the same to the database.
bool same_known_name(DatabaseKind kind, std::string_view left, std::string_view right);

/// A text as an SQL string.
std::string sql_string(std::string_view text);

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
