#pragma once

#include <string>
#include <vector>

#include "base/xml_element.h"
#include "model/definitions.h"

namespace importkcd {

/// Where a value comes from: a column, or else an SQL expression.
struct ValueSource {
  std::string column;
  std::string expression;

  bool empty() const { return column.empty() && expression.empty(); }
  bool operator==(const ValueSource&) const = default;
};

/// Where the values of a level come from.
struct LevelValues {
  /// The table of all columns; empty when the dimension has only one.
  std::string table;
  ValueSource key;
  /// Empty when members are shown by their key.
  ValueSource name;
  /// The columns of the member properties, in their order.
  std::vector<std::string> properties;
};

/// What a level's place in its dimension says about it.
struct LevelPlace {
  bool in_time_dimension = false;
  /// No level but an "all" level is above it.
  bool is_top = false;
};

/// The element of a level that is not an "all" level.
XmlElement level_element(const OlapLevel& level, const LevelPlace& place,
                         const LevelValues& values);

/// The engine's name for a column type code.
std::string column_type_name(std::int16_t column_type);

}  // namespace importkcd
