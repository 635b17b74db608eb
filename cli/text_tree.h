#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace importkcd {

/// The strokes that a tree is drawn with; each stands in front of a line.
struct TreeStyle {
  /// To an item that others follow, and to the last item.
  std::string_view branch;
  std::string_view last_branch;
  /// Past the content of an item that others follow, and of the last item.
  std::string_view trunk;
  std::string_view gap;
};

/// For terminals that can show every character, and for the others.
constexpr TreeStyle box_style{"├─ ", "└─ ", "│  ", "   "};
constexpr TreeStyle ascii_style{"|- ", "`- ", "|  ", "   "};

/// The style that fits the character set of the user's locale.
TreeStyle style_of_locale();

/// One line of a tree and what stands below it.
struct TreeNode {
  /// UTF-8; control characters are shown as blanks.
  std::string text;
  std::vector<TreeNode> children{};
};

/// Draws a node and everything below it, one line each.
void draw_tree(const TreeNode& root, const TreeStyle& style, std::ostream& out);

/// Adds a node "Title (count)" with these children; nothing when there are none.
void add_group(TreeNode& parent, std::string_view title, std::vector<TreeNode> children);

// The forms of text that lines are made of.

/// The parts joined by `separator`; empty parts are left out.
std::string joined(const std::vector<std::string>& parts, std::string_view separator);

/// "text: detail", or the text alone when there is no detail.
std::string with_detail(const std::string& text, const std::string& detail);

/// "text (fact, fact)", or the text alone when there are no facts.
std::string with_facts(const std::string& text, const std::vector<std::string>& facts);

}  // namespace importkcd
