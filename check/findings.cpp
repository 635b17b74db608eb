#include "check/findings.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <tuple>

#include "base/name_folding.h"
#include "base/text_encoding.h"

namespace importkcd {
namespace {

constexpr auto all_rules = std::to_array<Rule>({
    {rule::not_xml, "A document is well-formed XML that an import can read"},
    {rule::version, "A document has a version that an import knows"},
    {rule::missing_attribute, "Attributes that an import reads are there"},
    {rule::unknown_attribute, "An import reads every attribute that is there"},
    {rule::missing_element, "Elements that an import reads are there"},
    {rule::unknown_element, "An import reads every element that is there"},
    {rule::repeated_element, "An element that an import reads once is there once"},
    {rule::unusual_tag, "Elements have the tags of what they are read as"},
    {rule::bad_number, "Numbers are numbers, and in their range"},
    {rule::rounded_number, "Whole numbers have no fraction"},
    {rule::unknown_word, "Words are those of their vocabularies"},
    {rule::empty_name, "Objects have names"},
    {rule::duplicate_name, "Objects of one kind have different names"},
    {rule::unknown_reference, "What a document refers to is in it"},
    {rule::invalid_cube, "A cube has a data source, a fact table, dimensions and measures"},
    {rule::bad_statement, "A calculated member's statement is MEMBER AS FORMULA"},
    {rule::bad_label, "Label references are written $##ID%"},
    {rule::missing_label, "The labels database has a text for every label"},
    {rule::label_file, "A label-reference file can be turned into a document"},
    {rule::not_for_mdx, "The OLAP engine can serve the cubes"},
});

/// How many letters were left out, added, exchanged or swapped with their neighbour.
std::size_t distance(std::u16string_view left, std::u16string_view right) {
  std::vector<std::size_t> before_last(right.size() + 1);
  std::vector<std::size_t> last(right.size() + 1);
  for (std::size_t j = 0; j <= right.size(); ++j) {
    last[j] = j;
  }
  for (std::size_t i = 1; i <= left.size(); ++i) {
    std::vector<std::size_t> now(right.size() + 1, i);
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const std::size_t exchange = left[i - 1] == right[j - 1] ? 0 : 1;
      now[j] = std::min({last[j] + 1, now[j - 1] + 1, last[j - 1] + exchange});
      if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1]) {
        now[j] = std::min(now[j], before_last[j - 2] + 1);
      }
    }
    before_last = std::move(last);
    last = std::move(now);
  }
  return last.back();
}

}  // namespace

std::span<const Rule> rules() { return all_rules; }

void sort_by_place(std::vector<Finding>& findings) {
  std::stable_sort(findings.begin(), findings.end(), [](const Finding& left, const Finding& right) {
    return std::tie(left.position.line, left.position.column) <
           std::tie(right.position.line, right.position.column);
  });
}

std::string_view nearest(std::string_view misspelt, std::span<const std::string_view> words) {
  constexpr std::size_t letters_per_mistake = 3;
  // Nobody means anything by a text of that length, and the comparison takes its square.
  constexpr std::size_t longest = 64;
  if (misspelt.size() > longest) {
    return {};
  }
  const auto wrong = utf16_text(lower_cased(misspelt));
  std::string_view found;
  auto best = std::max<std::size_t>(wrong.size() / letters_per_mistake, 1) + 1;
  for (const auto word : words) {
    if (word.size() > longest) {
      continue;
    }
    const auto mistakes = distance(wrong, utf16_text(lower_cased(word)));
    if (mistakes < best && mistakes < wrong.size()) {
      best = mistakes;
      found = word;
    }
  }
  return found;
}

std::string did_you_mean(std::string_view misspelt, std::span<const std::string_view> words) {
  const auto word = nearest(misspelt, words);
  return word.empty() ? "" : " (did you mean '" + std::string(word) + "'?)";
}

}  // namespace importkcd
