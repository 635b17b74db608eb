#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "base/apostrophes.h"
#include "base/import_error.h"
#include "base/name_folding.h"
#include "document/attributes.h"
#include "importer/cube_parts.h"
#include "model/vocabularies.h"

namespace importkcd {
namespace {

/// Figures that are added up although the document asks for something else should surprise nobody.
void say_if_unknown(const ImportRun& run, std::string_view word, const OlapMeasure& measure) {
  const auto understood = aggregate_function_word(measure.aggregate_function);
  if (!understood || !same_name(*understood, word)) {
    run.remark("Cube '" + run.current_cube->name + "': the aggregate function '" +
               std::string(word) + "' of measure '" + measure.name +
               "' is not known; the measure becomes a sum");
  }
}

void build_measure(const ImportRun& run, const KcdElement& element) {
  OlapMeasure& measure = run.current_cube->measures.add_new(decoded_text(element, "name"));
  measure.description = decoded_text(element, "description");
  measure.format = raw_text(element, "format");
  measure.source_column = raw_text(element, "source_column");
  measure.internal = boolean(element.attribute("internal"), false);
  const auto word = raw_text(element, "aggregate_function");
  measure.aggregate_function = aggregate_function(word);
  say_if_unknown(run, word, measure);
}

constexpr std::string_view separator = " AS ";

/// The stored form of a calculated member's definition "MEMBER AS FORMULA". Whatever follows a
/// second separator is not part of it. The formula is quoted on the server, which is why its
/// apostrophes are doubled.
std::string member_statement(std::string_view text) {
  const auto at = text.find(separator);
  if (at == std::string_view::npos) {
    throw ImportError("Subscript out of range", error_source::kcd_document);
  }
  auto formula = text.substr(at + separator.size());
  formula = formula.substr(0, formula.find(separator));
  auto statement = DecodeApostrophes(text.substr(0, at));
  statement.append(separator).append(DecodeApostrophesForStatement(formula));
  return statement;
}

void build_calculated_member(const KcdElement& element, OlapCube& cube) {
  OlapCalculatedMember member;
  member.name = decoded_text(element, "name");
  member.statement = member_statement(raw_text(element, "statement"));
  cube.calculated_members.add(std::move(member));
}

template <class Step>
void leave_out_when_broken(Step step) {
  try {
    step();
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception&) {
    return;
  }
}

}  // namespace

// A cube is still of use without a broken measure or calculated member, so their errors are
// ignored; whoever uses the cube sees what is missing. A lack of memory is no fault of theirs: a
// cube that lost a measure to it would be taken for complete.

void build_measures(ImportRun& run, const KcdElement& cube_measures) {
  for (const KcdElement& element : children_of(cube_measures)) {
    leave_out_when_broken([&] { build_measure(run, element); });
  }
}

void build_calculated_members(ImportRun& run, const KcdElement& cube_calculated_members) {
  for (const KcdElement& element : children_of(cube_calculated_members)) {
    leave_out_when_broken([&] { build_calculated_member(element, *run.current_cube); });
  }
}

}  // namespace importkcd
