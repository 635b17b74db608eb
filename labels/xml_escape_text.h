#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// A text with the five characters that mean something in XML as numeric references: "&#34;" for
/// the double quote, "&#39;" for the apostrophe, "&#38;" for the ampersand, "&#60;" and "&#62;" for
/// less-than and greater-than. Throws ImportError for a text of more than 32767 characters.
std::string XmlEscapeText(std::string_view text);

}  // namespace importkcd
