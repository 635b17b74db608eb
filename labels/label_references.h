#pragma once

#include <string>
#include <string_view>

#include "engine/text_encoding.h"
#include "labels/loaded_labels.h"

namespace importkcd {

/// What SubstituteLabelReferences gives for a text without a reference into the loaded range.
constexpr std::string_view no_reference_resolved = "ERROR";

/// Replaces the label references "$##" ID "%" of a text by the labels. An ID in range without a
/// label (or with nothing but blanks), and an ID out of range, becomes "Unknown" and the ID; a
/// marker that opens no reference stays. Gives "ERROR" when no ID lies in the loaded range.
///
/// `text` is in `encoding`, a byte order mark included; labels, which are UTF-8, are brought into
/// it, with numeric character references for characters that it lacks. Throws ImportError for an ID
/// that does not fit in 16 bits.
std::string SubstituteLabelReferences(std::string_view text, const LoadedLabels& labels,
                                      const TextEncoding& encoding);

/// The same for a UTF-8 text.
std::string SubstituteLabelReferences(std::string_view text, const LoadedLabels& labels);

}  // namespace importkcd
