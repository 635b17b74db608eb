#include "importer/calculated_members.h"

#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "base/apostrophes.h"
#include "base/import_error.h"
#include "document/attributes.h"

namespace importkcd {
namespace {

constexpr std::string_view separator = " AS ";

/// The stored form of a definition "MEMBER AS FORMULA". Whatever follows a second separator is not
/// part of it. The formula is quoted on the server, which is why its apostrophes are doubled.
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

void build_calculated_member(OlapCube& cube, const KcdElement& element) {
  OlapCalculatedMember member;
  member.name = decoded_text(element, "name");
  member.statement = member_statement(raw_text(element, "statement"));
  cube.calculated_members.add(std::move(member));
}

}  // namespace

void BuildCalculatedMembers(ImportRun& run, const KcdElement& cube_calculated_members) {
  for (const KcdElement& element : children_of(cube_calculated_members)) {
    try {
      build_calculated_member(*run.current_cube, element);
    } catch (const std::exception&) {
      continue;
    }
  }
}

}  // namespace importkcd
