#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace importkcd {

/// The items of an OLE DB or ODBC connection string, in their order.
class ConnectionItems {
 public:
  /// Values may stand in single or double quotes, doubled inside, or in braces, the closing one
  /// doubled inside. What comes without a value has an empty one.
  explicit ConnectionItems(std::string_view connection_string);

  /// The value of the first item with one of these keys, in the order of the keys, whatever their
  /// letter case; empty when there is none.
  std::string value(std::initializer_list<std::string_view> keys) const;

 private:
  std::vector<std::pair<std::string, std::string>> items_;
};

}  // namespace importkcd
