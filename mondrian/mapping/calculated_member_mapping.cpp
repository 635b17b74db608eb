#include "mondrian/mapping/calculated_member_mapping.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "base/name_folding.h"
#include "base/quoting.h"
#include "base/text.h"
#include "mondrian/mdx/mdx_check.h"
#include "mondrian/mdx/mdx_scanner.h"
#include "mondrian/not_expressible.h"

namespace importkcd {
namespace {

constexpr std::string_view formula_separator = " AS ";

/// Drops a word off the front of `text`, in any letter case, when it stands there.
void drop_word(std::string_view& text, std::string_view word) {
  text = trimmed(text, blanks);
  if (text.size() > word.size() && blanks.find(text[word.size()]) != std::string_view::npos &&
      same_name(text.substr(0, word.size()), word)) {
    text = trimmed(text.substr(word.size()), blanks);
  }
}

std::string take_quoted(std::string_view& rest) {
  auto text = take_quoted_text(rest);
  if (!text) {
    throw NotExpressible("a quote is not closed");
  }
  return std::move(*text);
}

std::string take_unquoted(std::string_view& rest) {
  const auto end = end_of_mdx_item(rest);
  std::string value(trimmed(rest.substr(0, end), blanks));
  rest.remove_prefix(end);
  return value;
}

std::string take_property_value(std::string_view& rest) {
  rest = trimmed(rest, blanks);
  if (!rest.starts_with('\'') && !rest.starts_with('"')) {
    return take_unquoted(rest);
  }
  auto value = take_quoted(rest);
  rest = trimmed(rest, blanks);
  return value;
}

/// The path in front of the formula, without the cube.
std::vector<std::string> member_path(std::string_view text, const std::string& cube_name) {
  drop_word(text, "CREATE");
  drop_word(text, "SESSION");
  drop_word(text, "MEMBER");
  auto path = take_mdx_path(text);
  if (!path || !trimmed(text, blanks).empty()) {
    throw NotExpressible("its name is no member path");
  }
  const bool begins_with_cube =
      same_name(path->front(), "CURRENTCUBE") || same_name(path->front(), cube_name);
  if (path->size() > 2 && begins_with_cube) {
    path->erase(path->begin());
  }
  if (path->size() == 1) {
    path->insert(path->begin(), measures_dimension);
  }
  return std::move(*path);
}

std::string upper_cased(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

void read_properties(std::string_view rest, MemberDefinition& member) {
  rest = trimmed(rest, blanks);
  while (!rest.empty()) {
    if (rest.front() != ',') {
      throw NotExpressible("a comma is missing behind its formula");
    }
    rest.remove_prefix(1);
    const auto equals = rest.find('=');
    if (equals == std::string_view::npos) {
      throw NotExpressible("a property behind its formula has no value");
    }
    auto name = upper_cased(std::string(trimmed(rest.substr(0, equals), blanks)));
    rest.remove_prefix(equals + 1);
    member.properties.emplace_back(std::move(name), take_property_value(rest));
  }
}

/// A format may be a text in double quotes, or an expression that gives one.
bool is_expression(const std::string& format) {
  const auto folded = lower_cased(format);
  return folded.starts_with("iif(") || folded.starts_with("iif (") || folded.starts_with("case ");
}

std::string without_double_quotes(const std::string& format) {
  return format.size() > 1 && format.front() == '"' && format.back() == '"' &&
                 format.find('"', 1) == format.size() - 1
             ? format.substr(1, format.size() - 2)
             : format;
}

XmlElement member_attribute_element(const std::string& name, const std::string& attribute,
                                    const std::string& value) {
  auto element = text_element("CalculatedMemberProperty", {});
  element.set("name", name).set(attribute, value);
  return element;
}

bool is_no(const std::string& value) {
  const auto folded = lower_cased(value);
  return folded == "0" || folded == "false" || folded == "no";
}

bool is_of_measures(const MemberDefinition& member) {
  return same_name(member.dimension, measures_dimension);
}

/// What is wrong with a member, whatever other members there are; empty when nothing is.
std::string own_fault(const MemberDefinition& member, const OlapCube& cube) {
  if (auto fault = mdx_fault(member.formula); !fault.empty()) {
    return fault;
  }
  for (const auto& [name, value] : member.properties) {
    if (name != "FORMAT_STRING" || !is_expression(value)) {
      continue;
    }
    if (const auto fault = mdx_fault(value); !fault.empty()) {
      return "its format: " + fault;
    }
  }
  if (!is_of_measures(member) && !cube.dimensions.contains(member.dimension)) {
    return "the cube has no dimension '" + member.dimension + "'";
  }
  return {};
}

/// Chooses the members of a cube that the engine can serve.
///
/// Without one member, others may lack a measure that they refer to. So the first member with a
/// fault is left out, and then again the first, until none has a fault. Every formula is read only
/// once: an index from measures to the members that refer to them tells which ones to look at
/// again.
class MemberChoice {
 public:
  MemberChoice(const OlapCube& cube, const std::vector<std::string>& measures,
               std::vector<std::string>& remarks)
      : cube_(cube), remarks_(remarks) {
    for (const auto& measure : measures) {
      known_.insert(lower_cased(measure));
    }
    for (const auto& member : cube.calculated_members) {
      take(member);
    }
    leave_out_faulty();
  }

  std::vector<XmlElement> elements() const {
    std::vector<XmlElement> result;
    for (const auto& member : members_) {
      if (!member.is_left_out) {
        result.push_back(calculated_member_element(member.definition));
      }
    }
    return result;
  }

 private:
  struct Member {
    std::string name;
    MemberDefinition definition;
    std::string fault;
    /// The measures that its formula names.
    std::vector<std::string> measures;
    bool is_left_out = false;
  };

  void remark(const std::string& member, const std::string& reason) {
    remarks_.push_back("Cube '" + cube_.name + "' is published without its calculated member '" +
                       member + "': " + reason);
  }

  void take(const OlapCalculatedMember& member) {
    try {
      auto definition = parse_calculated_member(member.statement, cube_.name);
      if (is_of_measures(definition) && !known_.insert(lower_cased(definition.name)).second) {
        throw NotExpressible("a measure of the name '" + definition.name + "' is there already");
      }
      auto fault = own_fault(definition, cube_);
      auto measures = measures_named_in(definition.formula);
      members_.push_back(
          {member.name, std::move(definition), std::move(fault), std::move(measures), false});
    } catch (const NotExpressible& error) {
      remark(member.name, error.description());
    }
  }

  std::string fault_of(const Member& member) const {
    if (!member.fault.empty()) {
      return member.fault;
    }
    const auto missing = std::find_if(
        member.measures.begin(), member.measures.end(),
        [&](const std::string& measure) { return !known_.contains(lower_cased(measure)); });
    return missing == member.measures.end() ? std::string()
                                            : "there is no measure '" + *missing + "' in the cube";
  }

  void leave_out_faulty() {
    // Lower-cased measure -> the positions of the members that refer to it.
    std::unordered_map<std::string, std::vector<std::size_t>> users;
    std::set<std::size_t> faulty;
    for (std::size_t i = 0; i < members_.size(); ++i) {
      for (const auto& measure : members_[i].measures) {
        users[lower_cased(measure)].push_back(i);
      }
      if (!fault_of(members_[i]).empty()) {
        faulty.insert(i);
      }
    }
    while (!faulty.empty()) {
      auto& member = members_[*faulty.begin()];
      faulty.erase(faulty.begin());
      remark(member.name, fault_of(member));
      member.is_left_out = true;
      if (!is_of_measures(member.definition)) {
        continue;
      }
      const auto measure = lower_cased(member.definition.name);
      known_.erase(measure);
      for (const auto user : users[measure]) {
        if (!members_[user].is_left_out) {
          faulty.insert(user);
        }
      }
    }
  }

  const OlapCube& cube_;
  std::vector<std::string>& remarks_;
  /// The lower-cased names of measures, calculated ones included.
  std::unordered_set<std::string> known_;
  std::vector<Member> members_;
};

}  // namespace

MemberDefinition parse_calculated_member(const std::string& statement,
                                         const std::string& cube_name) {
  const auto at = statement.find(formula_separator);
  if (at == std::string::npos) {
    throw NotExpressible("there is no AS in its statement");
  }
  auto path = member_path(std::string_view(statement).substr(0, at), cube_name);
  MemberDefinition member;
  member.name = path.back();
  member.dimension = path.front();
  path.pop_back();
  member.parent = path.size() > 1 ? mdx_path(path) : "";
  auto rest = trimmed(std::string_view(statement).substr(at + formula_separator.size()), blanks);
  member.formula = rest.starts_with('\'') ? take_quoted(rest) : take_unquoted(rest);
  member.formula = trimmed(member.formula, blanks);
  if (member.formula.empty() || !is_balanced_mdx(member.formula)) {
    throw NotExpressible("its formula is not complete: " + member.formula);
  }
  read_properties(rest, member);
  return member;
}

XmlElement calculated_member_element(const MemberDefinition& member) {
  auto element = text_element("CalculatedMember", {});
  element.set("name", member.name);
  if (is_of_measures(member)) {
    element.set("dimension", measures_dimension);
  } else {
    element.set("hierarchy", mdx_name(member.dimension));
    element.set_if_any("parent", member.parent);
  }
  std::vector<XmlElement> children;
  children.push_back(text_element("Formula", member.formula));
  for (const auto& [name, value] : member.properties) {
    if (name == "FORMAT_STRING" && is_expression(value)) {
      children.push_back(member_attribute_element(name, "expression", value));
    } else if (name == "FORMAT_STRING") {
      element.set_if_any("formatString", without_double_quotes(value));
    } else if (name == "SOLVE_ORDER") {
      children.push_back(member_attribute_element(name, "value", value));
    } else if (name == "VISIBLE" && is_no(value)) {
      element.set("visible", "false");
    }
  }
  element.children = std::move(children);
  return element;
}

std::vector<XmlElement> map_calculated_members(const OlapCube& cube,
                                               const std::vector<std::string>& measures,
                                               std::vector<std::string>& remarks) {
  return MemberChoice(cube, measures, remarks).elements();
}

}  // namespace importkcd
