#include "mondrian/mapping/virtual_cube_mapping.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

using testing::level;
using testing::measure;

class VirtualCubeMapping : public testing::MappingTest {
 protected:
  VirtualCubeMapping() {
    add_sales();
    add_cube("Stock", "stock", "stock, store", "stock.shop = store.store_id", {"Store"});
    cube.name = "Both";
    cube.dimensions.add({"Store", {}});
  }

  std::string xml(bool dimensions_are_shared = true) {
    bases.clear();
    for (const auto& name : database.cubes().names()) {
      bases.push_back(map(*database.cubes().find(name)));
    }
    return xml_text(virtual_cube_element(
        cube,
        [this](const std::string& name) {
          const auto found = std::find_if(bases.begin(), bases.end(), [&](const MappedCube& base) {
            return same_name(base.name, name);
          });
          return found == bases.end() ? nullptr : &*found;
        },
        [=](const MappedCube&, const std::string&) { return dimensions_are_shared; }));
  }

  std::string fault() {
    return testing::reason_of([this] { xml(); });
  }

  OlapCube cube;
  std::vector<MappedCube> bases;
};

TEST_F(VirtualCubeMapping, AMeasureIsHiddenWhenItIsInEitherCube) {
  auto hidden = measure("Amount", "[Sales].[Amount]");
  hidden.internal = true;
  cube.measures.add(hidden);
  EXPECT_EQ(xml(),
            "<VirtualCube name=\"Both\">\n"
            "  <VirtualCubeDimension name=\"Store\"/>\n"
            "  <VirtualCubeMeasure cubeName=\"Sales\" name=\"[Measures].[Amount]\" "
            "visible=\"false\"/>\n"
            "</VirtualCube>\n");
  const auto text = xml();
  cube.measures.edit("Amount")->internal = false;
  database.cubes().edit("Sales")->measures.edit("Amount")->internal = true;
  EXPECT_EQ(xml(), text);
}

TEST_F(VirtualCubeMapping, AMeasureMayBeCalculatedInItsCube) {
  database.cubes().edit("Sales")->calculated_members.add(
      {"Double", "[Measures].[Double] AS '[Measures].[Amount] * 2'"});
  cube.measures.add(measure("Double", "[Sales].[double]"));
  EXPECT_EQ(xml(),
            "<VirtualCube name=\"Both\">\n"
            "  <VirtualCubeDimension name=\"Store\"/>\n"
            "  <VirtualCubeMeasure cubeName=\"Sales\" name=\"[Measures].[Double]\"/>\n"
            "</VirtualCube>\n");
}

TEST_F(VirtualCubeMapping, ADimensionInSeveralFormsIsTheOneWithTheFewestLevels) {
  database.cubes().edit("Sales")->dimensions.edit("Store")->levels.add(
      level("Shop", R"("store"."shop")"));
  cube.measures.add(measure("Amount", "[Sales].[Amount]"));
  cube.measures.add(measure("Stock", "[Stock].[Amount]"));
  EXPECT_EQ(fault(),
            "Virtual cube 'Both' cannot be published: measure 'Stock': two measures of the "
            "name 'Amount' cannot be told apart");
  cube.measures.remove("Stock");
  database.cubes().edit("Stock")->measures.add(measure("Units", "stock.units"));
  cube.measures.add(measure("Units", "[Stock].[Units]"));
  EXPECT_EQ(xml(false),
            "<VirtualCube name=\"Both\">\n"
            "  <VirtualCubeDimension cubeName=\"Stock\" name=\"Store\"/>\n"
            "  <VirtualCubeMeasure cubeName=\"Sales\" name=\"[Measures].[Amount]\"/>\n"
            "  <VirtualCubeMeasure cubeName=\"Stock\" name=\"[Measures].[Units]\"/>\n"
            "</VirtualCube>\n");
}

TEST_F(VirtualCubeMapping, OneWithoutMeasuresOrWithUnknownOnesCannotBeExpressed) {
  EXPECT_EQ(fault(), "Virtual cube 'Both' cannot be published: it has no measure");
  cube.measures.add(measure("Amount", "Amount"));
  EXPECT_EQ(fault(),
            "Virtual cube 'Both' cannot be published: measure 'Amount' comes from Amount, and "
            "no cube of that name is published with it");
}

TEST(CubeOfVirtualMeasure, IsTheFirstNameOfItsSource) {
  EXPECT_EQ(cube_of_virtual_measure(measure("M", "[Cube [x]]].[M]")), "Cube [x]");
  EXPECT_EQ(cube_of_virtual_measure(measure("M", "Sales.M")), "Sales");
  EXPECT_EQ(cube_of_virtual_measure(measure("M", "[M]")), "");
  EXPECT_EQ(cube_of_virtual_measure(measure("M", "")), "");
}

}  // namespace
}  // namespace importkcd
