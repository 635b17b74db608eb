#include "tests/cli/faults/command_faults_fixture.h"

#include <csignal>
#include <filesystem>
#include <set>

#include "servers/choice/server_choice.h"
#include "tests/support/database_text.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

namespace fs = std::filesystem;

/// What `kcd` gives when the C++ library ends it.
constexpr int aborted = 128 + SIGABRT;

/// A database that every server can hold and publish; `description` tells its states apart.
std::string shop(const std::string& description, const std::string& further_measures) {
  return bare_document(known_version, "Shop",
                       R"xml(
<library>
  <data_sources>
    <data_source name="Warehouse" connection_string="jdbc:postgresql://dw/shop"
                 description=")xml" +
                           description + R"xml("/>
  </data_sources>
  <shared_dimensions>
    <shared_dimension name="Product" description="" type="regular" data_source="Warehouse"
                      from_clause="product" join_clause="" schema_layout="star">
      <levels>
        <level name="Product" type="regular" column_size="20" column_type="129" description=""
               estimated_size="900" member_key_column="product.id" ordering="name"
               member_name_column="product.name" unique_items="true"/>
      </levels>
    </shared_dimension>
  </shared_dimensions>
  <roles><role name="Readers" description="" user_list="anna;bert"/></roles>
</library>
<cubes>
  <cube name="Sales" description=")xml" +
                           description + R"xml(" data_source="Warehouse"
        fact_table="sales" aggregation_prefix="" from_clause="sales, product"
        join_clause="sales.product = product.id" schema_layout="star" olap_mode="olapmodeRolap"
        estimated_rows="10">
    <cube_dimensions>
      <cube_dimension_reference name="Product"><cube_levels_reference/></cube_dimension_reference>
    </cube_dimensions>
    <cube_measures>
      <cube_measure name="Amount" description="" format="#" source_column="sales.amount"
                    internal="false" aggregate_function="sum"/>)xml" +
                           further_measures + R"xml(
    </cube_measures>
    <cube_calculated_members/>
    <cube_partitions/>
    <cube_roles><cube_role name="Readers" permissions="R"/></cube_roles>
  </cube>
</cubes>)xml");
}

constexpr const char* pieces = R"xml(
      <cube_measure name="Pieces" description="" format="#" source_column="sales.pieces"
                    internal="false" aggregate_function="sum"/>)xml";

/// The mark of a published schema tells its time.
std::string without_mark(std::string schema) {
  const auto begin = schema.find("<!--");
  const auto end = schema.find("-->");
  return end == std::string::npos ? schema : schema.erase(begin, end - begin);
}

/// Whether the document's temporary copy stays, as it does for a document that cannot be read:
/// somebody may look what is wrong with it.
bool keeps_copy(const std::string& errors) {
  return errors.find("Error in reading document") != std::string::npos ||
         errors.find("Cannot open kcd document file") != std::string::npos ||
         errors.find("Error in deleting file") != std::string::npos;
}

}  // namespace

std::string name_of_case(const ::testing::TestParamInfo<CommandCase>& tested) {
  return tested.param.command + "_on_" +
         tested.param.server.substr(0, tested.param.server.find(':'));
}

CommandFaultsTest::CommandFaultsTest() : server_(GetParam().server) {
  fs::create_directory(folder.file("tmp"));
  fs::create_directory(folder.file("state"));
  if (server_ == "catalogue:") {
    server_ += folder.file("state") + "/shop.olap";
  } else if (server_ == "mondrian:") {
    server_ += folder.file("state");
  }
}

ProcessStart CommandFaultsTest::kcd(const std::vector<std::string>& arguments) const {
  return {KCD_PROGRAM, arguments, {{"TMPDIR", folder.file("tmp")}, {"LC_ALL", "C"}}};
}

ProcessStart CommandFaultsTest::import_of(const std::string& document,
                                          const std::string& mode) const {
  return kcd({"import", document, "--server", server_, "--mode", mode});
}

void CommandFaultsTest::prepare() {
  const auto older = folder.write("older.kcd", shop("Older", ""));
  const auto newer = folder.write("newer.kcd", shop("Newer", pieces));
  const auto& tested = GetParam();
  ASSERT_EQ(run_process(import_of(older, "incremental")).exit_status, 0);
  if (tested.command == "restore") {
    ASSERT_EQ(run_process(import_of(newer, "replace")).exit_status, 0);
    command = kcd({"restore", server_, "Shop"});
  } else {
    command = import_of(newer, tested.command);
  }
  fs::rename(folder.file("state"), folder.file("start"));
  restore_start();
  before_ = state();
  const auto result = run_process(command);
  ASSERT_EQ(result.exit_status, 0) << result.errors;
  after_ = state();
  if (keeps_anything()) {
    ASSERT_NE(before_.stored, after_.stored);
  }
}

void CommandFaultsTest::restore_start() const {
  fs::remove_all(folder.file("state"));
  fs::copy(folder.file("start"), folder.file("state"), fs::copy_options::recursive);
}

void CommandFaultsTest::expect_known_end(const ProcessResult& result, AlsoKnown also_known) {
  constexpr int in_use = 4;
  const bool is_abort = result.exit_status == aborted;
  EXPECT_TRUE(result.exit_status == 0 || result.exit_status == 1 || result.exit_status == 5 ||
              (is_abort && also_known == AlsoKnown::abort) ||
              (result.exit_status == in_use && also_known == AlsoKnown::in_use))
      << result.exit_status << ' ' << result.errors;
  EXPECT_TRUE(result.exit_status == 0 || !result.errors.empty());
  if (keeps_anything() && result.exit_status == 0) {
    EXPECT_EQ(state(), after_) << result.errors;
  }
  if (!is_abort && !keeps_copy(result.errors)) {
    EXPECT_TRUE(fs::is_empty(folder.file("tmp"))) << result.errors;
  }
  expect_known_state();
}

void CommandFaultsTest::expect_known_state() {
  fs::remove_all(folder.file("tmp"));
  fs::create_directory(folder.file("tmp"));
  if (!keeps_anything()) {
    return;
  }
  const auto left = state();
  changed_ = left.stored != before_.stored;
  EXPECT_TRUE(!changed_ || left.stored == after_.stored) << left.stored;
  // What is stored but not yet published the next command publishes.
  EXPECT_TRUE(left.published == before_.published || changed_) << left.published;
  if (changed_ && GetParam().command == "restore") {
    return;
  }
  const auto next = run_process(command);
  EXPECT_EQ(next.exit_status, 0) << next.errors;
  EXPECT_EQ(state(), after_);
}

ServedState CommandFaultsTest::state() const {
  if (!keeps_anything()) {
    return {};
  }
  const auto server = make_olap_server(server_, ServerAccess::read_only_or_empty);
  server->connect(server_);
  return {server_text(*server), published()};
}

std::string CommandFaultsTest::published() const {
  const fs::path place = folder.file("state");
  std::string text;
  if (fs::exists(place / "datasources.xml")) {
    text = read_file(place / "datasources.xml");
  }
  if (fs::exists(place / "schemas")) {
    std::set<fs::path> schemas;
    for (const auto& file : fs::directory_iterator(place / "schemas")) {
      if (file.path().extension() == ".xml") {
        schemas.insert(file.path());
      }
    }
    for (const auto& schema : schemas) {
      text += schema.filename().string() + '\n' + without_mark(read_file(schema));
    }
  }
  return text;
}

}  // namespace importkcd::testing
