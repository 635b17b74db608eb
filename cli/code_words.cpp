#include "cli/code_words.h"

#include <cstdint>

#include "model/vocabularies.h"

namespace importkcd {
namespace {

/// A catalogue may hold codes that no word is known for.
template <class Code>
std::string number_of(Code code) {
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
  return number_of(type);
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
  return number_of(mode);
}

std::string word_for(OlapAggregateFunction function) {
  const auto word = aggregate_function_word(function);
  return word ? std::string(*word) : number_of(function);
}

std::string word_for(OlapDimensionKind kind) {
  switch (kind) {
    case OlapDimensionKind::shared:
      return "shared";
    case OlapDimensionKind::is_private:
      return "private";
    case OlapDimensionKind::is_virtual:
      return "virtual";
  }
  return number_of(kind);
}

std::string word_for(OlapCubeKind kind) {
  switch (kind) {
    case OlapCubeKind::regular:
      return "regular";
    case OlapCubeKind::is_virtual:
      return "virtual";
  }
  return number_of(kind);
}

}  // namespace importkcd
