#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "importer/sections.h"
#include "servers/catalogue/catalogue_store.h"
#include "servers/working_copy_server.h"
#include "tests/support/forwarding_server.h"
#include "tests/support/forwarding_store.h"
#include "tests/support/import_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr std::string_view overview = R"(
<virtual_cubes>
  <virtual_cube name="Overview">
    <measure_references>
      <measure_reference name="Money" source_column="Sales.Amount"/>
      <measure_reference name="Pieces" source_column="Stock.Pieces"/>
    </measure_references>
    <dimension_references>
      <dimension_reference name="Time"/>
      <dimension_reference name="Product"/>
    </dimension_references>
    <cube_roles><cube_role name="Readers" permissions="R"/></cube_roles>
  </virtual_cube>
</virtual_cubes>)";

constexpr const char* overview_content =
    "Overview virtual: measures Money=Sales.Amount Pieces=Stock.Pieces; dimensions Time Product; "
    "roles Readers=R;";

/// What the tests compare of a cube, in one line.
std::string cube_line(const OlapCube& cube) {
  std::string line = cube.name;
  line += cube.kind == OlapCubeKind::is_virtual ? " virtual: measures" : " regular: measures";
  for (const auto& measure : cube.measures) {
    line += " " + measure.name + "=" + measure.source_column;
  }
  line += "; dimensions";
  for (const auto& dimension : cube.dimensions) {
    line += " " + dimension.name;
  }
  line += "; roles";
  for (const auto& role : cube.roles) {
    const auto* access = role.permissions.find("Access");
    line += " " + role.name + "=" + (access == nullptr ? "" : access->value);
  }
  return line + ";";
}

class VirtualCubes : public SectionTest {
 protected:
  /// Every operation of the server goes through this hook, which a test may set at any time.
  ForwardingServer::Hook hook;
  std::vector<std::string> operations;

  void SetUp() override {
    use_hook([this](const std::string& operation) {
      operations.push_back(operation);
      if (hook) {
        hook(operation);
      }
    });
    for (const char* name : {"Time", "Product", "Bob's"}) {
      OlapDimension dimension;
      dimension.name = name;
      server().write_back_dimension(database(), database().dimensions().add(std::move(dimension)));
    }
    operations.clear();
  }

  void import(std::string_view xml) { import_virtual_cubes(run(), &parse(xml)); }

  /// The cubes of the working copy.
  std::vector<std::string> cubes() {
    std::vector<std::string> result;
    for (const auto& name : database().cubes().names()) {
      result.push_back(cube_line(*database().cubes().find(name)));
    }
    return result;
  }

  /// The cubes that the server has after the run.
  std::vector<std::string> stored_cubes() {
    store_and_reopen();
    return cubes();
  }

  /// A virtual cube that an earlier run stored.
  void store_old_virtual_cube() {
    OlapCube& cube = database().add_cube("Overview", OlapCubeKind::is_virtual);
    OlapMeasure measure;
    measure.name = "Old";
    cube.measures.add(std::move(measure));
    database().add_cube_dimension(cube, "Bob's");
    OlapRole role;
    role.name = "Readers";
    role.permissions.add({"Access", "old"});
    cube.roles.add(std::move(role));
    server().write_back_database(database());
    store_and_reopen();
    operations.clear();
  }

  void store_old_regular_cube() {
    OlapCube& cube = database().add_cube("Overview", OlapCubeKind::regular);
    server().write_back_cube(database(), cube);
    store_and_reopen();
    operations.clear();
  }
};

constexpr const char* old_content =
    "Overview virtual: measures Old=; dimensions Bob's; roles Readers=old;";

TEST_F(VirtualCubes, ANewOneTakesOverMeasuresDimensionsAndRoles) {
  import(overview);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual cubes", "Searching virtual cube 'Overview'",
                          "Creating virtual cube 'Overview'", "Creating measure references",
                          "Creating dimension references", "Creating cube role 'Readers'"));
  EXPECT_THAT(stored_cubes(), ElementsAre(overview_content));
  expect_no_error();
}

TEST_F(VirtualCubes, TheDatabaseIsSavedAndTheVirtualCubeIsNot) {
  import(overview);
  EXPECT_THAT(operations, ElementsAre("write_back_database Test"));
}

TEST_F(VirtualCubes, AbsentElementAndEmptyElementYieldOnlyTheHeading) {
  import_virtual_cubes(run(), nullptr);
  import("<virtual_cubes/>");
  EXPECT_THAT(sink.messages, ElementsAre("Creating virtual cubes", "Creating virtual cubes"));
}

TEST_F(VirtualCubes, NamesAreDecodedAndSourceColumnsAreNot) {
  import(R"(<v><c name="A@#$%s"><measure_references><m name="M@#$%" source_column="@#$%"/>
            </measure_references><dimension_references><d name="Bob@#$%s"/></dimension_references>
            <cube_roles/></c></v>)");
  EXPECT_THAT(cubes(), ElementsAre("A's virtual: measures M'=@#$%; dimensions Bob's; roles;"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual cubes", "Searching virtual cube 'A's'",
                          "Creating virtual cube 'A's'", "Creating measure references",
                          "Creating dimension references"));
}

TEST_F(VirtualCubes, AnExistingOneIsSkippedInIncrementalMode) {
  store_old_virtual_cube();
  options.ImportType = import_type::incremental;
  import(overview);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual cubes", "Searching virtual cube 'Overview'",
                          "Skipping virtual cube 'Overview'"));
  EXPECT_THAT(operations, IsEmpty());
  EXPECT_THAT(stored_cubes(), ElementsAre(old_content));
}

class VirtualCubesLeftAlone : public VirtualCubes,
                              public ::testing::WithParamInterface<std::int32_t> {};

TEST_P(VirtualCubesLeftAlone, AnExistingOneYieldsOnlyTheSearchingMessage) {
  store_old_virtual_cube();
  options.ImportType = GetParam();
  import(overview);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual cubes", "Searching virtual cube 'Overview'"));
  EXPECT_THAT(stored_cubes(), ElementsAre(old_content));
}

INSTANTIATE_TEST_SUITE_P(Modes, VirtualCubesLeftAlone,
                         ::testing::Values(import_type::none, import_type::replace, 4));

TEST_F(VirtualCubes, AnExistingVirtualCubeIsEmptiedAndRewrittenInUpdateMode) {
  store_old_virtual_cube();
  options.ImportType = import_type::update;
  import(overview);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual cubes", "Searching virtual cube 'Overview'",
                          "Update virtual cube 'Overview'", "Creating measure references",
                          "Creating dimension references", "Updateing cube role 'Readers'"));
  EXPECT_THAT(operations,
              ElementsAre("lock_cube Overview", "remove_first measures Overview",
                          "remove_first dimensions Overview", "write_back_database Test"));
  EXPECT_THAT(stored_cubes(), ElementsAre(overview_content));
}

TEST_F(VirtualCubes, AnExistingRegularCubeMakesWayInUpdateMode) {
  store_old_regular_cube();
  options.ImportType = import_type::update;
  import(overview);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual cubes", "Searching virtual cube 'Overview'",
                          "Creating new virtual cube 'Overview'", "Creating measure references",
                          "Creating dimension references", "Creating cube role 'Readers'"));
  EXPECT_THAT(stored_cubes(), ElementsAre(overview_content));
}

TEST_F(VirtualCubes, AVirtualCubeStandsInTheRegularOnesPlaceWhenItIsTold) {
  store_old_regular_cube();
  options.ImportType = import_type::update;
  std::vector<std::string> seen;
  WatchingSink watching([&](const std::string& message) {
    const bool regular = database().cubes().find("Overview")->kind == OlapCubeKind::regular;
    seen.push_back(message + (regular ? ": regular" : ": virtual"));
  });
  options.progres_window = &watching;
  import(R"(<v><c name="Overview"/></v>)");
  EXPECT_THAT(seen, ElementsAre("Creating virtual cubes: regular",
                                "Searching virtual cube 'Overview': regular",
                                "Creating new virtual cube 'Overview': virtual",
                                "Creating measure references: virtual",
                                "Creating dimension references: virtual"));
}

TEST_F(VirtualCubes, ARefusedLockCancelsTheUpdateAndTheNextOneFollows) {
  store_old_virtual_cube();
  options.ImportType = import_type::update;
  hook = fail_operation("lock_cube Overview");
  import(R"(<v><c name="Overview"/><c name="Next"/></v>)");
  EXPECT_THAT(
      sink.messages,
      ElementsAre("Creating virtual cubes", "Searching virtual cube 'Overview'",
                  "Update virtual cube 'Overview'", "Error : Can't update Virtual Cube 'Overview'",
                  "           Updating virtual cube 'Overview' canceled",
                  "Searching virtual cube 'Next'", "Creating virtual cube 'Next'",
                  "Creating measure references", "Creating dimension references"));
  EXPECT_THAT(stored_cubes(),
              ElementsAre(old_content, "Next virtual: measures; dimensions; roles;"));
  expect_no_error();
}

TEST_F(VirtualCubes, TheSecondEmptyingStepRunsOnlyAfterTheFirstSucceeded) {
  store_old_virtual_cube();
  options.ImportType = import_type::update;
  hook = fail_operation("remove_first measures Overview");
  import(overview);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual cubes", "Searching virtual cube 'Overview'",
                          "Update virtual cube 'Overview'",
                          "           Updating virtual cube 'Overview' canceled"));
  EXPECT_THAT(operations, ElementsAre("lock_cube Overview", "remove_first measures Overview"));
  EXPECT_THAT(stored_cubes(), ElementsAre(old_content));
  expect_no_error();
}

TEST_F(VirtualCubes, AFailingSecondEmptyingStepCancelsTheUpdate) {
  store_old_virtual_cube();
  options.ImportType = import_type::update;
  hook = fail_operation("remove_first dimensions Overview");
  import(overview);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual cubes", "Searching virtual cube 'Overview'",
                          "Update virtual cube 'Overview'",
                          "           Updating virtual cube 'Overview' canceled"));
}

TEST_F(VirtualCubes, MessagesThatCannotBeShownAreIgnored) {
  class Broken : public ProgressSink {
   public:
    void put_progres_message(const std::string& /*message*/) override {
      throw std::runtime_error("no window");
    }
  };
  Broken broken;
  options.progres_window = &broken;
  options.ImportType = import_type::update;
  store_old_virtual_cube();
  EXPECT_NO_THROW(import(overview));
  expect_no_error();
  EXPECT_THAT(stored_cubes(), Not(ElementsAre(old_content)));
  EXPECT_THAT(stored_cubes(), SizeIs(1));
}

TEST_F(VirtualCubes, TheCreatingMessageIsSentEvenWhenTheAddFailed) {
  import(R"(<v><c name=""><cube_roles/></c></v>)");
  EXPECT_THAT(sink.messages, ElementsAre("Creating virtual cubes", "Searching virtual cube ''",
                                         "Creating virtual cube ''"));
  EXPECT_THAT(operations, IsEmpty());
  expect_no_error();
}

TEST_F(VirtualCubes, AnAbsentNameReadsAsTheEmptyText) {
  import(R"(<v><c/></v>)");
  EXPECT_THAT(sink.messages, ElementsAre("Creating virtual cubes", "Searching virtual cube ''",
                                         "Creating virtual cube ''"));
  expect_no_error();
}

TEST_F(VirtualCubes, AMeasureWithoutSourceColumnIsStillAdded) {
  import(R"(<v><c name="V"><measure_references><m name="A"/><m name="B" source_column="b"/>
            </measure_references><dimension_references/><cube_roles/></c></v>)");
  EXPECT_THAT(stored_cubes(), ElementsAre("V virtual: measures A= B=b; dimensions; roles;"));
  expect_no_error();
}

TEST_F(VirtualCubes, RefusedReferencesAreLeftOutAndTheOthersFollow) {
  import(R"(<v><c name="V"><measure_references><m source_column="x"/><m name="" source_column="y"/>
            <m name="A" source_column="a"/><m name="a" source_column="z"/>
            <m name="B" source_column="b"/></measure_references>
            <dimension_references><d/><d name="Unknown"/><d name="Time"/><d name="time"/>
            <d name="Product"/></dimension_references><cube_roles/></c></v>)");
  EXPECT_THAT(stored_cubes(),
              ElementsAre("V virtual: measures A=a B=b; dimensions Time Product; roles;"));
  expect_no_error();
}

TEST_F(VirtualCubes, AbsentChildElementsAreIgnoredAfterTheirMessages) {
  import(R"(<v><c name="V"/></v>)");
  EXPECT_THAT(sink.messages, ElementsAre("Creating virtual cubes", "Searching virtual cube 'V'",
                                         "Creating virtual cube 'V'", "Creating measure references",
                                         "Creating dimension references"));
  EXPECT_THAT(stored_cubes(), ElementsAre("V virtual: measures; dimensions; roles;"));
  expect_no_error();
}

TEST_F(VirtualCubes, TheRolesEndAtTheirFirstErrorAndTheDatabaseIsStillSaved) {
  import(R"(<v><c name="V"><cube_roles><r name="A" permissions="1"/><r name="B"/>
            <r name="C" permissions="3"/></cube_roles></c></v>)");
  EXPECT_THAT(stored_cubes(), ElementsAre("V virtual: measures; dimensions; roles A=1 B=;"));
  expect_no_error();
}

TEST_F(VirtualCubes, AFailedSaveIsIgnoredAndTheNextOneFollows) {
  int saves = 0;
  hook = [&saves](const std::string& operation) {
    if (operation == "write_back_database Test" && ++saves == 1) {
      throw ImportError("full", error_source::olap_server);
    }
  };
  import(R"(<v><c name="A"/><c name="B"/></v>)");
  EXPECT_EQ(saves, 2);
  expect_no_error();
}

TEST_F(VirtualCubes, AnOlderMeasureOfTheSameNameMakesWayInUpdateMode) {
  store_old_virtual_cube();
  options.ImportType = import_type::update;
  import(R"(<v><c name="OVERVIEW"><measure_references><m name="Old" source_column="new"/>
            </measure_references></c></v>)");
  EXPECT_THAT(stored_cubes(),
              ElementsAre("Overview virtual: measures Old=new; dimensions; roles Readers=old;"));
}

TEST_F(VirtualCubes, ACanceledUpdateIsNotStoredByTheNextSave) {
  store_old_virtual_cube();
  options.ImportType = import_type::update;
  hook = fail_operation("remove_first dimensions Overview");
  import(R"(<v><c name="Overview"/><c name="Next"/></v>)");
  EXPECT_THAT(stored_cubes(),
              ElementsAre(old_content, "Next virtual: measures; dimensions; roles;"));
  EXPECT_THAT(outcome.passed_over,
              ElementsAre("Virtual cube 'Overview' was not updated: refused by the test"));
}

TEST_F(VirtualCubes, AnErrorOfTheLockCheckThatIsNoRefusalCancelsTheUpdateWithItsReason) {
  store_old_virtual_cube();
  options.ImportType = import_type::update;
  hook = [](const std::string& operation) {
    if (operation == "lock_cube Overview") {
      throw ImportError("disk on fire", error_source::olap_server);
    }
  };
  import(overview);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual cubes", "Searching virtual cube 'Overview'",
                          "Update virtual cube 'Overview'",
                          "           Updating virtual cube 'Overview' canceled"));
  EXPECT_THAT(outcome.passed_over,
              ElementsAre("Virtual cube 'Overview' was not updated: disk on fire"));
  EXPECT_THAT(stored_cubes(), ElementsAre(old_content));
}

TEST_F(SectionTest, AFailedLookForAVirtualCubeLetsNothingTakeThePlaceOfTheOneThatIsThere) {
  bool fails = false;
  use_server(std::make_unique<WorkingCopyServer>(std::make_shared<ForwardingStore>(
      make_catalogue_store(folder.file("server.olap"), ServerAccess::read_write), [&fails] {
        if (std::exchange(fails, false)) {
          throw ImportError("look failed", error_source::olap_server);
        }
      })));
  server().write_back_cube(database(), database().add_cube("Sales", OlapCubeKind::regular));
  for (const auto type : {import_type::incremental, import_type::replace, import_type::update}) {
    store_and_reopen();
    options.ImportType = type;
    sink.messages.clear();
    fails = true;
    import_virtual_cubes(run(), &parse(R"(<v><c name="Sales"/></v>)"));
    EXPECT_FALSE(fails);
    EXPECT_THAT(sink.messages,
                ElementsAre("Creating virtual cubes", "Searching virtual cube 'Sales'",
                            "Creating virtual cube 'Sales'"));
    EXPECT_EQ(database().cubes().find("Sales")->kind, OlapCubeKind::regular);
    store_and_reopen();
    EXPECT_EQ(database().cubes().find("Sales")->kind, OlapCubeKind::regular);
  }
}

TEST_F(SectionTest, NoFailedReadOfTheStoreEndsTheImportOfVirtualCubes) {
  int reads = 0;
  int failing = 0;
  use_server(std::make_unique<WorkingCopyServer>(std::make_shared<ForwardingStore>(
      make_catalogue_store(folder.file("server.olap"), ServerAccess::read_write), [&] {
        if (++reads == failing) {
          throw ImportError("look failed", error_source::olap_server);
        }
      })));
  database().add_cube("Overview", OlapCubeKind::is_virtual);
  server().write_back_database(database());
  options.ImportType = import_type::update;
  bool failed = true;
  for (int number = 1; failed; ++number) {
    failing = 0;
    store_and_reopen();
    run();
    reads = 0;
    failing = number;
    EXPECT_NO_THROW(import_virtual_cubes(run(), &parse(R"(<v><c name="Overview"/></v>)")))
        << number;
    failed = reads >= number;
  }
  EXPECT_GE(reads, 2) << "looked for and fetched";
}

}  // namespace
}  // namespace importkcd::testing
