#include "cli/text_tree.h"

#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX

#include <ostream>

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

}  // namespace importkcd
