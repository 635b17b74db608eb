#include "importer/cube_parts.h"
#include "tests/importer/cube_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The fixture's cube "Sales" has the dimensions "Time", whose level "Month" is disabled, and
/// "Product".
class CubePartitions : public CubeTest {
 protected:
  void SetUp() override {
    CubeTest::SetUp();
    OlapCube& made = add_current_cube();
    made.data_source = "Other DW";
    made.fact_table = "all_sales";
    database().add_cube_dimension(made, "Product");
    database().add_cube_dimension(made, "Time").levels.edit("Month")->disabled = true;
    server().write_back_cube(database(), made);
    timeline.clear();
  }

  OlapCube& cube() { return *run().current_cube; }

  void build(const std::string& partitions) {
    create_cube_partitions(run(), &parse("<cube_partitions>" + partitions + "</cube_partitions>"));
  }

  std::string build_error(const std::string& partitions) {
    return error_of([&] { build(partitions); });
  }

  /// A partition element with these children of its partition_dimensions.
  std::string partition(const std::string& name, const std::string& dimensions = "") const {
    return with_attribute(attributes, "name", name) + "<partition_dimensions>" + dimensions +
           "</partition_dimensions></cube_partition>";
  }

  static std::string dimension(const std::string& name, const std::string& levels) {
    return "<partition_dimension name=\"" + name + "\"><partition_levels>" + levels +
           "</partition_levels></partition_dimension>";
  }

  static std::string level(const std::string& name, const std::string& key,
                           const std::string& slice) {
    return "<partition_level name=\"" + name + "\" member_key_column=\"" + key +
           "\" slice_value=\"" + slice + "\"/>";
  }

  const OlapPartitionLevel& slice(const std::string& partition_name,
                                  const std::string& dimension_name,
                                  const std::string& level_name) {
    static const OlapPartitionLevel none;
    const auto* found = cube().partitions.find(partition_name);
    const auto* sliced = found == nullptr ? nullptr : found->slices.find(dimension_name);
    const auto* result = sliced == nullptr ? nullptr : sliced->levels.find(level_name);
    EXPECT_NE(result, nullptr) << partition_name << " " << dimension_name << " " << level_name;
    return result == nullptr ? none : *result;
  }

  const std::string attributes =
      R"(<cube_partition name="P" fact_table="sales_97" aggregation_prefix="P97_")"
      R"( from_clause="from 97" join_clause="join 97" datasource="Sales DW")"
      R"( olap_mode="olapmodeRolap" readwrite="true">)";
};

TEST_F(CubePartitions, AbsentCollectionYieldsOnlyTheHeading) {
  create_cube_partitions(run(), nullptr);
  EXPECT_THAT(timeline, ElementsAre("Creating cube partitions"));
  EXPECT_THAT(names_of(cube().partitions), ElementsAre("Sales"));
}

TEST_F(CubePartitions, EmptyCollectionYieldsOnlyTheHeading) {
  build("");
  EXPECT_THAT(timeline, ElementsAre("Creating cube partitions"));
  EXPECT_THAT(names_of(cube().partitions), ElementsAre("Sales"));
}

TEST_F(CubePartitions, HeadingIsSentOnceAndEachPartitionWrittenBackOnce) {
  build(partition("P", dimension("Product", level("Category", "k", "v"))) + partition("Q"));
  EXPECT_THAT(timeline, ElementsAre("Creating cube partitions", "write_back_partition P",
                                    "write_back_partition Q"));
}

TEST_F(CubePartitions, NewPartitionGetsEveryProperty) {
  build(partition("P"));
  const auto& made = *cube().partitions.find("P");
  EXPECT_EQ(made.fact_table, "sales_97");
  EXPECT_EQ(made.aggregation_prefix, "P97_");
  EXPECT_EQ(made.from_clause, "from 97");
  EXPECT_EQ(made.join_clause, "join 97");
  EXPECT_EQ(made.data_source, "Sales DW");
  EXPECT_EQ(made.olap_mode, OlapMode::rolap);
  EXPECT_TRUE(made.read_write);
  EXPECT_THAT(made.slices, IsEmpty());
}

TEST_F(CubePartitions, PartitionNamedLikeTheCubeIsWrittenIntoTheOneThatExists) {
  build(partition("Sales"));
  EXPECT_THAT(names_of(cube().partitions), ElementsAre("Sales"));
  EXPECT_EQ(cube().partitions[0].fact_table, "sales_97");
}

TEST_F(CubePartitions, PartitionNamedLikeTheCubeKeepsItsOwnSettingsWhenTheCubeIsWrittenBack) {
  build(partition("Sales"));
  server().write_back_cube(database(), cube());
  const auto& stored = stored_cube("Sales").partitions;
  ASSERT_EQ(stored.size(), 1U);
  EXPECT_EQ(stored[0].fact_table, "sales_97");
  EXPECT_EQ(stored[0].data_source, "Sales DW");
}

TEST_F(CubePartitions, PartitionIsFoundWhateverItsLetterCase) {
  build(partition("SALES"));
  EXPECT_THAT(names_of(cube().partitions), ElementsAre("Sales"));
}

TEST_F(CubePartitions, PartitionsComeAfterTheCubesOwnInDocumentOrderWhateverTheirTag) {
  build(partition("Q") + "<!-- a comment -->" + R"(<other name="A")" +
        attributes.substr(attributes.find(" fact_table")) + "<partition_dimensions/></other>");
  EXPECT_THAT(names_of(cube().partitions), ElementsAre("Sales", "Q", "A"));
}

TEST_F(CubePartitions, NamePrefixAndDataSourceAreDecoded) {
  OlapDataSource named;
  named.name = "Bob's DW";
  database().data_sources().add(named);
  build(with_attribute(with_attribute(partition("P@#$%1"), "aggregation_prefix", "@#$%_"),
                       "datasource", "Bob@#$%s DW"));
  const auto* made = cube().partitions.find("P'1");
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->aggregation_prefix, "'_");
  EXPECT_EQ(made->data_source, "Bob's DW");
}

TEST_F(CubePartitions, FactTableAndClausesAreTakenAsTheyStand) {
  auto xml = partition("P");
  for (const auto* attribute : {"fact_table", "from_clause", "join_clause"}) {
    xml = with_attribute(xml, attribute, "x@#$%y");
  }
  build(xml);
  const auto& made = *cube().partitions.find("P");
  EXPECT_EQ(made.fact_table, "x@#$%y");
  EXPECT_EQ(made.from_clause, "x@#$%y");
  EXPECT_EQ(made.join_clause, "x@#$%y");
}

TEST_F(CubePartitions, OlapModeIsComparedExactly) {
  build(with_attribute(partition("P"), "olap_mode", "OlapModeRolap"));
  EXPECT_EQ(cube().partitions.find("P")->olap_mode, OlapMode::molap);
}

TEST_F(CubePartitions, UnknownReadwriteTextIsFalse) {
  build(with_attribute(partition("P"), "readwrite", "yes"));
  EXPECT_FALSE(cube().partitions.find("P")->read_write);
}

TEST_F(CubePartitions, EveryAttributeIsRequired) {
  for (const auto* attribute : {"name", "fact_table", "aggregation_prefix", "from_clause",
                                "join_clause", "datasource", "olap_mode", "readwrite"}) {
    timeline.clear();
    EXPECT_EQ(build_error(without_attribute(partition("P"), attribute) + partition("Q")),
              "Invalid use of Null in KCD document")
        << attribute;
    EXPECT_THAT(timeline, ElementsAre("Creating cube partitions")) << attribute;
  }
}

TEST_F(CubePartitions, PropertiesAreSetInOrderUntilTheFirstError) {
  build_error(with_attribute(partition("P"), "datasource", "Elsewhere"));
  const auto& made = *cube().partitions.find("P");
  EXPECT_EQ(made.fact_table, "sales_97");
  EXPECT_EQ(made.aggregation_prefix, "P97_");
  EXPECT_EQ(made.from_clause, "from 97");
  EXPECT_EQ(made.join_clause, "join 97");
  EXPECT_EQ(made.olap_mode, OlapMode::molap);
  EXPECT_FALSE(made.read_write);
}

TEST_F(CubePartitions, OlapModeIsSetBeforeTheReadWriteFlag) {
  build_error(without_attribute(partition("P"), "olap_mode"));
  EXPECT_FALSE(cube().partitions.find("P")->read_write);
  build_error(without_attribute(partition("Q"), "readwrite"));
  EXPECT_EQ(cube().partitions.find("Q")->olap_mode, OlapMode::rolap);
}

TEST_F(CubePartitions, UnknownDataSourceIsAnError) {
  EXPECT_EQ(build_error(with_attribute(partition("P"), "datasource", "Elsewhere")),
            "data source 'Elsewhere' not found in OLAP server");
}

TEST_F(CubePartitions, EmptyNameIsAnError) {
  EXPECT_EQ(build_error(partition("")), "an object must have a name in OLAP server");
}

TEST_F(CubePartitions, RefusedWriteBackIsAnErrorAndNothingIsSliced) {
  refused_operation = "write_back_partition P";
  EXPECT_EQ(build_error(partition("P", dimension("Product", level("Category", "k", "v")))),
            "refused by the test in OLAP server");
  EXPECT_THAT(cube().partitions.find("P")->slices, IsEmpty());
}

TEST_F(CubePartitions, AbsentDimensionsAreAnErrorAfterTheWriteBack) {
  EXPECT_EQ(build_error(attributes + "</cube_partition>"),
            "element 'partition_dimensions' is missing in KCD document");
  EXPECT_THAT(timeline, ElementsAre("Creating cube partitions", "write_back_partition P"));
}

TEST_F(CubePartitions, AbsentLevelsAreAnError) {
  EXPECT_EQ(build_error(partition("P", R"(<partition_dimension name="Product"/>)")),
            "element 'partition_levels' is missing in KCD document");
}

TEST_F(CubePartitions, UnknownDimensionIsAnErrorEvenWithoutLevels) {
  EXPECT_EQ(build_error(partition("P", R"(<partition_dimension name="Custo@#$%mer"/>)")),
            "dimension 'Custo'mer' not found in OLAP server");
}

TEST_F(CubePartitions, UnknownLevelIsAnErrorAndEarlierSlicesStay) {
  EXPECT_EQ(build_error(partition("P", dimension("Product", level("Category", "k", "v") +
                                                                level("Br@#$%and", "k", "v")))),
            "level 'Br'and' not found in OLAP server");
  EXPECT_EQ(slice("P", "Product", "Category").slice_value, "v");
}

TEST_F(CubePartitions, DimensionWithoutNameIsAnError) {
  EXPECT_EQ(
      build_error(partition("P", "<partition_dimension><partition_levels/></partition_dimension>")),
      "Invalid use of Null in KCD document");
}

TEST_F(CubePartitions, EveryAttributeOfALevelIsRequired) {
  for (const auto* attribute : {"name", "member_key_column", "slice_value"}) {
    EXPECT_EQ(
        build_error(partition(
            "P", dimension("Product", without_attribute(level("Category", "k", "v"), attribute)))),
        "Invalid use of Null in KCD document")
        << attribute;
  }
}

TEST_F(CubePartitions, LevelsAreSlicedWhateverTheTags) {
  build(partition("P", R"(<a name="Time"><partition_levels><!-- x --><b name="Year")"
                       R"( member_key_column="k" slice_value="1997"/></partition_levels></a>)"));
  EXPECT_EQ(slice("P", "Time", "Year").member_key_column, "k");
  EXPECT_EQ(slice("P", "Time", "Year").slice_value, "1997");
}

TEST_F(CubePartitions, MemberKeyColumnIsDecodedAndSliceValueIsNot) {
  build(partition("P", dimension("Product", level("Category", "a@#$%b", "c@#$%d"))));
  EXPECT_EQ(slice("P", "Product", "Category").member_key_column, "a'b");
  EXPECT_EQ(slice("P", "Product", "Category").slice_value, "c@#$%d");
}

TEST_F(CubePartitions, SlicesAreRecordedUnderTheCubesNamesInDocumentOrder) {
  build(partition("P",
                  dimension("TIME", level("year", "k", "1")) +
                      dimension("product", level("ITEM", "k", "2") + level("category", "k", "3"))));
  const auto& slices = cube().partitions.find("P")->slices;
  EXPECT_THAT(names_of(slices), ElementsAre("Time", "Product"));
  EXPECT_THAT(names_of(slices[0].levels), ElementsAre("Year"));
  EXPECT_THAT(names_of(slices[1].levels), ElementsAre("Item", "Category"));
}

TEST_F(CubePartitions, DisabledLevelIsLeftAloneWhateverTheDocumentSays) {
  build(partition(
      "P", dimension("Time", level("Month", "k", "v") + R"(<partition_level name="Month"/>)" +
                                 level("Year", "k", "1997"))));
  EXPECT_THAT(names_of(cube().partitions.find("P")->slices[0].levels), ElementsAre("Year"));
}

TEST_F(CubePartitions, DimensionWithDisabledLevelsAloneIsNotRecorded) {
  build(partition("P", dimension("Time", level("Month", "k", "v"))));
  EXPECT_THAT(cube().partitions.find("P")->slices, IsEmpty());
}

TEST_F(CubePartitions, DisabledLevelKeepsTheSliceThatItHad) {
  build(partition("P", dimension("Time", level("Year", "old key", "1997"))));
  cube().dimensions.edit("Time")->levels.edit("Year")->disabled = true;
  build(partition("P", dimension("Time", level("Year", "new key", "1998"))));
  EXPECT_EQ(slice("P", "Time", "Year").member_key_column, "old key");
  EXPECT_EQ(slice("P", "Time", "Year").slice_value, "1997");
}

TEST_F(CubePartitions, ExistingSliceIsReplacedAndOthersStay) {
  build(partition("P",
                  dimension("Product", level("Category", "k1", "v1") + level("Item", "k2", "v2"))));
  build(partition("P", dimension("Product", level("CATEGORY", "k3", "v3"))));
  EXPECT_EQ(slice("P", "Product", "Category").member_key_column, "k3");
  EXPECT_EQ(slice("P", "Product", "Category").slice_value, "v3");
  EXPECT_EQ(slice("P", "Product", "Item").slice_value, "v2");
  EXPECT_THAT(names_of(cube().partitions.find("P")->slices[0].levels),
              ElementsAre("Category", "Item"));
}

TEST_F(CubePartitions, SlicesReachTheServerWithTheCubesNextWriteBack) {
  build(partition("P", dimension("Product", level("Category", "k", "v"))) +
        partition("Sales", dimension("Time", level("Year", "k", "1997"))));
  server().write_back_cube(database(), cube());
  const auto& stored = stored_cube("Sales").partitions;
  ASSERT_THAT(names_of(stored), ElementsAre("Sales", "P"));
  ASSERT_EQ(stored[0].slices.size(), 1U);
  EXPECT_EQ(stored[0].slices[0].levels[0].slice_value, "1997");
  ASSERT_EQ(stored[1].slices.size(), 1U);
  EXPECT_EQ(stored[1].slices[0].levels[0].slice_value, "v");
}

TEST_F(CubePartitions, PartitionIsWrittenBackBeforeItIsSliced) {
  build(partition("P", dimension("Product", level("Category", "k", "v"))));
  const auto& stored = stored_cube("Sales").partitions;
  ASSERT_THAT(names_of(stored), ElementsAre("Sales", "P"));
  EXPECT_EQ(stored[1].fact_table, "sales_97");
  EXPECT_THAT(stored[1].slices, IsEmpty());
}

}  // namespace
}  // namespace importkcd::testing
