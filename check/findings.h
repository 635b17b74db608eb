#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "document/kcd_document.h"

namespace importkcd {

enum class Severity {
  /// An import into a server that does not have the database fails because of it.
  error,
  /// An import swallows it, or reads it as something else than what is written.
  warning,
};

/// Something wrong in a document.
struct Finding {
  Severity severity = Severity::error;
  /// Of the element that it is about.
  DocumentPosition position;
  /// The names on the way to that element (path_of()); empty for the root.
  std::string path;
  /// Names the kind of finding; one of rules().
  std::string_view rule;
  /// A sentence for people, without a full stop, in one line once it is printable().
  std::string message;
};

struct Rule {
  std::string_view id;
  std::string_view description;
};

namespace rule {
constexpr std::string_view not_xml = "not-xml";
constexpr std::string_view version = "version";
constexpr std::string_view missing_attribute = "missing-attribute";
constexpr std::string_view unknown_attribute = "unknown-attribute";
constexpr std::string_view missing_element = "missing-element";
constexpr std::string_view unknown_element = "unknown-element";
constexpr std::string_view repeated_element = "repeated-element";
constexpr std::string_view unusual_tag = "unusual-tag";
constexpr std::string_view bad_number = "bad-number";
constexpr std::string_view rounded_number = "rounded-number";
constexpr std::string_view unknown_word = "unknown-word";
constexpr std::string_view empty_name = "empty-name";
constexpr std::string_view duplicate_name = "duplicate-name";
constexpr std::string_view unknown_reference = "unknown-reference";
constexpr std::string_view invalid_cube = "invalid-cube";
constexpr std::string_view bad_statement = "bad-statement";
constexpr std::string_view bad_label = "bad-label";
constexpr std::string_view missing_label = "missing-label";
constexpr std::string_view label_file = "label-file";
constexpr std::string_view not_for_mdx = "not-for-mdx";
}  // namespace rule

/// All kinds of findings.
std::span<const Rule> rules();

/// Orders findings by their places; those of one place stay in their order.
void sort_by_place(std::vector<Finding>& findings);

/// Of `words`, the one that a misspelt one most probably means; empty when none is near. Letter
/// case does not matter.
std::string_view nearest(std::string_view misspelt, std::span<const std::string_view> words);

/// " (did you mean 'WORD'?)", or nothing when no word is near.
std::string did_you_mean(std::string_view misspelt, std::span<const std::string_view> words);

}  // namespace importkcd
