#include "comparison/differences.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "base/connection_text.h"
#include "base/text.h"
#include "model/definition_fields.h"
#include "model/vocabularies.h"

// Two states of an object are walked side by side through the one list of fields and parts that the
// model has (definition_fields.h). Parts are matched by their names. A collection that both states
// share is equal without a look, so that what a run left alone costs next to nothing.

namespace importkcd {
namespace {

Word word_of(OlapDimensionType type) { return dimension_type_word(type); }
Word word_of(OlapLevelType type) { return level_type_word(type); }
Word word_of(OlapOrdering ordering) { return level_ordering_word(ordering); }
Word word_of(OlapMode mode) { return olap_mode_word(mode); }
Word word_of(OlapAggregateFunction function) { return aggregate_function_word(function); }
Word word_of(OlapDimensionKind kind) { return dimension_kind_word(kind); }
Word word_of(OlapCubeKind kind) { return cube_kind_word(kind); }

std::string value_text(double value) {
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  return {text.data(), end};
}

/// A code without a word is told as its number.
template <class Value>
std::string value_text(const Value& value) {
  if constexpr (std::is_same_v<Value, std::string>) {
    return value;
  } else if constexpr (std::is_same_v<Value, bool>) {
    return value ? "true" : "false";
  } else if constexpr (std::is_enum_v<Value>) {
    const auto word = word_of(value);
    return word ? std::string(*word) : std::to_string(static_cast<std::int32_t>(value));
  } else {
    return std::to_string(value);
  }
}

template <class Value>
bool same_value(const Value& before, const Value& after) {
  if constexpr (std::is_same_v<Value, double>) {
    // A zero's sign counts, as it does where it is stored.
    return std::bit_cast<std::uint64_t>(before) == std::bit_cast<std::uint64_t>(after);
  } else {
    return before == after;
  }
}

/// Calls `visit(name, value before, value after)` for what `walk` visits in both states.
template <class Object, class Walk, class Visit>
void visit_pairs(const Object& before, const Object& after, Walk walk, Visit visit) {
  // One object's list has the same types as the other's.
  std::array<const void*, 16> values{};
  std::size_t count = 0;
  walk(before, [&](std::string_view, const auto& value) { values.at(count++) = &value; });
  std::size_t at = 0;
  walk(after, [&]<class Value>(std::string_view name, const Value& value) {
    visit(name, *static_cast<const Value*>(values.at(at++)), value);
  });
}

template <class Part>
std::string names_of(const NamedCollection<Part>& parts, const NamedCollection<Part>& others) {
  std::string result;
  for (const auto& part : parts) {
    if (others.contains(part.name)) {
      result.append(result.empty() ? "" : ", ").append(part.name);
    }
  }
  return result;
}

/// Whether the parts that both collections have stand in the same order.
template <class Part>
bool same_order(const NamedCollection<Part>& before, const NamedCollection<Part>& after) {
  const auto* next = before.begin();
  for (const auto& part : after) {
    if (!before.contains(part.name)) {
      continue;
    }
    next = std::find_if(next, before.end(),
                        [&](const Part& other) { return after.contains(other.name); });
    if (!same_name(next->name, part.name)) {
      return false;
    }
    ++next;
  }
  return true;
}

class Comparison {
 public:
  template <class Object>
  std::vector<Difference> of(const Object& before, const Object& after) {
    compare_objects(before, after);
    return std::move(differences_);
  }

 private:
  template <class Object>
  void compare_objects(const Object& before, const Object& after) {
    visit_pairs(
        before, after, [](const auto& object, const auto& visit) { visit_fields(object, visit); },
        [this](std::string_view name, const auto& left, const auto& right) {
          this->compare_values(name, left, right);
        });
    visit_pairs(
        before, after, [](const auto& object, const auto& visit) { visit_parts(object, visit); },
        [this](std::string_view kind, const auto& left, const auto& right) {
          this->compare_parts(kind, left, right);
        });
  }

  template <class Value>
  void compare_values(std::string_view name, const Value& before, const Value& after) {
    if (same_value(before, after)) {
      return;
    }
    auto before_text = value_text(before);
    auto after_text = value_text(after);
    if (name == "connection_string") {
      before_text = mask_passwords(before_text);
      after_text = mask_passwords(after_text);
    }
    tell({Difference::Kind::changed, path_, name, std::move(before_text), std::move(after_text)});
  }

  template <class Part>
  void compare_parts(std::string_view kind, const NamedCollection<Part>& before,
                     const NamedCollection<Part>& after) {
    if (before.begin() == after.begin() && before.size() == after.size()) {
      return;
    }
    for (const auto& part : before) {
      if (!after.contains(part.name)) {
        tell_at({kind, part.name}, Difference::Kind::removed);
      }
    }
    for (const auto& part : after) {
      if (const auto* former = before.find(part.name)) {
        path_.push_back({kind, former->name});
        compare_objects(*former, part);
        path_.pop_back();
      } else {
        tell_at({kind, part.name}, Difference::Kind::added);
      }
    }
    if (!same_order(before, after)) {
      tell({Difference::Kind::reordered, path_, kind, names_of(before, after),
            names_of(after, before)});
    }
  }

  void tell(Difference difference) { differences_.push_back(std::move(difference)); }

  void tell_at(PartName part, Difference::Kind kind) {
    auto path = path_;
    path.push_back(std::move(part));
    tell({kind, std::move(path), {}, {}, {}});
  }

  std::vector<PartName> path_;
  std::vector<Difference> differences_;
};

std::string path_text(const std::vector<PartName>& path) {
  std::string result;
  for (const auto& part : path) {
    result.append(result.empty() ? "" : " > ").append(part.kind);
    result.append(" '").append(part.name).append("'");
  }
  return result;
}

std::string shown(const std::string& value) { return value.empty() ? "(empty)" : value; }

std::string values_text(const Difference& difference) {
  return difference.before == difference.after
             ? "password changed"
             : shown(difference.before) + " -> " + shown(difference.after);
}

/// What a changed property is called behind its path: a named text has no other.
std::string property_text(const Difference& difference) {
  const bool is_named_text = !difference.path.empty() && difference.property == "value";
  return is_named_text ? "" : std::string(difference.property) + " ";
}

}  // namespace

std::vector<Difference> compare(const OlapDataSource& before, const OlapDataSource& after) {
  return Comparison().of(before, after);
}

std::vector<Difference> compare(const OlapDimension& before, const OlapDimension& after) {
  return Comparison().of(before, after);
}

std::vector<Difference> compare(const OlapRole& before, const OlapRole& after) {
  return Comparison().of(before, after);
}

std::vector<Difference> compare(const OlapCube& before, const OlapCube& after) {
  return Comparison().of(before, after);
}

std::string text_of(const Difference& difference) {
  auto path = path_text(difference.path);
  switch (difference.kind) {
    case Difference::Kind::added:
      return path + " added";
    case Difference::Kind::removed:
      return path + " removed";
    case Difference::Kind::reordered:
      return (path.empty() ? "" : path + ": ") + "order of " + plural(difference.property) + " " +
             values_text(difference);
    case Difference::Kind::changed:
      break;
  }
  return (path.empty() ? "" : path + ": ") + property_text(difference) + values_text(difference);
}

std::string summary_of(const std::vector<Difference>& differences) {
  std::vector<PartName> told;
  std::vector<std::pair<std::string_view, std::size_t>> parts;
  std::string properties;
  for (const auto& difference : differences) {
    const auto part = difference.path.empty()
                          ? PartName{difference.property, {}}
                          : PartName{difference.path[0].kind, difference.path[0].name};
    if (std::find(told.begin(), told.end(), part) != told.end()) {
      continue;
    }
    told.push_back(part);
    if (difference.path.empty()) {
      const bool is_order = difference.kind == Difference::Kind::reordered;
      properties += ", " + (is_order ? "order of " + plural(part.kind) : std::string(part.kind));
      continue;
    }
    const auto found = std::find_if(parts.begin(), parts.end(), [&](const auto& counted_part) {
      return counted_part.first == part.kind;
    });
    if (found == parts.end()) {
      parts.emplace_back(part.kind, 1);
    } else {
      ++found->second;
    }
  }
  std::string result;
  for (const auto& [kind, count] : parts) {
    result += ", " + counted(count, kind);
  }
  result += properties;
  return result.empty() ? result : result.substr(2);
}

}  // namespace importkcd
