#pragma once

#include <string>
#include <utility>
#include <vector>

namespace importkcd {

/// An element of a file that is to be written, with attributes and children in their order.
struct XmlElement {
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::vector<XmlElement> children;
  /// Stands in front of the children.
  std::string text;

  /// Adds an attribute; returns this element.
  XmlElement& set(std::string attribute, std::string value);
  /// Adds an attribute, unless its value is empty.
  XmlElement& set_if_any(std::string attribute, std::string value);
  /// Adds a child; the result is valid until the next one is added.
  XmlElement& add(XmlElement child);
};

/// An element that holds a text.
XmlElement text_element(std::string name, std::string text);

/// The element as indented XML. All text is UTF-8. Throws ImportError when a text cannot stand in
/// XML.
std::string xml_text(const XmlElement& element);

/// A whole XML file with a comment in front of the root; no comment when that is empty.
std::string xml_document(const XmlElement& root, const std::string& comment);

}  // namespace importkcd
