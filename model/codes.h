#pragma once

#include <cstdint>

namespace importkcd {

/// The numeric codes of the OLAP server's object model. They are stored and shown as numbers; a
/// document's words for them are in vocabularies.h.

enum class OlapClassType : std::int32_t {
  server = 1,
  database = 2,
  cube_own_dimension = 7,
  measure = 10,
  cube_dimension = 11,
  calculated_member = 13,
};

enum class OlapDimensionType : std::int32_t { regular = 0, time = 1, quantitative = 5 };

enum class OlapLevelType : std::int32_t {
  regular = 0,
  all = 1,
  time_years = 20,
  time_half_years = 36,
  time_quarters = 68,
  time_months = 132,
  time_weeks = 260,
  time_days = 516,
  time_hours = 772,
  time_minutes = 1028,
  time_seconds = 2052,
};

enum class OlapOrdering : std::int32_t { name = 0, key = 1 };

enum class OlapMode : std::int32_t {
  molap = 0,
  hybrid = 1,
  rolap_aggregations = 3,
  rolap = 15,
};

enum class OlapAggregateFunction : std::int32_t { sum = 0, count = 1, min = 2, max = 3 };

/// The sub-class code of a cube; it is also the state code that a cube reports.
enum class OlapCubeKind : std::int32_t { regular = 0, is_virtual = 1 };

/// Where a database dimension comes from.
enum class OlapDimensionKind : std::int32_t {
  shared = 0,
  /// Defined inside one cube; it is removed when that cube stops using it.
  is_private = 1,
  is_virtual = 2,
};

}  // namespace importkcd
