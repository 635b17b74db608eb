#include "cli/database_tree.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/cli/named.h"

namespace importkcd {
namespace {

using testing::named;

std::string drawn(const TreeNode& root, const TreeStyle& style = ascii_style) {
  std::ostringstream out;
  draw_tree(root, style, out);
  return out.str();
}

OlapLevel level(const std::string& name, bool disabled = false) {
  auto result = named<OlapLevel>(name);
  result.disabled = disabled;
  return result;
}

OlapDatabase shop_tree_database() { return {"Shop", "All shops", {}}; }

TEST(TextTree, DrawsBranchesWithBoxDrawingCharacters) {
  const TreeNode root{"a", {{"b", {{"c"}, {"d"}}}, {"e", {{"f"}}}}};
  EXPECT_EQ(drawn(root, box_style), "a\n├─ b\n│  ├─ c\n│  └─ d\n└─ e\n   └─ f\n");
}

TEST(TextTree, DrawsBranchesWithAscii) {
  const TreeNode root{"a", {{"b", {{"c"}, {"d"}}}, {"e", {{"f"}}}}};
  EXPECT_EQ(drawn(root), "a\n|- b\n|  |- c\n|  `- d\n`- e\n   `- f\n");
}

TEST(TextTree, ShowsControlCharactersAsBlanks) {
  EXPECT_EQ(drawn({"a\nb", {{"c\x1B[1m"}}}), "a b\n`- c [1m\n");
}

TEST(DatabaseTree, AnEmptyDatabaseIsItsNameAndDescription) {
  auto database = shop_tree_database();
  EXPECT_EQ(drawn(database_tree(database)), "Shop: All shops\n");
  OlapDatabase plain("Plain", "", {});
  EXPECT_EQ(drawn(database_tree(plain)), "Plain\n");
}

TEST(DatabaseTree, DataSourcesHideTheirPasswords) {
  auto database = shop_tree_database();
  database.data_sources().add({"DW", "Provider=P;PWD='a;b';Data Source=S", "Warehouse"});
  database.data_sources().add({"Archive", "", ""});
  EXPECT_EQ(drawn(database_tree(database)),
            "Shop: All shops\n"
            "`- Data sources (2)\n"
            "   |- DW: Warehouse\n"
            "   |  `- Provider=P;PWD=***;Data Source=S\n"
            "   `- Archive\n");
}

TEST(DatabaseTree, DimensionsShowTypeSourceAndLevels) {
  auto database = shop_tree_database();
  auto time = named<OlapDimension>("Time");
  time.description = "Calendar";
  time.type = OlapDimensionType::time;
  time.data_source = "DW";
  time.levels.add(level("Year"));
  time.levels.add(level("Month")).member_properties.add(named<OlapMemberProperty>("Days"));
  database.dimensions().add(time);
  database.dimensions().add(named<OlapDimension>("Bare"));
  auto derived = named<OlapDimension>("Size");
  derived.kind = OlapDimensionKind::is_virtual;
  derived.levels.add(level("Size"));
  database.dimensions().add(derived);
  EXPECT_EQ(drawn(database_tree(database)),
            "Shop: All shops\n"
            "|- Shared dimensions (2)\n"
            "|  |- Time (time, from DW): Calendar\n"
            "|  |  `- Year > Month [Days]\n"
            "|  `- Bare\n"
            "`- Virtual dimensions (1)\n"
            "   `- Size\n"
            "      `- Size\n");
}

TEST(DatabaseTree, RolesShowTheirUsers) {
  auto database = shop_tree_database();
  database.roles().add({"Clerks", "Everybody", "anna;bo", {}});
  database.roles().add({"Nobody", "", "", {}});
  EXPECT_EQ(drawn(database_tree(database)),
            "Shop: All shops\n"
            "`- Roles (2)\n"
            "   |- Clerks: anna;bo (Everybody)\n"
            "   `- Nobody\n");
}

OlapCube sales_tree_cube() {
  auto cube = named<OlapCube>("Sales");
  cube.description = "Sold goods";
  cube.data_source = "DW";
  cube.fact_table = "f";
  cube.olap_mode = OlapMode::hybrid;
  cube.estimated_rows = 2500000;
  auto& time = cube.dimensions.add({"Time", {}});
  time.levels.add(level("Year"));
  time.levels.add(level("Day", true));
  cube.dimensions.add({"Own", {}}).levels.add(level("Kind"));
  cube.measures.add({"Amount", "Money", "#,##0", "f.amount"});
  cube.measures.add({"Lines", "", "", "", true, OlapAggregateFunction::count});
  cube.calculated_members.add({"Share", "[Share] AS '1'"});
  cube.roles.add({"Clerks", "", "", {}}).permissions.add({"Access", "R"});
  cube.partitions.add({"Sales", "f", "", "", "", "DW", OlapMode::molap, false, false, {}});
  OlapPartition old{"Old", "f_old", "", "", "", "Archive", OlapMode::rolap, true, false, {}};
  old.slices.add({"Time", {}}).levels.add({"Year", "p.y", "2023"});
  cube.partitions.add(old);
  return cube;
}

TEST(DatabaseTree, CubesShowAllTheirParts) {
  auto database = shop_tree_database();
  auto own = named<OlapDimension>("Own");
  own.kind = OlapDimensionKind::is_private;
  own.owner_cube = "Sales";
  database.dimensions().add(own);
  database.cubes().add(sales_tree_cube());
  EXPECT_EQ(drawn(database_tree(database)),
            "Shop: All shops\n"
            "`- Cubes (1)\n"
            "   `- Sales (HOLAP, 2500000 rows): Sold goods\n"
            "      |- Source: f from DW\n"
            "      |- Dimensions (2)\n"
            "      |  |- Time: Year > Day (disabled)\n"
            "      |  `- Own (private): Kind\n"
            "      |- Measures (2)\n"
            "      |  |- Amount: sum of f.amount, format #,##0\n"
            "      |  `- Lines: count, internal\n"
            "      |- Calculated members (1)\n"
            "      |  `- Share: [Share] AS '1'\n"
            "      |- Roles (1)\n"
            "      |  `- Clerks: Access = R\n"
            "      `- Partitions (2)\n"
            "         |- Sales: f from DW, MOLAP\n"
            "         `- Old: f_old from Archive, ROLAP, read-write\n"
            "            `- Time, Year = 2023\n");
}

TEST(DatabaseTree, AVirtualCubeHasNoSource) {
  auto database = shop_tree_database();
  auto cube = named<OlapCube>("Both");
  cube.kind = OlapCubeKind::is_virtual;
  cube.dimensions.add({"Time", {}});
  database.cubes().add(cube);
  EXPECT_EQ(drawn(database_tree(database)),
            "Shop: All shops\n"
            "`- Cubes (1)\n"
            "   `- Both (virtual)\n"
            "      `- Dimensions (1)\n"
            "         `- Time\n");
}

TEST(DatabaseTree, ACodeWithoutAWordIsANumber) {
  auto database = shop_tree_database();
  auto odd = named<OlapDimension>("Odd");
  odd.type = static_cast<OlapDimensionType>(77);
  database.dimensions().add(odd);
  auto cube = named<OlapCube>("Sales");
  cube.olap_mode = static_cast<OlapMode>(42);
  cube.estimated_rows = 1;
  database.cubes().add(cube);
  EXPECT_EQ(drawn(database_tree(database)),
            "Shop: All shops\n"
            "|- Shared dimensions (1)\n"
            "|  `- Odd (77)\n"
            "`- Cubes (1)\n"
            "   `- Sales (42, 1 row)\n");
}

}  // namespace
}  // namespace importkcd
