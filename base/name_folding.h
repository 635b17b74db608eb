#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// Lower-cases UTF-8 text character by character (simple Unicode case mapping, no locale).
/// Bytes that are not UTF-8 are kept as they are.
std::string lower_cased(std::string_view text);

/// The text with its ASCII letters alone in lower or upper case, as databases fold bare names.
std::string ascii_lower_cased(std::string text);
std::string ascii_upper_cased(std::string text);

/// Whether two names are equal once both are lower-cased; this is how the OLAP model and the
/// importer compare names.
bool same_name(std::string_view left, std::string_view right);

}  // namespace importkcd
