#pragma once

#include <string>

#include "base/xml_element.h"

namespace importkcd {

/// A whole XML document, UTF-8, laid out as a person would: elements indented by two blanks,
/// attributes of an element on lines of at most a hundred characters as far as they fit, values
/// with quotes in them in apostrophes. `comment` stands in front of the root unless it is empty.
/// The elements' texts are not written. Throws ImportError when a value cannot stand in XML.
std::string laid_out_document(const XmlElement& root, const std::string& comment);

}  // namespace importkcd
