#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// Lower-cases UTF-8 text character by character (simple Unicode case mapping, no locale).
/// Bytes that are not UTF-8 are kept as they are.
std::string lower_cased(std::string_view text);

/// Whether two names are equal once both are lower-cased: the comparison of names in the importer
/// and the OLAP model.
bool same_name(std::string_view left, std::string_view right);

}  // namespace importkcd
