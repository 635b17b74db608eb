#include "frontend/run_settings.h"

#include <gtest/gtest.h>

#include "importer/import_options.h"

namespace importkcd {
namespace {

class HandedOverSettings : public ::testing::Test {
 protected:
  void hand_over() { hand_over_settings(options, fields, settings, "/d/a.kcd", "HERE"); }

  RunFields fields;
  HiddenSettings settings;
  ImportOptions options;
};

TEST_F(HandedOverSettings, CarryServerDocumentAndSwitches) {
  fields.olap_server = " SRV ";
  fields.kcd_filename = "/d/a.kci";
  fields.import_cube_partition_defs = true;
  hand_over();
  EXPECT_EQ(options.machine_name, " SRV ");
  EXPECT_EQ(options.kcd_document_file_name, "/d/a.kcd");
  EXPECT_TRUE(options.import_partitions);
  EXPECT_TRUE(options.virtual_cubes);
}

TEST_F(HandedOverSettings, VirtualCubesFollowTheHiddenSetting) {
  settings.ImportVirtualCubes = false;
  hand_over();
  EXPECT_FALSE(options.virtual_cubes);
}

TEST_F(HandedOverSettings, TheAlternateDatabaseNameIsHandedOverInEveryCase) {
  fields.olap_database = "Other";
  hand_over();
  EXPECT_FALSE(options.use_alternate_database_name);
  EXPECT_EQ(options.alternate_database_name, "Other");
  fields.alt_olap_database = true;
  hand_over();
  EXPECT_TRUE(options.use_alternate_database_name);
}

TEST_F(HandedOverSettings, TheDataWarehouseServerIsHandedOverWhenItsBoxIsChecked) {
  fields.datawarehouse_server = "DW";
  options.data_source_name = "earlier";
  hand_over();
  EXPECT_EQ(options.data_source_name, "");
  fields.alt_dw_server = true;
  hand_over();
  EXPECT_EQ(options.data_source_name, "DW");
}

TEST_F(HandedOverSettings, AConnectionStringNeedsADataWarehouseDatabase) {
  fields.datawarehouse_server = "(Local)";
  settings.DwTrusted = true;
  hand_over();
  EXPECT_EQ(options.datawarehouse_connectstring, "");
  settings.DwDatabase = "Sales";
  hand_over();
  EXPECT_EQ(options.datawarehouse_connectstring,
            "Provider=SQLOLEDB.1;Data Source=HERE;Persist Security Info=True;"
            "Integrated Security=SSPI;Initial Catalog=Sales");
}

TEST_F(HandedOverSettings, NoSelectedOptionLeavesTheImportTypeAtNone) {
  hand_over();
  EXPECT_EQ(options.ImportType, import_type::none);
}

TEST_F(HandedOverSettings, TheFirstSelectedOptionGivesTheImportType) {
  fields.update = true;
  hand_over();
  EXPECT_EQ(options.ImportType, import_type::update);
  fields.replace = true;
  hand_over();
  EXPECT_EQ(options.ImportType, import_type::replace);
  fields.incremental = true;
  hand_over();
  EXPECT_EQ(options.ImportType, import_type::incremental);
}

TEST_F(HandedOverSettings, DontUpdateLevelsIsHandedOverInUpdateModeOnly) {
  fields.dont_update_levels = true;
  fields.replace = true;
  hand_over();
  EXPECT_FALSE(options.DontUpdateLevels);
  fields.replace = false;
  fields.update = true;
  hand_over();
  EXPECT_TRUE(options.DontUpdateLevels);
}

TEST_F(HandedOverSettings, NeverSetTheTwoModeFlags) {
  fields.incremental = fields.replace = true;
  hand_over();
  EXPECT_FALSE(options.incremental);
  EXPECT_FALSE(options.replace_yn);
}

TEST_F(HandedOverSettings, PatternsAreTrimmedAndOnlyHandedOverWhenSwitchedOn) {
  fields.replace_pattern_from = "  %XXX% ";
  fields.replace_pattern_to = " A B ";
  hand_over();
  EXPECT_FALSE(options.replace_pattern_yn());
  EXPECT_EQ(options.pattern_from, "");
  EXPECT_EQ(options.pattern_to, "");
  fields.replace_pattern = true;
  hand_over();
  EXPECT_TRUE(options.replace_pattern_yn());
  EXPECT_EQ(options.pattern_from, "%XXX%");
  EXPECT_EQ(options.pattern_to, "A B");
}

TEST(HiddenSettings, StartWithVirtualCubesAndNothingElse) {
  const HiddenSettings settings;
  EXPECT_TRUE(settings.ImportVirtualCubes);
  EXPECT_FALSE(settings.CommandLineRun);
  EXPECT_FALSE(settings.KeepOpen);
  EXPECT_FALSE(settings.ImportTypeGiven);
  EXPECT_FALSE(settings.DwTrusted);
  EXPECT_EQ(settings.DwUser, "");
  EXPECT_EQ(settings.DwPassword, "");
  EXPECT_EQ(settings.DwDatabase, "");
  EXPECT_EQ(settings.StatusFileName, "");
}

}  // namespace
}  // namespace importkcd
