#include "xmla/dataset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/import_error.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

std::string envelope(const std::string& axes_info, const std::string& axes,
                     const std::string& cells) {
  return "<Envelope xmlns:xsi=\"urn:xsi\"><Body><ExecuteResponse><return><root><OlapInfo>"
         "<CubeInfo><Cube><CubeName>Sales</CubeName></Cube></CubeInfo><AxesInfo>" +
         axes_info + "</AxesInfo></OlapInfo><Axes>" + axes + "</Axes><CellData>" + cells +
         "</CellData></root></return></ExecuteResponse></Body></Envelope>";
}

std::string axis_info(const std::string& name, const std::string& hierarchies) {
  return "<AxisInfo name=\"" + name + "\">" + hierarchies + "</AxisInfo>";
}

std::string hierarchy(const std::string& name, const std::string& more = {}) {
  return R"(<HierarchyInfo name=")" + name + R"("><UName name="u"/><Caption name="c"/>)" + more +
         "</HierarchyInfo>";
}

std::string axis(const std::string& name, const std::string& tuples) {
  return "<Axis name=\"" + name + "\"><Tuples>" + tuples + "</Tuples></Axis>";
}

std::string member(const std::string& hierarchy_name, const std::string& caption,
                   const std::string& more = {}) {
  return "<Member Hierarchy=\"" + hierarchy_name + "\"><UName>[" + hierarchy_name + "].[" +
         caption + "]</UName><Caption>" + caption + "</Caption><LName>[L]</LName><LNum>1</LNum>" +
         more + "</Member>";
}

std::string tuple(const std::string& members) { return "<Tuple>" + members + "</Tuple>"; }

std::string cell(const std::string& ordinal, const std::string& content) {
  return "<Cell CellOrdinal=\"" + ordinal + "\">" + content + "</Cell>";
}

Dataset read(const std::string& text) { return read_dataset(read_xml(text, "test")); }

std::string data_set_refusal(const std::string& text) {
  try {
    read(text);
  } catch (const ImportError& error) {
    return error.description();
  }
  return "";
}

const std::string columns_info = axis_info("Axis0", hierarchy("Measures"));
const std::string two_columns =
    axis("Axis0", tuple(member("Measures", "Revenue")) + tuple(member("Measures", "Cost")));

TEST(DatasetReader, ReadsAxesSlicerAndCells) {
  const auto dataset = read(envelope(
      columns_info + axis_info("Axis1", hierarchy("Store") + hierarchy("Year")) +
          axis_info("SlicerAxis", hierarchy("Product")),
      two_columns + axis("Axis1", tuple(member("Store", "Kiel") + member("Year", "2026"))) +
          axis("SlicerAxis", tuple(member("Product", "All"))),
      cell("1", "<Value xsi:type=\"xsd:double\">1.5</Value><FmtValue>1.50</FmtValue>")));
  EXPECT_EQ(dataset.cube, "Sales");
  ASSERT_EQ(dataset.axes.size(), 2U);
  EXPECT_EQ(dataset.axes[0].name, "Axis0");
  EXPECT_EQ(dataset.axes[0].tuples[1][0].unique_name, "[Measures].[Cost]");
  EXPECT_EQ(dataset.axes[0].tuples[1][0].level, "[L]");
  EXPECT_EQ(dataset.axes[1].hierarchies[1].name, "Year");
  EXPECT_EQ(dataset.axes[1].tuples[0][1].caption, "2026");
  ASSERT_EQ(dataset.slicer.size(), 1U);
  EXPECT_EQ(dataset.slicer[0].caption, "All");
  ASSERT_EQ(dataset.cells.size(), 1U);
  EXPECT_EQ(dataset.cells.at(1).value, "1.5");
  EXPECT_EQ(dataset.cells.at(1).type, "xsd:double");
  EXPECT_EQ(dataset.cells.at(1).formatted, "1.50");
}

TEST(DatasetReader, ACellWithoutAFormattedTextShowsItsValue) {
  const auto dataset = read(envelope(columns_info, two_columns, cell("0", "<Value>7</Value>")));
  EXPECT_EQ(dataset.cells.at(0).formatted, "7");
}

TEST(DatasetReader, ACellWithoutAValueIsEmptyAndOneWithAnEmptyTextIsNot) {
  const auto dataset = read(envelope(
      columns_info, two_columns,
      cell("0", "<FmtValue/>") + cell("1", "<Value xsi:type=\"xsd:string\"/><FmtValue/>")));
  EXPECT_FALSE(dataset.cells.at(0).has_value);
  EXPECT_TRUE(dataset.cells.at(1).has_value);
  EXPECT_EQ(dataset.cells.at(0).error, "");
  EXPECT_EQ(dataset.cells.at(1).error, "");
}

/// The cell that a server sends in these words.
DatasetCell cell_of(const std::string& content) {
  return read(envelope(columns_info, two_columns, cell("0", content))).cells.at(0);
}

TEST(DatasetReader, ACellThatCouldNotBeComputedHasAReasonAndNoValue) {
  for (const std::string content :
       {"<Value xsi:type=\"xsd:string\">E: too deep</Value><FmtValue>#ERR: E: too deep</FmtValue>",
        "<Value><Error><ErrorCode>1</ErrorCode><Description>E: too deep</Description></Error>"
        "</Value>"}) {
    const auto cell = cell_of(content);
    EXPECT_EQ(cell.error, "E: too deep");
    EXPECT_FALSE(cell.has_value);
    EXPECT_EQ(cell.value, "");
  }
  EXPECT_EQ(cell_of("<Value/><FmtValue>#ERR: </FmtValue>").error, "the server does not say why");
  EXPECT_EQ(cell_of("<Value><Error/></Value>").error, "the server does not say why");
}

TEST(DatasetReader, ATextThatLooksLikeAnErrorIsAValue) {
  for (const std::string formatted : {"#ERR: no", "#ERR: #ERR: n", "no"}) {
    const auto cell = cell_of("<Value xsi:type=\"xsd:string\">#ERR: no</Value><FmtValue>" +
                              formatted + "</FmtValue>");
    EXPECT_EQ(cell.error, "");
    EXPECT_EQ(cell.value, "#ERR: no");
    EXPECT_TRUE(cell.has_value);
  }
}

TEST(DatasetReader, AnAnswerWithoutAxesHasOnePlaceForACell) {
  const auto text = envelope("", "", cell("0", "<Value>7</Value>"));
  EXPECT_THAT(read(text).axes, IsEmpty());
  EXPECT_EQ(read(text).cells.at(0).value, "7");
  EXPECT_THAT(data_set_refusal(envelope("", "", cell("1", ""))),
              HasSubstr("no place for the cell '1'"));
}

TEST(DatasetReader, MemberPropertiesHaveTheNamesThatTheAxisTells) {
  const auto info =
      axis_info("Axis0", hierarchy("Store",
                                   "<Manager name=\"[Store].[Store].[Manager]\"/>"
                                   "<Floor_x0020_Area name=\"[Store].[Floor [m2]] Area]\"/>"
                                   "<Plain name=\"Plain\"/>"));
  const auto dataset = read(envelope(
      info,
      axis("Axis0", tuple(member("Store", "Kiel",
                                 "<Manager>A. P.</Manager><Floor_x0020_Area>420</Floor_x0020_Area>"
                                 "<DisplayInfo>0</DisplayInfo><Unknown>1</Unknown>"))),
      ""));
  EXPECT_THAT(dataset.axes[0].hierarchies[0].properties,
              ElementsAre("Manager", "Floor [m2] Area", "Plain"));
  EXPECT_THAT(dataset.axes[0].tuples[0][0].properties,
              ElementsAre(Pair("Manager", "A. P."), Pair("Floor [m2] Area", "420")));
}

TEST(DatasetReader, ATupleThatDoesNotFitItsAxisIsRefused) {
  EXPECT_EQ(data_set_refusal(envelope(columns_info, axis("Axis0", tuple("")), "")),
            "the answer is no data set: a tuple of Axis0 does not fit its hierarchies");
  EXPECT_NE(data_set_refusal(envelope("", two_columns, "")), "");
}

TEST(DatasetReader, TheSlicerMayNameHierarchiesThatWereNotAnnounced) {
  const auto dataset = read(envelope(
      columns_info, two_columns + axis("SlicerAxis", tuple(member("Product", "All"))), ""));
  ASSERT_EQ(dataset.slicer.size(), 1U);
  EXPECT_EQ(dataset.slicer[0].caption, "All");
}

TEST(DatasetReader, CellsOutsideOfTheAxesAreRefused) {
  for (const auto* ordinal : {"2", "-1", "", "x", "1x", "99999999999999999999999"}) {
    EXPECT_EQ(
        data_set_refusal(envelope(columns_info, two_columns, cell(ordinal, "<Value>1</Value>"))),
        "the answer is no data set: there is no place for the cell '" + std::string(ordinal) + "'");
  }
}

TEST(DatasetReader, TheLastPlaceOfAnOverlongProductIsTheLargestNumber) {
  std::string tuples;
  for (int i = 0; i < 256; ++i) {
    tuples += tuple("");
  }
  std::string infos;
  std::string axes;
  for (int i = 0; i < 9; ++i) {
    infos += axis_info("Axis" + std::to_string(i), "");
    axes += axis("Axis" + std::to_string(i), tuples);
  }
  const auto dataset =
      read(envelope(infos, axes, cell("18446744073709551614", "<Value>7</Value>")));
  EXPECT_EQ(dataset.cells.at(18446744073709551614U).value, "7");
  EXPECT_NE(data_set_refusal(envelope(infos, axes, cell("18446744073709551615", ""))), "");
}

TEST(DatasetReader, AnAxisMayTellMoreThanItsHierarchies) {
  const auto dataset =
      read(envelope(axis_info("Axis0", "<Extra name=\"x\"/>" + hierarchy("Store")),
                    axis("Axis0", "<Tuple><Extra/>" + member("Store", "Kiel") + "</Tuple>"), ""));
  ASSERT_EQ(dataset.axes.at(0).hierarchies.size(), 1U);
  EXPECT_EQ(dataset.axes.at(0).hierarchies[0].name, "Store");
  ASSERT_EQ(dataset.axes.at(0).tuples.at(0).size(), 1U);
  EXPECT_EQ(dataset.axes.at(0).tuples.at(0)[0].caption, "Kiel");
}

TEST(DatasetReader, AnAnswerThatIsNoDataSetIsRefused) {
  EXPECT_EQ(data_set_refusal("<Envelope><Body/></Envelope>"),
            "the answer is no data set: there is no root");
  EXPECT_EQ(data_set_refusal("<Envelope><root/></Envelope>"),
            "the answer is no data set: no OlapInfo in root");
  EXPECT_EQ(data_set_refusal("<root><OlapInfo/></root>"),
            "the answer is no data set: no AxesInfo in OlapInfo");
  EXPECT_EQ(data_set_refusal("<root><OlapInfo><AxesInfo/></OlapInfo></root>"),
            "the answer is no data set: no Axes in root");
  EXPECT_EQ(data_set_refusal("<root><OlapInfo><AxesInfo/></OlapInfo><Axes/></root>"),
            "the answer is no data set: no CellData in root");
  EXPECT_EQ(data_set_refusal(envelope(columns_info, "<Axis name=\"Axis0\"/>", "")),
            "the answer is no data set: no Tuples in Axis0");
}

}  // namespace
}  // namespace importkcd
