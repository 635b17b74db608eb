#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/xml_element.h"
#include "model/definitions.h"

namespace importkcd {

/// A calculated member taken apart.
struct MemberDefinition {
  std::string name;
  /// "Measures", or the name of the dimension that gets the member.
  std::string dimension;
  /// The member above it, as an MDX path; empty for none.
  std::string parent;
  std::string formula;
  /// What stands behind the formula: names in upper case and values without their quotes.
  std::vector<std::pair<std::string, std::string>> properties;
};

/// Reads a statement "[CREATE] [MEMBER] PATH AS 'FORMULA' {, NAME = VALUE}". The path may begin
/// with CURRENTCUBE or the cube's name. A formula in apostrophes has its own doubled. Throws
/// NotExpressible with the reason when the statement is anything else.
MemberDefinition parse_calculated_member(const std::string& statement,
                                         const std::string& cube_name);

XmlElement calculated_member_element(const MemberDefinition& member);

/// The elements of a cube's calculated members. One that cannot be read, refers to a measure that
/// is not there, or belongs to a dimension that the cube does not have would make the engine refuse
/// the whole schema; it is left out, and `remarks` says so. `measures` holds the names of the
/// cube's measures.
std::vector<XmlElement> map_calculated_members(const OlapCube& cube,
                                               const std::vector<std::string>& measures,
                                               std::vector<std::string>& remarks);

}  // namespace importkcd
