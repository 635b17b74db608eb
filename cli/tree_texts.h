#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/text_tree.h"
#include "model/definitions.h"

namespace importkcd {

/// The forms of text that the lines of a catalogue's tree are made of.

/// The parts joined by `separator`; empty parts are left out.
std::string joined(const std::vector<std::string>& parts, std::string_view separator);

/// "text: detail", or the text alone when there is no detail.
std::string with_detail(const std::string& text, const std::string& detail);

/// "text (fact, fact)", or the text alone when there are no facts.
std::string with_facts(const std::string& text, const std::vector<std::string>& facts);

/// The levels from the top down: "(All) > City > Store [Size, Manager] > Till (disabled)". Member
/// properties stand in brackets.
std::string level_chain(const NamedCollection<OlapLevel>& levels);

/// Adds a node "Title (count)" with these children; nothing when there are none.
void add_group(TreeNode& parent, std::string_view title, std::vector<TreeNode> children);

}  // namespace importkcd
