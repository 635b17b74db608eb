#include "mondrian/mapping/role_mapping.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

OlapCube cube(const std::string& name,
              const std::vector<std::pair<std::string, std::string>>& permissions) {
  OlapCube result;
  result.name = name;
  for (const auto& [role, access] : permissions) {
    result.roles.add_new(role).permissions.add({"Access", access});
  }
  return result;
}

std::string text(const RoleGrants& grants) {
  std::string result;
  for (const auto& element : grants.elements()) {
    result += xml_text(element);
  }
  return result;
}

TEST(RoleMapping, ARoleOfTheDatabaseSeesNothingOfItself) {
  RoleGrants grants;
  grants.add_role("O'Neill & <Co>");
  EXPECT_EQ(text(grants),
            "<Role name=\"O'Neill &amp; &lt;Co&gt;\">\n"
            "  <SchemaGrant access=\"none\"/>\n"
            "</Role>\n");
}

TEST(RoleMapping, CubesGrantWhatTheirPermissionsSay) {
  RoleGrants grants;
  grants.add_role("Readers");
  grants.add_cube(cube("Sales", {{"readers", "R"}, {"Writers", "RW"}, {"Nobody", ""}}));
  grants.add_cube(cube("Stock", {{"READERS", "r"}, {"Writers", "W"}}));
  EXPECT_EQ(text(grants),
            "<Role name=\"Readers\">\n"
            "  <SchemaGrant access=\"none\">\n"
            "    <CubeGrant cube=\"Sales\" access=\"all\"/>\n"
            "    <CubeGrant cube=\"Stock\" access=\"all\"/>\n"
            "  </SchemaGrant>\n"
            "</Role>\n"
            "<Role name=\"Writers\">\n"
            "  <SchemaGrant access=\"none\">\n"
            "    <CubeGrant cube=\"Sales\" access=\"all\"/>\n"
            "  </SchemaGrant>\n"
            "</Role>\n"
            "<Role name=\"Nobody\">\n"
            "  <SchemaGrant access=\"none\"/>\n"
            "</Role>\n");
}

TEST(RoleMapping, ARoleWithoutAPermissionIsGrantedNothing) {
  RoleGrants grants;
  OlapCube sales = cube("Sales", {});
  sales.roles.add_new("Readers");
  grants.add_cube(sales);
  EXPECT_EQ(text(grants), "<Role name=\"Readers\">\n  <SchemaGrant access=\"none\"/>\n</Role>\n");
}

}  // namespace
}  // namespace importkcd
