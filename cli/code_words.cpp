#include "cli/code_words.h"

#include <cstdint>

#include "model/vocabularies.h"

namespace importkcd {
namespace {

/// A database may hold codes that no word is known for.
template <class Code>
std::string code_text(Code code) {
  return std::to_string(static_cast<std::int32_t>(code));
}

}  // namespace

std::string word_for(OlapDimensionType type) {
  switch (type) {
    case OlapDimensionType::regular:
      return "regular";
    case OlapDimensionType::time:
      return "time";
    case OlapDimensionType::quantitative:
      return "quantitative";
  }
  return code_text(type);
}

std::string word_for(OlapMode mode) {
  switch (mode) {
    case OlapMode::molap:
      return "MOLAP";
    case OlapMode::hybrid:
      return "HOLAP";
    case OlapMode::rolap_aggregations:
      return "ROLAP with aggregations";
    case OlapMode::rolap:
      return "ROLAP";
  }
  return code_text(mode);
}

std::string word_for(OlapAggregateFunction function) {
  const auto word = aggregate_function_word(function);
  return word ? std::string(*word) : code_text(function);
}

std::string word_for(OlapDimensionKind kind) {
  const auto word = dimension_kind_word(kind);
  return word ? std::string(*word) : code_text(kind);
}

std::string word_for(OlapCubeKind kind) {
  const auto word = cube_kind_word(kind);
  return word ? std::string(*word) : code_text(kind);
}

}  // namespace importkcd
