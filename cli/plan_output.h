#pragma once

#include <iosfwd>
#include <string>

#include "comparison/import_plan.h"

namespace importkcd {

/// What was asked for.
struct PlanHeading {
  /// The server's text; passwords in it are masked.
  std::string server;
  /// "incremental", "replace", "update" or "sync".
  std::string mode;
};

/// Prints a plan for people: a line for the database, one or more for each object, and the counts.
void print_plan(const ImportPlan& planned, const PlanHeading& heading, std::ostream& out);

/// Prints it as one JSON object, whose form README describes: `{"format": "kcd-plan", "version": 1,
/// ...}`. Bytes that are not UTF-8 become U+FFFD.
void print_plan_json(const ImportPlan& planned, const PlanHeading& heading, std::ostream& out);

}  // namespace importkcd
