#include "cli/plan_output.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string_view>
#include <vector>

#include "base/connection_text.h"
#include "base/text.h"
#include "cli/dataset_output.h"
#include "cli/text_tree.h"

namespace importkcd {
namespace {

using Json = nlohmann::ordered_json;
using Action = PlannedObject::Action;

constexpr int plan_version = 1;
/// Where the details begin, unless a name is longer.
constexpr std::size_t detail_column = 40;

char mark_of(Action action) {
  switch (action) {
    case Action::create:
      return '+';
    case Action::change:
      return '~';
    case Action::keep:
      return '=';
    case Action::remove:
      break;
  }
  return '-';
}

const char* action_word(Action action) {
  switch (action) {
    case Action::create:
      return "create";
    case Action::change:
      return "change";
    case Action::keep:
      return "keep";
    case Action::remove:
      break;
  }
  return "remove";
}

std::vector<std::string> details_of(const PlannedObject& object) {
  std::vector<std::string> result;
  if (object.action == Action::create) {
    std::vector<std::string> counts;
    for (const auto& [kind, count] : object.contents) {
      counts.push_back(counted(count, kind));
    }
    result.push_back(joined(counts, ", "));
  } else if (object.action == Action::keep) {
    result.push_back("not changed: " + object.reason + "; differs in " +
                     summary_of(object.differences));
  } else {
    for (const auto& difference : object.differences) {
      result.push_back(text_of(difference));
    }
  }
  return result;
}

void print_object(const PlannedObject& object, std::ostream& out) {
  std::string line = std::string("  ") + mark_of(object.action) + " " + std::string(object.kind) +
                     " '" + printable(object.name) + "'";
  for (const auto& detail : details_of(object)) {
    if (!detail.empty()) {
      const auto width = text_width(line);
      line.append(std::max<std::size_t>(width + 2, detail_column) - width, ' ');
      out << line << printable(detail) << '\n';
      line.clear();
    }
  }
  if (!line.empty()) {
    out << line << '\n';
  }
}

void print_counts(const Plan& plan, std::ostream& out) {
  const auto kept = plan.count(Action::keep);
  const auto kept_text =
      std::to_string(kept) + " kept although " + (kept == 1 ? "it differs" : "they differ");
  if (plan.changes_anything()) {
    out << plan.count(Action::create) << " to create, " << plan.count(Action::change)
        << " to change, " << kept_text << ", " << plan.count(Action::remove) << " to remove\n";
  } else {
    out << "Nothing to change" << (kept > 0 ? ", " + kept_text : "") << '\n';
  }
}

const char* change_word(Difference::Kind kind) {
  switch (kind) {
    case Difference::Kind::changed:
      return "changed";
    case Difference::Kind::added:
      return "added";
    case Difference::Kind::removed:
      return "removed";
    case Difference::Kind::reordered:
      break;
  }
  return "reordered";
}

Json difference_json(const Difference& difference) {
  auto path = Json::array();
  for (const auto& part : difference.path) {
    path.push_back({{"kind", part.kind}, {"name", part.name}});
  }
  Json result{{"change", change_word(difference.kind)}, {"path", std::move(path)}};
  if (!difference.property.empty()) {
    result["property"] = difference.property;
    result["before"] = difference.before;
    result["after"] = difference.after;
  }
  return result;
}

Json object_json_of(const PlannedObject& object) {
  Json result{{"action", action_word(object.action)}, {"kind", object.kind}, {"name", object.name}};
  if (object.action == Action::create) {
    auto contents = Json::object();
    for (const auto& [kind, count] : object.contents) {
      contents[std::string(kind)] = count;
    }
    result["contents"] = std::move(contents);
  }
  if (!object.reason.empty()) {
    result["reason"] = object.reason;
  }
  if (object.action == Action::change || object.action == Action::keep) {
    auto differences = Json::array();
    for (const auto& difference : object.differences) {
      differences.push_back(difference_json(difference));
    }
    result["differences"] = std::move(differences);
  }
  return result;
}

}  // namespace

void print_plan(const ImportPlan& planned, const PlanHeading& heading, std::ostream& out) {
  out << printable(planned.database) << " on " << printable(mask_passwords(heading.server))
      << (planned.built_anew ? ", deleted and built anew" : "") << '\n';
  for (const auto& object : planned.plan.objects) {
    print_object(object, out);
  }
  print_counts(planned.plan, out);
}

void print_plan_json(const ImportPlan& planned, const PlanHeading& heading, std::ostream& out) {
  auto objects = Json::array();
  for (const auto& object : planned.plan.objects) {
    objects.push_back(object_json_of(object));
  }
  const auto& plan = planned.plan;
  const Json json{{"format", "kcd-plan"},
                  {"version", plan_version},
                  {"server", mask_passwords(heading.server)},
                  {"database", planned.database},
                  {"mode", heading.mode},
                  {"built_anew", planned.built_anew},
                  {"would_succeed", planned.result.succeeded},
                  {"objects", std::move(objects)},
                  {"summary",
                   {{"create", plan.count(Action::create)},
                    {"change", plan.count(Action::change)},
                    {"keep", plan.count(Action::keep)},
                    {"remove", plan.count(Action::remove)}}}};
  out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace importkcd
