#include "exporter/document_layout.h"

#include <libxml/xmlstring.h>

#include <cstddef>
#include <string_view>
#include <utility>

#include "base/text.h"

namespace importkcd {
namespace {

/// In characters; a single value may be longer.
constexpr std::size_t line_limit = 100;
constexpr std::size_t indentation = 2;
constexpr std::size_t continuation = 4;

std::size_t width(const std::string& text) {
  const auto characters = xmlUTF8Strlen(reinterpret_cast<const xmlChar*>(text.c_str()));
  return characters < 0 ? text.size() : static_cast<std::size_t>(characters);
}

/// NAME="VALUE"; in apostrophes when only that saves references.
std::string attribute_text(const std::string& name, const std::string& value) {
  auto escaped = escaped_attribute(value);
  const bool in_apostrophes =
      value.find('"') != std::string::npos && value.find('\'') == std::string::npos;
  if (in_apostrophes) {
    escaped = replaced(escaped, "&quot;", "\"");
  }
  const char* const quote = in_apostrophes ? "'" : "\"";
  return name + "=" + quote + escaped + quote;
}

class Layout {
 public:
  void comment(const std::string& text) {
    // Two hyphens side by side would end the comment.
    text_.append("<!-- ").append(replaced(text, "-", "- ")).append(" -->\n");
  }

  void element(const XmlElement& element, std::size_t depth) {
    const std::string margin(depth * indentation, ' ');
    start_tag(element, margin);
    if (element.children.empty()) {
      text_ += "/>\n";
      return;
    }
    text_ += ">\n";
    for (const auto& child : element.children) {
      this->element(child, depth + 1);
    }
    text_.append(margin).append("</").append(element.name).append(">\n");
  }

  std::string take() { return std::move(text_); }

 private:
  void start_tag(const XmlElement& element, const std::string& margin) {
    text_.append(margin).append("<").append(element.name);
    auto column = margin.size() + 1 + element.name.size();
    for (const auto& [name, value] : element.attributes) {
      const auto text = attribute_text(name, value);
      const auto needed = 1 + width(text);
      // Two more characters end the tag.
      if (column + needed + 2 > line_limit) {
        text_.append("\n").append(margin).append(continuation, ' ').append(text);
        column = margin.size() + continuation + needed - 1;
      } else {
        text_.append(" ").append(text);
        column += needed;
      }
    }
  }

  std::string text_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
};

}  // namespace

std::string laid_out_document(const XmlElement& root, const std::string& comment) {
  Layout layout;
  if (!comment.empty()) {
    layout.comment(comment);
  }
  layout.element(root, 0);
  return layout.take();
}

}  // namespace importkcd
