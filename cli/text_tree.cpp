#include "cli/text_tree.h"

#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX

#include <ostream>
#include <utility>

#include "base/text.h"

namespace importkcd {
namespace {

void draw_children(const TreeNode& node, const std::string& indent, const TreeStyle& style,
                   std::ostream& out) {
  for (const auto& child : node.children) {
    const bool last = &child == &node.children.back();
    out << indent << (last ? style.last_branch : style.branch) << printable(child.text) << '\n';
    draw_children(child, indent + std::string(last ? style.gap : style.trunk), style, out);
  }
}

}  // namespace

TreeStyle style_of_locale() {
  const auto locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale == nullptr) {
    return ascii_style;
  }
  const bool utf8 = std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
  freelocale(locale);
  return utf8 ? box_style : ascii_style;
}

void draw_tree(const TreeNode& root, const TreeStyle& style, std::ostream& out) {
  out << printable(root.text) << '\n';
  draw_children(root, "", style, out);
}

void add_group(TreeNode& parent, std::string_view title, std::vector<TreeNode> children) {
  if (children.empty()) {
    return;
  }
  const auto count = std::to_string(children.size());
  parent.children.push_back({with_facts(std::string(title), {count}), std::move(children)});
}

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

}  // namespace importkcd
