#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace importkcd {

/// An element of an answer, with everything below it. Names are local ones: prefixes of name spaces
/// are dropped.
struct AnswerElement {
  std::string name;
  /// The character data directly in it, joined.
  std::string text;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::vector<AnswerElement> children;

  /// The first child of that name; null when there is none.
  const AnswerElement* child(std::string_view child_name) const;
  /// The text of the first child of that name; empty when there is none.
  std::string_view child_text(std::string_view child_name) const;
  /// The value of an attribute; empty when there is none.
  std::string_view attribute(std::string_view attribute_name) const;
  /// This element or the first one below it that has the name, in document order; null when there
  /// is none.
  const AnswerElement* find(std::string_view element_name) const;
};

/// Reads a text that comes from elsewhere: nothing outside of it is ever read, and document type
/// declarations and entities of its own are refused. Throws ImportError, whose description says
/// what is wrong and in which line, when it is not well-formed.
AnswerElement parse_answer(std::string_view text);

}  // namespace importkcd
