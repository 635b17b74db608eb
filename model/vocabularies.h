#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "model/codes.h"

namespace importkcd {

/// The words of a cube definition document and the codes of the OLAP model that they stand for.
/// Words are compared without regard to letter case, unless noted; an unknown or absent word gives
/// the vocabulary's first code.
using Word = std::optional<std::string_view>;

OlapDimensionType dimension_type(Word word);
OlapLevelType level_type(Word word);
OlapOrdering level_ordering(Word word);
OlapAggregateFunction aggregate_function(Word word);

/// The word of a code, the usual one where it has several; nothing for a code that the vocabulary
/// does not have.
Word dimension_type_word(OlapDimensionType type);
Word level_type_word(OlapLevelType type);
Word level_ordering_word(OlapOrdering ordering);
Word aggregate_function_word(OlapAggregateFunction function);
Word olap_mode_word(OlapMode mode);

/// Compared exactly, letter case and all.
OlapMode olap_mode(Word word);

/// "true" is true, everything else false.
bool boolean(Word word);

/// "true" is true, "false" is false, everything else the default.
bool boolean(Word word, bool default_value);

/// "shared", "private" or "virtual"; "regular" or "virtual": words of no document, for people.
Word dimension_kind_word(OlapDimensionKind kind);
Word cube_kind_word(OlapCubeKind kind);
/// The words of the vocabularies, the first one for the first code.
std::vector<std::string_view> dimension_type_words();
std::vector<std::string_view> level_type_words();
std::vector<std::string_view> level_ordering_words();
std::vector<std::string_view> aggregate_function_words();
std::vector<std::string_view> olap_mode_words();

}  // namespace importkcd
