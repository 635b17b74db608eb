#include "servers/catalogue/row_values.h"

namespace importkcd {

std::vector<std::string> read_texts(SQLite::Statement& query) {
  std::vector<std::string> result;
  while (query.executeStep()) {
    result.push_back(query.getColumn(0).getString());
  }
  return result;
}

}  // namespace importkcd
