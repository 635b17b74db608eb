#include "cli/tree_texts.h"

#include <utility>

namespace importkcd {
namespace {

std::string level_text(const OlapLevel& level) {
  std::vector<std::string> properties;
  for (const auto& property : level.member_properties) {
    properties.push_back(property.name);
  }
  const auto text =
      properties.empty() ? level.name : level.name + " [" + joined(properties, ", ") + "]";
  return level.disabled ? with_facts(text, {"disabled"}) : text;
}

}  // namespace

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
  std::string result;
  for (const auto& part : parts) {
    if (!part.empty()) {
      result.append(result.empty() ? std::string_view() : separator).append(part);
    }
  }
  return result;
}

std::string with_detail(const std::string& text, const std::string& detail) {
  return joined({text, detail}, ": ");
}

std::string with_facts(const std::string& text, const std::vector<std::string>& facts) {
  return facts.empty() ? text : text + " (" + joined(facts, ", ") + ")";
}

std::string level_chain(const NamedCollection<OlapLevel>& levels) {
  std::vector<std::string> texts;
  texts.reserve(levels.size());
  for (const auto& level : levels) {
    texts.push_back(level_text(level));
  }
  return joined(texts, " > ");
}

void add_group(TreeNode& parent, std::string_view title, std::vector<TreeNode> children) {
  if (children.empty()) {
    return;
  }
  const auto count = std::to_string(children.size());
  parent.children.push_back({with_facts(std::string(title), {count}), std::move(children)});
}

}  // namespace importkcd
