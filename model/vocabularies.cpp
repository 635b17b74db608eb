#include "model/vocabularies.h"

#include <algorithm>
#include <array>
#include <string>

#include "base/name_folding.h"

namespace importkcd {
namespace {

template <class Code>
struct Entry {
  std::string_view word;
  Code code;
};

constexpr auto dimension_types = std::to_array<Entry<OlapDimensionType>>({
    {"regular", OlapDimensionType::regular},
    {"time", OlapDimensionType::time},
    {"quantitative", OlapDimensionType::quantitative},
});

constexpr auto level_types = std::to_array<Entry<OlapLevelType>>({
    {"regular", OlapLevelType::regular},
    {"all", OlapLevelType::all},
    {"time_years", OlapLevelType::time_years},
    {"time_half_years", OlapLevelType::time_half_years},
    {"time_quarters", OlapLevelType::time_quarters},
    {"time_months", OlapLevelType::time_months},
    {"time_weeks", OlapLevelType::time_weeks},
    {"time_days", OlapLevelType::time_days},
    {"time_hours", OlapLevelType::time_hours},
    {"time_minutes", OlapLevelType::time_minutes},
    {"time_seconds", OlapLevelType::time_seconds},
});

constexpr auto orderings = std::to_array<Entry<OlapOrdering>>({
    {"name", OlapOrdering::name},
    {"key", OlapOrdering::key},
});

constexpr auto olap_modes = std::to_array<Entry<OlapMode>>({
    {"olapmodeAggsMolapIndex", OlapMode::molap},
    {"olapmodeAggsRolap", OlapMode::rolap_aggregations},
    {"olapmodeMolapIndex", OlapMode::molap},
    {"olapmodeHybridIndex", OlapMode::hybrid},
    {"olapmodeRolap", OlapMode::rolap},
});

constexpr auto aggregate_functions = std::to_array<Entry<OlapAggregateFunction>>({
    {"sum", OlapAggregateFunction::sum},
    {"count", OlapAggregateFunction::count},
    {"min", OlapAggregateFunction::min},
    {"max", OlapAggregateFunction::max},
});

constexpr auto dimension_kinds = std::to_array<Entry<OlapDimensionKind>>({
    {"shared", OlapDimensionKind::shared},
    {"private", OlapDimensionKind::is_private},
    {"virtual", OlapDimensionKind::is_virtual},
});

constexpr auto cube_kinds = std::to_array<Entry<OlapCubeKind>>({
    {"regular", OlapCubeKind::regular},
    {"virtual", OlapCubeKind::is_virtual},
});

/// The code of a word, compared exactly; the first code for a word that is not there.
template <class Vocabulary>
auto exact_code(const Vocabulary& vocabulary, std::string_view word) {
  for (const auto& entry : vocabulary) {
    if (entry.word == word) {
      return entry.code;
    }
  }
  return vocabulary.front().code;
}

/// The same without regard to letter case; the vocabulary's words are in lower case.
template <class Vocabulary>
auto code(const Vocabulary& vocabulary, Word word) {
  return exact_code(vocabulary, lower_cased(word.value_or("")));
}

/// The last word of a code is the usual one.
template <class Vocabulary, class Code>
Word word(const Vocabulary& vocabulary, Code code) {
  const auto found = std::find_if(vocabulary.rbegin(), vocabulary.rend(),
                                  [code](const auto& entry) { return entry.code == code; });
  return found == vocabulary.rend() ? std::nullopt : Word(found->word);
}

template <class Vocabulary>
std::vector<std::string_view> words_of(const Vocabulary& vocabulary) {
  std::vector<std::string_view> words;
  words.reserve(vocabulary.size());
  for (const auto& entry : vocabulary) {
    words.push_back(entry.word);
  }
  return words;
}

}  // namespace

std::vector<std::string_view> dimension_type_words() { return words_of(dimension_types); }

std::vector<std::string_view> level_type_words() { return words_of(level_types); }

std::vector<std::string_view> level_ordering_words() { return words_of(orderings); }

std::vector<std::string_view> aggregate_function_words() { return words_of(aggregate_functions); }

std::vector<std::string_view> olap_mode_words() { return words_of(olap_modes); }

OlapDimensionType dimension_type(Word word) { return code(dimension_types, word); }

OlapLevelType level_type(Word word) { return code(level_types, word); }

OlapOrdering level_ordering(Word word) { return code(orderings, word); }

OlapAggregateFunction aggregate_function(Word word) { return code(aggregate_functions, word); }

Word dimension_type_word(OlapDimensionType type) { return word(dimension_types, type); }

Word level_type_word(OlapLevelType type) { return word(level_types, type); }

Word level_ordering_word(OlapOrdering ordering) { return word(orderings, ordering); }

Word aggregate_function_word(OlapAggregateFunction function) {
  return word(aggregate_functions, function);
}

Word olap_mode_word(OlapMode mode) { return word(olap_modes, mode); }

OlapMode olap_mode(Word word) { return exact_code(olap_modes, word.value_or("")); }

bool boolean(Word word) { return boolean(word, false); }

bool boolean(Word word, bool default_value) {
  if (word && same_name(*word, "true")) {
    return true;
  }
  return word && same_name(*word, "false") ? false : default_value;
}

Word dimension_kind_word(OlapDimensionKind kind) { return word(dimension_kinds, kind); }

Word cube_kind_word(OlapCubeKind kind) { return word(cube_kinds, kind); }

}  // namespace importkcd
