#pragma once

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

}  // namespace importkcd
