#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "servers/memory/memory_server.h"
#include "tests/support/forwarding_server.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

using ::testing::HasSubstr;

/// `kcd import` into a server in memory that a test disturbs.
class DisturbedImport : public ::testing::Test {
 protected:
  int import(std::vector<std::string> arguments) {
    CLI::App program;
    const auto command = make_import_command(program);
    arguments.insert(arguments.begin(), {"import", document_});
    std::reverse(arguments.begin(), arguments.end());
    program.parse(std::move(arguments));
    const OlapServerFactory open = [this](std::string_view) {
      return std::make_unique<ForwardingServer>(make_memory_server(store_), hook);
    };
    output.str("");
    errors.str("");
    return command->run({open, open, {}, {}, {}, input_, output, errors, err_is_terminal});
  }

  ForwardingServer::Hook hook;
  bool err_is_terminal = false;
  std::ostringstream output;
  std::ostringstream errors;
  TemporaryFolder folder;

 private:
  std::string document_ = folder.write("document.kcd", whole_document());
  decltype(make_memory_store()) store_ = make_memory_store();
  std::istringstream input_;
};

TEST_F(DisturbedImport, ADeletionThatFailsIsAFailureInReplaceMode) {
  ASSERT_EQ(import({}), exit_status::success);
  for (const std::string on_error : {"discard", "keep"}) {
    hook = fail_operation("remove_database Shop");
    EXPECT_EQ(import({"--mode", "replace", "--on-error", on_error}), exit_status::failure);
    EXPECT_THAT(errors.str(),
                HasSubstr("Database 'Shop' could not be deleted, and the import went on over what "
                          "was there: refused by the test\n"));
  }
  hook = {};
  EXPECT_EQ(import({"--mode", "replace"}), exit_status::success);
  EXPECT_EQ(errors.str(), "");
}

TEST_F(DisturbedImport, ACubeThatMayNotBeLockedCountsAsSkipped) {
  ASSERT_EQ(import({}), exit_status::success);
  hook = fail_operation("lock_cube Stock");
  import({"--mode", "update", "--dont-update-levels", "--quiet"});
  EXPECT_THAT(output.str(), HasSubstr(": 2 cubes updated, 1 skipped, "));
}

TEST_F(DisturbedImport, AnErrorStandsInTheProgressBarsPlace) {
  err_is_terminal = true;
  hook = fail_operation("write_back_cube Stock");
  EXPECT_EQ(import({}), exit_status::failure);
  EXPECT_THAT(errors.str(), HasSubstr("objects\r\x1B[KCannot create DSS database because of "));
}

}  // namespace
}  // namespace importkcd::testing
