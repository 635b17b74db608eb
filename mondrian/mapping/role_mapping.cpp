#include "mondrian/mapping/role_mapping.h"

#include <utility>

namespace importkcd {
namespace {

constexpr const char* access_permission = "Access";

bool may_read(const OlapRole& role) {
  const auto* access = role.permissions.find(access_permission);
  return access != nullptr && access->value.find_first_of("Rr") != std::string::npos;
}

}  // namespace

void RoleGrants::add_role(const std::string& name) { roles_.edit_or_add(name); }

void RoleGrants::add_cube(const OlapCube& cube) {
  for (const auto& role : cube.roles) {
    auto& granted = roles_.edit_or_add(role.name);
    if (may_read(role)) {
      granted.cubes.push_back(cube.name);
    }
  }
}

std::vector<XmlElement> RoleGrants::elements() const {
  std::vector<XmlElement> result;
  for (const auto& role : roles_) {
    auto element = text_element("Role", {});
    element.set("name", role.name);
    auto& schema = element.add(text_element("SchemaGrant", {})).set("access", "none");
    for (const auto& cube : role.cubes) {
      schema.add(text_element("CubeGrant", {})).set("cube", cube).set("access", "all");
    }
    result.push_back(std::move(element));
  }
  return result;
}

}  // namespace importkcd
