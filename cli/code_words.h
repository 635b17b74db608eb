#pragma once

#include <string>

#include "model/codes.h"

namespace importkcd {

/// Words for the codes of the OLAP model, for people. A code without a word gives its number.

std::string word_for(OlapDimensionType type);
std::string word_for(OlapMode mode);
std::string word_for(OlapAggregateFunction function);

/// "shared", "private" or "virtual".
std::string word_for(OlapDimensionKind kind);

/// "regular" or "virtual".
std::string word_for(OlapCubeKind kind);

}  // namespace importkcd
