#include "importer/connection_string.h"

namespace importkcd {

std::string RewriteConnectionString(const ImportOptions& options,
                                    std::string_view connection_string) {
  if (!options.datawarehouse_connectstring.empty()) {
    return options.datawarehouse_connectstring;
  }
  if (!options.data_source_name.empty()) {
    return ReplaceConnectionItem(connection_string, "Data Source", options.data_source_name);
  }
  return std::string(connection_string);
}

std::string ReplaceConnectionItem(std::string_view text, std::string_view key,
                                  std::string_view value) {
  const auto at = text.find(key);
  if (key.empty() || at == std::string_view::npos) {
    return std::string(text);
  }
  // The key's last character is searched too: a key that ends with ";" ends its own item.
  const auto item_end = text.find(';', at + key.size() - 1);
  if (item_end != std::string_view::npos && item_end + 1 < text.size()) {
    return std::string(text.substr(item_end));
  }
  return std::string(text.substr(0, at)).append(key).append("=").append(value);
}

}  // namespace importkcd
