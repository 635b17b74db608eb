#include "cli/dataset_output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/import_error.h"
#include "xmla/dataset.h"

namespace importkcd {
namespace {

DatasetMember sample_member(const std::string& hierarchy, const std::string& caption,
                            std::vector<std::pair<std::string, std::string>> properties = {}) {
  return {hierarchy, "[" + hierarchy + "].[" + caption + "]", caption, "[" + hierarchy + "].[L]",
          std::move(properties)};
}

/// An axis of one hierarchy with these members.
DatasetAxis sample_axis(const std::string& name, const std::string& hierarchy,
                        const std::vector<std::string>& captions) {
  DatasetAxis axis{name, {{hierarchy, {}}}, {}};
  for (const auto& caption : captions) {
    axis.tuples.push_back({sample_member(hierarchy, caption)});
  }
  return axis;
}

DatasetCell sample_cell(const std::string& value, const std::string& formatted) {
  return {value, "xsd:double", formatted};
}

std::string table_of(const Dataset& dataset) {
  std::ostringstream out;
  print_table(dataset, out);
  return out.str();
}

TEST(DatasetTable, LabelsStandAtTheLeftAndFiguresAtTheRight) {
  Dataset dataset;
  dataset.axes = {sample_axis("Axis0", "Measures", {"Revenue", "Cost"}),
                  sample_axis("Axis1", "Store", {"Kiel Harbour", "東京", "Århus"})};
  dataset.cells = {{0, sample_cell("1234.5", "1,234.50")},
                   {1, sample_cell("7", "7")},
                   {3, sample_cell("12", "12 €")},
                   {4, sample_cell("5", "5.00")}};
  EXPECT_EQ(table_of(dataset),
            "Store          Revenue  Cost\n"
            "------------  --------  ----\n"
            "Kiel Harbour  1,234.50     7\n"
            "東京                    12 €\n"
            "Århus             5.00\n");
}

TEST(DatasetTable, AnAnswerWithoutAxesIsOneFigure) {
  Dataset dataset;
  EXPECT_EQ(table_of(dataset), "\n");
  dataset.cells = {{0, sample_cell("674.2", "674.20")}};
  EXPECT_EQ(table_of(dataset), "674.20\n");
}

TEST(DatasetTable, ColumnsAloneMakeOneLine) {
  Dataset dataset;
  dataset.axes = {sample_axis("Axis0", "Year", {"2025", "2026"})};
  dataset.cells = {{1, sample_cell("3", "3")}};
  EXPECT_EQ(table_of(dataset), "2025  2026\n----  ----\n         3\n");
}

TEST(DatasetTable, SeveralHierarchiesHaveALineOrColumnEach) {
  Dataset dataset;
  DatasetAxis columns{"Axis0", {{"Year", {}}, {"Measures", {}}}, {}};
  columns.tuples = {{sample_member("Year", "2025"), sample_member("Measures", "Revenue")},
                    {sample_member("Year", "2026"), sample_member("Measures", "Revenue")}};
  DatasetAxis rows{"Axis1", {{"Store", {}}, {"Method", {}}}, {}};
  rows.tuples = {{sample_member("Store", "Kiel"), sample_member("Method", "cash")},
                 {sample_member("Store", "Kiel"), sample_member("Method", "card")}};
  dataset.axes = {columns, rows};
  dataset.cells = {{0, sample_cell("1", "1")}, {3, sample_cell("4", "4")}};
  EXPECT_EQ(table_of(dataset),
            "                  2025     2026\n"
            "Store  Method  Revenue  Revenue\n"
            "-----  ------  -------  -------\n"
            "Kiel   cash          1\n"
            "Kiel   card                   4\n");
}

TEST(DatasetTable, MemberPropertiesOfTheRowsHaveColumnsOfTheirOwn) {
  Dataset dataset;
  DatasetAxis rows{"Axis1", {{"Store", {"Manager", "Size"}}}, {}};
  rows.tuples = {{sample_member("Store", "Kiel", {{"Size", "420"}, {"Manager", "A. P."}})},
                 {sample_member("Store", "Århus", {{"Manager", "S. H."}})}};
  dataset.axes = {sample_axis("Axis0", "Measures", {"Revenue"}), rows};
  dataset.cells = {{0, sample_cell("1", "1")}};
  EXPECT_EQ(table_of(dataset),
            "Store  Manager  Size  Revenue\n"
            "-----  -------  ----  -------\n"
            "Kiel   A. P.    420         1\n"
            "Århus  S. H.\n");
}

TEST(DatasetTable, FurtherAxesMakeATableForEachPlace) {
  Dataset dataset;
  dataset.axes = {sample_axis("Axis0", "Measures", {"Revenue"}),
                  sample_axis("Axis1", "Store", {"Kiel"}),
                  sample_axis("Axis2", "Year", {"2025", "2026"}),
                  sample_axis("Axis3", "Method", {"cash", "card"})};
  dataset.cells = {
      {0, sample_cell("1", "1")}, {1, sample_cell("2", "2")}, {3, sample_cell("4", "4")}};
  const std::string head = "Store  Revenue\n-----  -------\n";
  EXPECT_EQ(table_of(dataset),
            "Year: 2025, Method: cash\n" + head + "Kiel         1\n\nYear: 2026, Method: cash\n" +
                head + "Kiel         2\n\nYear: 2025, Method: card\n" + head +
                "Kiel\n\nYear: 2026, Method: card\n" + head + "Kiel         4\n");
}

TEST(DatasetTable, EmptyAxesGiveHeadingsOnly) {
  Dataset dataset;
  dataset.axes = {sample_axis("Axis0", "Measures", {"Revenue"}), sample_axis("Axis1", "Store", {})};
  EXPECT_EQ(table_of(dataset), "Store  Revenue\n-----  -------\n");
  dataset.axes = {sample_axis("Axis0", "Measures", {}), sample_axis("Axis1", "Store", {"Kiel"})};
  EXPECT_EQ(table_of(dataset), "Store\n-----\nKiel\n");
  dataset.axes.push_back(sample_axis("Axis2", "Year", {}));
  EXPECT_EQ(table_of(dataset), "");
}

TEST(DatasetTable, ControlCharactersTellATerminalNothing) {
  Dataset dataset;
  dataset.axes = {sample_axis("Axis0", "Measures", {"a\x1B[2Jb"})};
  dataset.cells = {{0, sample_cell("1", "1\n2")}};
  EXPECT_EQ(table_of(dataset), "a [2Jb\n------\n   1 2\n");
}

/// Three cells: one is empty, and two could not be computed.
Dataset with_errors() {
  Dataset dataset;
  dataset.axes = {sample_axis("Axis0", "Measures", {"Revenue", "Rate", "Share"})};
  DatasetCell empty{"", "", ""};
  empty.has_value = false;
  DatasetCell wrong{"", "xsd:string", "#ERR: too deep"};
  wrong.has_value = false;
  wrong.error = "too deep";
  dataset.cells = {{0, empty}, {1, wrong}, {2, wrong}};
  return dataset;
}

TEST(DatasetTable, CellsThatCouldNotBeComputedAreMarked) {
  EXPECT_EQ(table_of(with_errors()),
            "Revenue  Rate  Share\n"
            "-------  ----  -----\n"
            "         #ERR   #ERR\n");
}

TEST(CellErrors, EachReasonIsCounted) {
  auto dataset = with_errors();
  EXPECT_EQ(cell_errors(dataset), (std::map<std::string, std::size_t>{{"too deep", 2}}));
  dataset.cells.at(1).error = "no number";
  EXPECT_EQ(cell_errors(dataset),
            (std::map<std::string, std::size_t>{{"no number", 1}, {"too deep", 1}}));
  EXPECT_TRUE(cell_errors({}).empty());
}

TEST(DatasetTable, AnAnswerThatIsTooLargeIsRefused) {
  Dataset dataset;
  DatasetAxis axis{"Axis0", {{"H", {}}}, DatasetAxis().tuples};
  axis.tuples.resize(4000, {sample_member("H", "m")});
  dataset.axes = {axis, axis};
  EXPECT_THAT([&] { table_of(dataset); },
              ::testing::ThrowsMessage<ImportError>(
                  ::testing::StrEq("the answer is too large for a table; --json prints it")));
  dataset.axes = {sample_axis("Axis0", "M", {}), sample_axis("Axis1", "S", {"x"}), axis, axis};
  EXPECT_THAT([&] { table_of(dataset); },
              ::testing::ThrowsMessage<ImportError>(
                  ::testing::StrEq("the answer is too large for a table; --json prints it")));
}

TEST(TextWidth, CountsWhatATerminalShows) {
  EXPECT_EQ(text_width(""), 0U);
  EXPECT_EQ(text_width("Kiel"), 4U);
  EXPECT_EQ(text_width("Ørsted & Søn"), 12U);
  EXPECT_EQ(text_width("日本"), 4U);
  EXPECT_EQ(text_width("e\u0301"), 1U);
}

TEST(TextWidth, BytesThatAreNoUtf8CountOneEach) {
  EXPECT_EQ(text_width("a\xFF\xFE"), 3U);
  EXPECT_EQ(text_width("\xE2\x82"), 2U);
}

using Json = nlohmann::ordered_json;

TEST(DatasetJson, HoldsAxesSlicerAndCells) {
  Dataset dataset;
  dataset.cube = "Sales";
  dataset.axes = {sample_axis("Axis0", "Measures", {"Revenue"})};
  dataset.slicer = {sample_member("Store", "Kiel", {{"Manager", "A. P."}})};
  dataset.cells = {{0, {"1.5", "xsd:double", "1.50"}}};
  EXPECT_EQ(dataset_json(dataset), Json::parse(R"({
    "cube": "Sales",
    "axes": [{"name": "Axis0", "hierarchies": ["Measures"], "tuples": [[
      {"hierarchy": "Measures", "unique_name": "[Measures].[Revenue]", "caption": "Revenue",
       "level": "[Measures].[L]", "properties": {}}]]}],
    "slicer": [{"hierarchy": "Store", "unique_name": "[Store].[Kiel]", "caption": "Kiel",
                "level": "[Store].[L]", "properties": {"Manager": "A. P."}}],
    "cells": [{"ordinal": 0, "value": 1.5, "formatted": "1.50"}]})"));
}

Json value_of(const std::string& value, const std::string& type) {
  Dataset dataset;
  dataset.cells = {{0, {value, type, value}}};
  return dataset_json(dataset)["cells"][0]["value"];
}

TEST(DatasetJson, ValuesAreNumbersWhereTheServerSaysSo) {
  EXPECT_EQ(value_of("7", "xsd:int"), Json(7));
  EXPECT_EQ(value_of("-9007199254740993", "xsd:long"), Json(-9007199254740993));
  EXPECT_EQ(value_of("1.5E3", "xsd:double"), Json(1500.0));
  EXPECT_EQ(value_of("true", "xsd:boolean"), Json(true));
  EXPECT_EQ(value_of("0", "xsd:boolean"), Json(false));
}

TEST(DatasetJson, OtherValuesAreTexts) {
  EXPECT_EQ(value_of("7", "xsd:string"), Json("7"));
  EXPECT_EQ(value_of("7", ""), Json("7"));
  EXPECT_EQ(value_of("Infinity", "xsd:double"), Json("Infinity"));
  EXPECT_EQ(value_of("NaN", "xsd:double"), Json("NaN"));
  EXPECT_EQ(value_of("abc", "xsd:int"), Json("abc"));
}

TEST(DatasetJson, CellsWithoutAValueHaveNullAndTellTheirError) {
  EXPECT_EQ(dataset_json(with_errors())["cells"], Json::parse(R"([
    {"ordinal": 0, "value": null, "formatted": ""},
    {"ordinal": 1, "value": null, "formatted": "#ERR: too deep", "error": "too deep"},
    {"ordinal": 2, "value": null, "formatted": "#ERR: too deep", "error": "too deep"}])"));
}

}  // namespace
}  // namespace importkcd
