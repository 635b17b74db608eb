#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "document/kcd_document.h"

namespace importkcd {

/// Reading the attributes and children of a document's elements. All of these throw ImportError
/// (source "KCD document"); its description is "Invalid use of Null" for an absent attribute,
/// "Type mismatch" for a text that is no number, "Overflow" for a number out of range and
/// "element 'NAME' is missing" for an absent child.

/// The attribute's text as it stands.
std::string raw_text(const KcdElement& element, std::string_view attribute);

/// The attribute's text with apostrophe placeholders decoded.
std::string decoded_text(const KcdElement& element, std::string_view attribute);

/// Whole numbers: optional blanks and sign, a decimal point allowed, halves rounded to even.
std::int16_t int16_number(const KcdElement& element, std::string_view attribute);
std::int32_t int32_number(const KcdElement& element, std::string_view attribute);

/// A decimal number, exponent allowed; neither infinite nor hexadecimal.
double double_number(const KcdElement& element, std::string_view attribute);

/// The first child element of that tag.
const KcdElement& required_child(const KcdElement& element, std::string_view tag);

}  // namespace importkcd
