#include "pickers/local_computers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "servers/choice/server_choice.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;

/// Everything that a source said, in order.
std::vector<std::string> run(ComputerSource& source) {
  std::vector<std::string> said;
  source.start([&](const std::string& name) { said.push_back(name); },
               [&] { said.emplace_back("(finished)"); });
  return said;
}

TEST(LocalComputers, ThisComputerIsFoundUnderItsName) {
  EXPECT_THAT(run(*make_this_computer_source()), ElementsAre(this_computer_name(), "(finished)"));
}

TEST(LocalComputers, TheHostsFilesComputersAreFound) {
  const testing::TemporaryFolder folder;
  const auto path = folder.write("hosts", "127.0.0.1 localhost\n10.0.0.1 alpha\n10.0.0.2 beta\n");
  EXPECT_THAT(run(*make_hosts_file_source(path)), ElementsAre("alpha", "beta", "(finished)"));
}

TEST(LocalComputers, AHostsFileThatCannotBeReadFindsNothing) {
  const testing::TemporaryFolder folder;
  EXPECT_THAT(run(*make_hosts_file_source(folder.file("absent"))), ElementsAre("(finished)"));
  EXPECT_THAT(run(*make_hosts_file_source(folder.path().string())), ElementsAre("(finished)"));
}

}  // namespace
}  // namespace importkcd
