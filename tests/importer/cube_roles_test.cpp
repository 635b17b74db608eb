#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "importer/cube_parts.h"
#include "tests/support/import_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view one_role =
    R"(<cube_roles><cube_role name="Readers" permissions="new"/></cube_roles>)";

class CubeRoles : public SectionTest {
 protected:
  CubeRoles() : cube(database().add_cube("Sales", OlapCubeKind::regular)) {}

  void add_role(const std::string& name, const std::string& access) {
    OlapRole role;
    role.name = name;
    role.permissions.add({"Access", access});
    cube.roles.add(std::move(role));
  }

  void build(std::string_view xml) { build_cube_roles(run(), parse(xml), cube); }

  /// "role: key=value ..." of every role of the cube.
  std::vector<std::string> roles() const {
    std::vector<std::string> result;
    for (const auto& role : cube.roles) {
      std::string text = role.name + ":";
      for (const auto& permission : role.permissions) {
        text += " " + permission.name + "=" + permission.value;
      }
      result.push_back(text);
    }
    return result;
  }

  OlapCube& cube;
};

class CubeRolesInEveryMode : public CubeRoles,
                             public ::testing::WithParamInterface<std::int32_t> {};

TEST_P(CubeRolesInEveryMode, ANewRoleIsCreated) {
  options.ImportType = GetParam();
  build(one_role);
  EXPECT_THAT(roles(), ElementsAre("Readers: Access=new"));
  EXPECT_THAT(sink.messages, ElementsAre("Creating cube role 'Readers'"));
}

INSTANTIATE_TEST_SUITE_P(Modes, CubeRolesInEveryMode,
                         ::testing::Values(import_type::none, import_type::incremental,
                                           import_type::replace, import_type::update, 4));

TEST_F(CubeRoles, AnExistingRoleIsSkippedInIncrementalMode) {
  options.ImportType = import_type::incremental;
  add_role("READERS", "old");
  build(one_role);
  EXPECT_THAT(roles(), ElementsAre("READERS: Access=old"));
  EXPECT_THAT(sink.messages, ElementsAre("Skipping cube role 'Readers'"));
}

TEST_F(CubeRoles, AnExistingRoleGetsItsPermissionOverwrittenInUpdateMode) {
  options.ImportType = import_type::update;
  add_role("READERS", "old");
  build(one_role);
  EXPECT_THAT(roles(), ElementsAre("READERS: Access=new"));
  EXPECT_THAT(sink.messages, ElementsAre("Updateing cube role 'Readers'"));
}

TEST_F(CubeRoles, AnExistingRoleIsLeftAloneWithoutAMessageInReplaceMode) {
  options.ImportType = import_type::replace;
  add_role("Readers", "old");
  build(one_role);
  EXPECT_THAT(roles(), ElementsAre("Readers: Access=old"));
  EXPECT_THAT(sink.messages, IsEmpty());
}

TEST_F(CubeRoles, AnExistingRoleIsLeftAloneWithoutAMessageWhenNoModeIsChosen) {
  options.ImportType = import_type::none;
  add_role("Readers", "old");
  build(one_role);
  EXPECT_THAT(roles(), ElementsAre("Readers: Access=old"));
  EXPECT_THAT(sink.messages, IsEmpty());
}

TEST_F(CubeRoles, OtherPermissionsOfAnExistingRoleStay) {
  options.ImportType = import_type::update;
  add_role("Readers", "old");
  cube.roles.edit("Readers")->permissions.add({"CellRead", "all"});
  build(one_role);
  EXPECT_THAT(roles(), ElementsAre("Readers: Access=new CellRead=all"));
}

TEST_F(CubeRoles, ARoleNamedTwiceIsCreatedAndThenUpdated) {
  options.ImportType = import_type::update;
  build(R"(<cube_roles><a name="R" permissions="1"/><b name="R" permissions="2"/></cube_roles>)");
  EXPECT_THAT(roles(), ElementsAre("R: Access=2"));
  EXPECT_THAT(sink.messages, ElementsAre("Creating cube role 'R'", "Updateing cube role 'R'"));
}

TEST_F(CubeRoles, NamesAreDecodedAndPermissionsAreNot) {
  options.ImportType = import_type::update;
  add_role("Anna's", "old");
  build(R"(<cube_roles><r name="Anna@#$%s" permissions="R@#$%W"/>
                       <r name="Bert@#$%s" permissions="@#$%"/></cube_roles>)");
  EXPECT_THAT(roles(), ElementsAre("Anna's: Access=R@#$%W", "Bert's: Access=@#$%"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Updateing cube role 'Anna's'", "Creating cube role 'Bert's'"));
}

TEST_F(CubeRoles, AnElementWithoutChildrenDoesNothing) {
  build("<cube_roles/>");
  EXPECT_THAT(roles(), IsEmpty());
  EXPECT_THAT(sink.messages, IsEmpty());
}

/// Builds roles and gives the error that ended it, with its source.
std::string error_of(ImportRun& run, const KcdElement& cube_roles, OlapCube& cube) {
  try {
    build_cube_roles(run, cube_roles, cube);
  } catch (const ImportError& error) {
    return error.description() + " in " + error.source();
  }
  return "";
}

TEST_F(CubeRoles, AnAbsentNameEndsTheBuilder) {
  const auto& xml =
      parse(R"(<r><a name="A" permissions="1"/><b/><c name="C" permissions=""/></r>)");
  EXPECT_EQ(error_of(run(), xml, cube), "Invalid use of Null in KCD document");
  EXPECT_THAT(roles(), ElementsAre("A: Access=1"));
}

TEST_F(CubeRoles, AbsentPermissionsEndTheBuilderAfterTheRoleWasCreated) {
  const auto& xml = parse(R"(<r><a name="A"/><c name="C" permissions=""/></r>)");
  EXPECT_EQ(error_of(run(), xml, cube), "Invalid use of Null in KCD document");
  EXPECT_THAT(roles(), ElementsAre("A:"));
  EXPECT_THAT(sink.messages, ElementsAre("Creating cube role 'A'"));
}

TEST_F(CubeRoles, AbsentPermissionsOfASkippedRoleAreNoError) {
  options.ImportType = import_type::incremental;
  add_role("A", "old");
  build(R"(<cube_roles><cube_role name="A"/></cube_roles>)");
  EXPECT_THAT(roles(), ElementsAre("A: Access=old"));
}

TEST_F(CubeRoles, AnUpdateIsToldBeforeThePermissionIsReadAndWritten) {
  options.ImportType = import_type::update;
  add_role("A", "old");
  std::vector<std::string> seen;
  WatchingSink watching([&](const std::string& message) {
    seen.push_back(message);
    EXPECT_THAT(roles(), ElementsAre("A: Access=old")) << message;
  });
  options.progres_window = &watching;
  build(R"(<r><a name="A" permissions="new"/></r>)");
  EXPECT_THAT(roles(), ElementsAre("A: Access=new"));
  add_role("B", "old");
  cube.roles.edit("A")->permissions.put({"Access", "old"});
  options.progres_window = &sink;
  EXPECT_EQ(error_of(run(), parse(R"(<r><b name="B"/></r>)"), cube),
            "Invalid use of Null in KCD document");
  EXPECT_THAT(seen, ElementsAre("Updateing cube role 'A'"));
  EXPECT_THAT(sink.messages, ElementsAre("Updateing cube role 'B'"));
  EXPECT_THAT(roles(), ElementsAre("A: Access=old", "B: Access=old"));
}

TEST_F(CubeRoles, AnEmptyNameEndsTheBuilder) {
  EXPECT_NE(error_of(run(), parse(R"(<r><a name="" permissions="1"/></r>)"), cube), "");
  EXPECT_THAT(sink.messages, IsEmpty());
}

}  // namespace
}  // namespace importkcd::testing
