#include "cli/dataset_json.h"

#include <gtest/gtest.h>

#include "tests/cli/dataset_samples.h"

namespace importkcd {
namespace {

using Json = nlohmann::ordered_json;
using testing::sample_axis;
using testing::sample_member;

TEST(DatasetJson, HoldsAxesSlicerAndCells) {
  Dataset dataset;
  dataset.cube = "Sales";
  dataset.axes = {sample_axis("Axis0", "Measures", {"Revenue"})};
  dataset.slicer = {sample_member("Store", "Kiel", {{"Manager", "A. P."}})};
  dataset.cells = {{0, {"1.5", "xsd:double", "1.50"}}};
  EXPECT_EQ(to_json(dataset), Json::parse(R"({
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
  return to_json(dataset)["cells"][0]["value"];
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

}  // namespace
}  // namespace importkcd
