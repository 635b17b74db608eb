#include "frontend/datawarehouse_connect_string.h"

#include <string_view>

#include "base/name_folding.h"
#include "base/quoting.h"

namespace importkcd {
namespace {

std::string quoted_where_needed(std::string_view value) {
  const bool plain = value.empty() || (value.find_first_of(";\"'") == std::string_view::npos &&
                                       value.front() != ' ' && value.back() != ' ');
  return plain ? std::string(value) : in_quotes(value, '"');
}

void add_property(std::string& text, std::string_view name, std::string_view value) {
  if (!text.empty()) {
    text += ';';
  }
  text.append(name).append("=").append(quoted_where_needed(value));
}

}  // namespace

std::string BuildDatawarehouseConnectString(const std::string& server,
                                            const std::string& computer_name,
                                            const HiddenSettings& settings) {
  std::string text;
  add_property(text, "Provider", "SQLOLEDB.1");
  add_property(text, "Data Source", lower_cased(server) == "(local)" ? computer_name : server);
  add_property(text, "Persist Security Info", "True");
  if (settings.DwTrusted) {
    add_property(text, "Integrated Security", "SSPI");
  } else {
    add_property(text, "User ID", settings.DwUser.empty() ? "sa" : settings.DwUser);
    add_property(text, "Password", settings.DwPassword);
  }
  add_property(text, "Initial Catalog", settings.DwDatabase);
  return text;
}

}  // namespace importkcd
