#include "frontend/field_validation.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

class FieldValidation : public ::testing::Test {
 protected:
  FieldValidation() {
    fields.kcd_filename = folder.write("a.kcd", "<database/>");
    fields.olap_server = "SRV";
  }

  void make_everything_empty_but_the_document() {
    fields.olap_server = fields.olap_database = fields.datawarehouse_server = " ";
    fields.replace_pattern_from = fields.replace_pattern_to = fields.output_file_name = "  ";
    fields.labels_server = fields.sql_username = fields.labels_database = fields.language = " ";
    fields.alt_olap_database = fields.alt_dw_server = fields.replace_pattern = true;
    fields.output_file = fields.kci_input = fields.sql_login = true;
  }

  void expect_failure(std::string_view caption, std::string_view message, ControlName focus) {
    const auto failure = ValidateInputs(fields);
    ASSERT_TRUE(failure.has_value()) << message;
    EXPECT_EQ(failure->caption, caption);
    EXPECT_EQ(failure->message, message);
    EXPECT_EQ(failure->focus, focus);
  }

  importkcd::testing::TemporaryFolder folder;
  RunFields fields;
};

TEST_F(FieldValidation, PassesWhenTheRequiredFieldsAreFilled) {
  EXPECT_FALSE(ValidateInputs(fields).has_value());
}

TEST_F(FieldValidation, ReportsTheFirstFailureOfTheTableFromTopToBottom) {
  make_everything_empty_but_the_document();
  const std::string document = fields.kcd_filename;
  fields.kcd_filename = "   ";
  expect_failure("Cube Definition Document", "KCD Filename field is empty ! Please fill it...",
                 "txtKCDFilename");
  fields.kcd_filename = document + "x";
  expect_failure("Cube Definition Document",
                 "Given KCD File does not exist ! Please select another...", "txtKCDFilename");
  fields.kcd_filename = document;
  // The focus goes to the document box, not to the server box.
  expect_failure("Microsoft OLAP Server", "MS OLAP Server field is empty ! Please fill it...",
                 "txtKCDFilename");
  fields.olap_server = "S";
  expect_failure("Alternate OLAP Database", "Alt. OLAP Database field is empty ! Please fill it...",
                 "txtOLAPDatabase");
  fields.olap_database = "D";
  expect_failure("Alternate Datawarehouse Server",
                 "Alt. Datawarehouse Server field is empty ! Please fill it...",
                 "txtDatawarehouseServer");
  fields.datawarehouse_server = "W";
  expect_failure("Company Replace Pattern", "From Pattern field is empty ! Please fill it...",
                 "txtReplacePatternFrom");
  fields.replace_pattern_from = "F";
  expect_failure("Company Replace Pattern", "To Pattern field is empty ! Please fill it...",
                 "txtReplacePatternTo");
  fields.replace_pattern_to = "T";
  expect_failure("Output to File", "Output Filename field is empty ! Please fill it...",
                 "txtOutputFile");
  fields.output_file_name = "o.txt";
  expect_failure("Labels Server",
                 "The servername for the Labels database is empty ! Please fill it...",
                 "txtServer");
  fields.labels_server = "L";
  expect_failure("Labels SQL Username",
                 "The SQL Username for the Labels database is empty ! Please fill it...",
                 "txtSQLUsername");
  fields.sql_username = "U";
  expect_failure("Labels databasename",
                 "The name of the Labels database  is empty ! Please fill it...", "cmbDB");
  fields.labels_database = "B";
  expect_failure("Language", "The language to use for the labels is empty ! Please fill it...",
                 "cmbLanguage");
  fields.language = "Dutch";
  EXPECT_FALSE(ValidateInputs(fields).has_value());
}

TEST_F(FieldValidation, DoesNotLookAtWhatIsSwitchedOff) {
  make_everything_empty_but_the_document();
  fields.olap_server = "S";
  fields.alt_olap_database = fields.alt_dw_server = fields.replace_pattern = false;
  fields.output_file = fields.kci_input = false;
  EXPECT_FALSE(ValidateInputs(fields).has_value());
}

TEST_F(FieldValidation, NeedsNoSqlUserForAWindowsLogin) {
  make_everything_empty_but_the_document();
  fields.olap_server = "S";
  fields.alt_olap_database = fields.alt_dw_server = fields.replace_pattern = false;
  fields.output_file = fields.sql_login = false;
  fields.labels_server = fields.labels_database = fields.language = "x";
  EXPECT_FALSE(ValidateInputs(fields).has_value());
}

TEST_F(FieldValidation, ADocumentNameWithBlanksAroundItIsLookedForAsItStands) {
  fields.kcd_filename = " " + fields.kcd_filename + " ";
  expect_failure("Cube Definition Document",
                 "Given KCD File does not exist ! Please select another...", "txtKCDFilename");
  std::filesystem::current_path(folder.path());
  folder.write(" b.kcd ", "x");
  fields.kcd_filename = " b.kcd ";
  EXPECT_FALSE(ValidateInputs(fields).has_value());
  std::filesystem::current_path("/");
}

TEST_F(FieldValidation, OnlyBlanksCountAsEmpty) {
  fields.olap_server = "\t";
  EXPECT_FALSE(ValidateInputs(fields).has_value());
}

TEST_F(FieldValidation, AFileExistsWhenItsLengthCanBeRead) {
  EXPECT_TRUE(FileExists(folder.write("empty", "")));
  EXPECT_FALSE(FileExists(folder.file("missing")));
  EXPECT_FALSE(FileExists(folder.file("a.kcd/below")));
  EXPECT_FALSE(FileExists(folder.path().string()));
  EXPECT_FALSE(FileExists(""));
}

}  // namespace
}  // namespace importkcd
