#include <string>
#include <string_view>
#include <vector>

#include "importer/cube_parts.h"
#include "tests/support/import_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CalculatedMembers : public SectionTest {
 protected:
  CalculatedMembers() { run().current_cube = &database().add_cube("Sales", OlapCubeKind::regular); }

  /// Builds members from the children of `cube_calculated_members`.
  void build(std::string_view children) {
    const auto xml =
        "<cube_calculated_members>" + std::string(children) + "</cube_calculated_members>";
    build_calculated_members(run(), parse(xml));
  }

  void build_statement(std::string_view statement) {
    build(R"(<m name="M" statement=")" + std::string(statement) + "\"/>");
  }

  /// "name: statement" of every member of the cube.
  std::vector<std::string> members() {
    std::vector<std::string> result;
    for (const auto& member : run().current_cube->calculated_members) {
      result.push_back(member.name + ": " + member.statement);
    }
    return result;
  }
};

TEST_F(CalculatedMembers, ChildrenOfAnyTagAreAddedInDocumentOrder) {
  build(
      R"(<cube_calculated_member name="B" statement="M AS 1"/><other name="A" statement="N AS 2"/>)");
  EXPECT_THAT(members(), ElementsAre("B: M AS 1", "A: N AS 2"));
  EXPECT_THAT(sink.messages, IsEmpty());
  EXPECT_TRUE(outcome.succeeded);
}

TEST_F(CalculatedMembers, AnElementWithoutChildrenDoesNothing) {
  build("");
  EXPECT_THAT(members(), IsEmpty());
}

TEST_F(CalculatedMembers, NamesAreDecoded) {
  build(R"(<m name="The year@#$%s best" statement="M AS 1"/>)");
  EXPECT_THAT(members(), ElementsAre("The year's best: M AS 1"));
}

TEST_F(CalculatedMembers, ApostrophesAreSingleInTheMemberAndDoubledInTheFormula) {
  build_statement("[a@#$%b@#$%] AS @#$%x@#$%");
  EXPECT_THAT(members(), ElementsAre("M: [a'b'] AS ''x''"));
}

TEST_F(CalculatedMembers, ApostrophesThatAreNoPlaceholdersStayAsTheyStand) {
  build_statement("[a'b] AS 'x'");
  EXPECT_THAT(members(), ElementsAre("M: [a'b] AS 'x'"));
}

TEST_F(CalculatedMembers, WhatFollowsASecondSeparatorIsDropped) {
  build_statement("M AS A AS B AS C");
  EXPECT_THAT(members(), ElementsAre("M: M AS A"));
}

TEST_F(CalculatedMembers, EmptyPiecesAreKept) {
  build_statement(" AS ");
  EXPECT_THAT(members(), ElementsAre("M:  AS "));
}

TEST_F(CalculatedMembers, SeparatorsDoNotOverlap) {
  build_statement("M AS AS A");
  EXPECT_THAT(members(), ElementsAre("M: M AS AS A"));
}

TEST_F(CalculatedMembers, ASeparatorInLowerCaseIsNone) {
  build_statement("M as A");
  EXPECT_THAT(members(), IsEmpty());
}

TEST_F(CalculatedMembers, AFailingMemberIsLeftOutSilentlyAndTheNextOneFollows) {
  build(R"(<m name="No separator" statement="M"/>
           <m name="No statement"/>
           <m statement="M AS 1"/>
           <m name="" statement="M AS 2"/>
           <m name="Good" statement="M AS 3"/>
           <m name="GOOD" statement="M AS 4"/>
           <m name="Last" statement="M AS 5"/>)");
  EXPECT_THAT(members(), ElementsAre("Good: M AS 3", "Last: M AS 5"));
  EXPECT_THAT(sink.messages, IsEmpty());
  expect_no_error();
}

}  // namespace
}  // namespace importkcd::testing
