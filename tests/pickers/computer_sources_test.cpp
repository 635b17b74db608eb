#include "pickers/computer_sources.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/system.h"
#include "servers/choice/server_choice.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(HostsFile, EachLineGivesItsFirstName) {
  EXPECT_THAT(computers_in_hosts_file("192.168.1.5 olap1.example.org olap1\n"
                                      "192.168.1.6\tdw1\n"),
              ElementsAre("olap1.example.org", "dw1"));
}

TEST(HostsFile, CommentsAndEmptyLinesArePassedOver) {
  EXPECT_THAT(computers_in_hosts_file("# 10.0.0.1 hidden\n"
                                      "\n"
                                      "   \t \n"
                                      "10.0.0.2 shown # and why\n"
                                      "10.0.0.3 close#comment\n"
                                      "10.0.0.4 # no name\n"),
              ElementsAre("shown", "close"));
}

TEST(HostsFile, BlanksBeforeTheAddressAndForeignLineEndsDoNotMatter) {
  EXPECT_THAT(computers_in_hosts_file("  10.0.0.1   alpha\r\n\t10.0.0.2 beta"),
              ElementsAre("alpha", "beta"));
}

TEST(HostsFile, AddressesOfTheNewProtocolCount) {
  EXPECT_THAT(computers_in_hosts_file("2001:db8::7 seven\nfe80::1%eth0 near\n"),
              ElementsAre("seven", "near"));
}

TEST(HostsFile, LoopbackAndMulticastNamesAreNoComputers) {
  EXPECT_THAT(computers_in_hosts_file("127.0.0.1 localhost\n"
                                      "127.0.1.1 this-one\n"
                                      "::1 localhost ip6-localhost ip6-loopback\n"
                                      ":: nowhere\n"
                                      "fe00::0 ip6-localnet\n"
                                      "ff00::0 ip6-mcastprefix\n"
                                      "ff02::1 ip6-allnodes\n"
                                      "0.0.0.0 blocked.example.org\n"
                                      "224.0.0.1 everybody\n"
                                      "255.255.255.255 broadcasthost\n"),
              IsEmpty());
}

TEST(HostsFile, LinesWithoutAnAddressAreMalformed) {
  EXPECT_THAT(computers_in_hosts_file("olap1 192.168.1.5\n"
                                      "192.168.1 short\n"
                                      "192.168.1.256 high\n"
                                      "192.168.1.5\n"
                                      "1:2:3 group\n"),
              IsEmpty());
}

TEST(HostsFile, AComputerWithSeveralAddressesIsNamedOnceAsItStandsFirst) {
  EXPECT_THAT(computers_in_hosts_file("10.0.0.1 Olap1\n2001:db8::1 OLAP1\n10.0.0.2 dw1\n"),
              ElementsAre("Olap1", "dw1"));
}

TEST(HostsFile, AnEmptyFileNamesNothing) { EXPECT_THAT(computers_in_hosts_file(""), IsEmpty()); }

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
