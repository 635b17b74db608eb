#include "mondrian/sql/sql_names.h"

#include "base/name_folding.h"
#include "base/quoting.h"

namespace importkcd {

std::string known_name(DatabaseKind kind, const SqlName& name) {
  if (name.is_quoted) {
    return name.text;
  }
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

}  // namespace importkcd
