#include "mondrian/mapping/calculated_member_mapping.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "base/text.h"
#include "mondrian/mdx/mdx_check.h"
#include "mondrian/mdx/mdx_names.h"
#include "mondrian/not_expressible.h"

namespace importkcd {
namespace {

constexpr std::string_view separator = " AS ";

/// Drops a word off the front of `text`, in any letter case, when it stands there.
void drop_word(std::string_view& text, std::string_view word) {
  text = trimmed(text, blanks);
  if (text.size() > word.size() && blanks.find(text[word.size()]) != std::string_view::npos &&
      same_name(text.substr(0, word.size()), word)) {
    text = trimmed(text.substr(word.size()), blanks);
  }
}

/// Takes a text in quotes off the front of `rest`, undoubled.
std::string take_quoted(std::string_view& rest) {
  const char quote = rest.front();
  std::string value;
  for (std::size_t i = 1; i < rest.size(); ++i) {
    if (rest[i] == quote) {
      if (rest.substr(i + 1, 1) != std::string_view(&quote, 1)) {
        rest.remove_prefix(i + 1);
        return value;
      }
      ++i;
    }
    value += rest[i];
  }
  throw NotExpressible("a quote is not closed");
}

/// Takes what stands before the next comma outside of brackets and quotes.
std::string take_up_to_comma(std::string_view& rest) {
  std::size_t end = 0;
  do {
    end = std::min(rest.find(',', end + (end == 0 ? 0 : 1)), rest.size());
  } while (end < rest.size() && !is_balanced_mdx(rest.substr(0, end)));
  std::string value(trimmed(rest.substr(0, end), blanks));
  rest.remove_prefix(end);
  return value;
}

bool is_quote(char c) { return c == '\'' || c == '"'; }

std::string take_value(std::string_view& rest) {
  rest = trimmed(rest, blanks);
  if (rest.empty() || !is_quote(rest.front())) {
    return take_up_to_comma(rest);
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
    member.properties.emplace_back(std::move(name), take_value(rest));
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

XmlElement property_element(const std::string& name, const std::string& attribute,
                            const std::string& value) {
  auto element = text_element("CalculatedMemberProperty", {});
  element.set("name", name).set(attribute, value);
  return element;
}

bool is_no(const std::string& value) {
  const auto folded = lower_cased(value);
  return folded == "0" || folded == "false" || folded == "no";
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& known) { return same_name(known, name); });
}

struct ReadMember {
  std::string name;
  MemberDefinition definition;
};

/// What is wrong with a member among the cube's measures; empty when nothing is.
std::string fault_of(const MemberDefinition& member, const OlapCube& cube,
                     const std::vector<std::string>& measures) {
  if (auto fault = mdx_fault(member.formula); !fault.empty()) {
    return fault;
  }
  for (const auto& [name, value] : member.properties) {
    if (name == "FORMAT_STRING" && is_expression(value) && !mdx_fault(value).empty()) {
      return "its format: " + mdx_fault(value);
    }
  }
  if (!same_name(member.dimension, measures_dimension) &&
      !cube.dimensions.contains(member.dimension)) {
    return "the cube has no dimension '" + member.dimension + "'";
  }
  for (const auto& measure : measures_named_in(member.formula)) {
    if (!contains(measures, measure)) {
      return "there is no measure '" + measure + "' in the cube";
    }
  }
  return {};
}

}  // namespace

MemberDefinition parse_calculated_member(const std::string& statement,
                                         const std::string& cube_name) {
  const auto at = statement.find(separator);
  if (at == std::string::npos) {
    throw NotExpressible("there is no AS in its statement");
  }
  auto path = member_path(std::string_view(statement).substr(0, at), cube_name);
  MemberDefinition member;
  member.name = path.back();
  member.dimension = path.front();
  path.pop_back();
  member.parent = path.size() > 1 ? mdx_path(path) : "";
  auto rest = trimmed(std::string_view(statement).substr(at + separator.size()), blanks);
  member.formula = rest.starts_with('\'') ? take_quoted(rest) : take_up_to_comma(rest);
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
  if (same_name(member.dimension, measures_dimension)) {
    element.set("dimension", measures_dimension);
  } else {
    element.set("hierarchy", mdx_name(member.dimension));
    element.set_if_any("parent", member.parent);
  }
  std::vector<XmlElement> children;
  children.push_back(text_element("Formula", member.formula));
  for (const auto& [name, value] : member.properties) {
    if (name == "FORMAT_STRING" && is_expression(value)) {
      children.push_back(property_element(name, "expression", value));
    } else if (name == "FORMAT_STRING") {
      element.set_if_any("formatString", without_double_quotes(value));
    } else if (name == "SOLVE_ORDER") {
      children.push_back(property_element(name, "value", value));
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
  const auto leave_out = [&](const std::string& name, const std::string& reason) {
    remarks.push_back("Cube '" + cube.name + "' is published without its calculated member '" +
                      name + "': " + reason);
  };
  std::vector<ReadMember> members;
  auto known = measures;
  for (const auto& member : cube.calculated_members) {
    try {
      auto definition = parse_calculated_member(member.statement, cube.name);
      if (same_name(definition.dimension, measures_dimension)) {
        if (contains(known, definition.name)) {
          throw NotExpressible("a measure of the name '" + definition.name + "' is there already");
        }
        known.push_back(definition.name);
      }
      members.push_back({member.name, std::move(definition)});
    } catch (const ImportError& error) {
      leave_out(member.name, error.description());
    }
  }
  // Without one member others may lose what they refer to.
  for (std::size_t i = 0; i < members.size();) {
    const auto fault = fault_of(members[i].definition, cube, known);
    if (fault.empty()) {
      ++i;
      continue;
    }
    leave_out(members[i].name, fault);
    std::erase_if(known, [&](const std::string& name) {
      return same_name(members[i].definition.dimension, measures_dimension) &&
             same_name(name, members[i].definition.name);
    });
    members.erase(members.begin() + static_cast<std::ptrdiff_t>(i));
    i = 0;
  }
  std::vector<XmlElement> elements;
  elements.reserve(members.size());
  for (const auto& member : members) {
    elements.push_back(calculated_member_element(member.definition));
  }
  return elements;
}

}  // namespace importkcd
