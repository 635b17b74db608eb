#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace importkcd {

/// An element of an XML text that is read or written, with attributes and children in their order.
struct XmlElement {
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::vector<XmlElement> children;
  /// All character data directly in it, joined; written in front of the children.
  std::string text;

  /// Adds an attribute; returns this element.
  XmlElement& set(std::string attribute_name, std::string value);
  /// Adds an attribute, unless its value is empty.
  XmlElement& set_if_any(std::string attribute_name, std::string value);
  /// Adds a child; the result is valid until the next one is added.
  XmlElement& add(XmlElement child_element);

  /// The first child of that name; null when there is none.
  const XmlElement* child(std::string_view child_name) const;
  /// The text of the first child of that name; empty when there is none.
  std::string_view child_text(std::string_view child_name) const;
  /// The value of an attribute; empty when there is none.
  std::string_view attribute(std::string_view attribute_name) const;
  /// This element or the first one below it that has the name, in document order; null when there
  /// is none.
  const XmlElement* find(std::string_view element_name) const;
};

/// An element that holds a text.
XmlElement text_element(std::string name, std::string text);

/// Whether elements are written on lines of their own, or without anything between them.
enum class XmlLayout { indented, compact };

/// The element as indented XML. All text is UTF-8. Throws ImportError when a text cannot stand in
/// XML.
std::string xml_text(const XmlElement& element);

/// A whole XML file with a comment in front of the root; no comment when that is empty. Throws as
/// xml_text() does.
std::string xml_document(const XmlElement& root, const std::string& comment,
                         XmlLayout layout = XmlLayout::indented);

/// Throws ImportError unless the text, which should be UTF-8, may stand in XML.
void check_xml_text(const std::string& text);

/// An attribute's value as it stands between quotes. Throws as check_xml_text() does.
std::string escaped_attribute(const std::string& value);

/// Reads a text that comes from elsewhere, in any encoding that it declares: nothing outside of it
/// is ever read, and document type declarations and entities of its own are refused. Names lose
/// their prefixes; name space declarations, comments and the like are dropped. Throws ImportError
/// of the component `source`, whose description says what is wrong and in which line, when it is
/// not well-formed.
XmlElement read_xml(std::string_view text, std::string_view source);

}  // namespace importkcd
