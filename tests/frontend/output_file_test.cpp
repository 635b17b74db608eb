#include "frontend/output_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using importkcd::testing::read_file;

class OutputFileTest : public ::testing::Test {
 protected:
  importkcd::testing::TemporaryFolder folder;
  int stamps = 0;
  OutputFile file{[this] { return "T" + std::to_string(++stamps); }};
};

TEST_F(OutputFileTest, BeginsWithALineOfOneBlank) {
  file.OpenOutputFile(folder.file("o.txt"));
  EXPECT_EQ(read_file(folder.file("o.txt")), " \r\n");
}

TEST_F(OutputFileTest, StampsEveryLine) {
  file.OpenOutputFile(folder.file("o.txt"));
  file.WriteOutputLine("Start");
  file.WriteOutputLine("two\nlines");
  file.CloseOutputFile();
  EXPECT_EQ(read_file(folder.file("o.txt")), " \r\nT1 Start\r\nT2 two lines\r\n");
}

TEST_F(OutputFileTest, TwoRunsFollowEachOther) {
  const std::string name = folder.write("o.txt", "earlier\r\n");
  for (const char* const line : {"one", "two"}) {
    file.OpenOutputFile(name);
    file.WriteOutputLine(line);
    file.CloseOutputFile();
  }
  EXPECT_EQ(read_file(name), "earlier\r\n \r\nT1 one\r\n \r\nT2 two\r\n");
}

TEST_F(OutputFileTest, LinesWhileNoFileIsOpenAreDropped) {
  file.WriteOutputLine("before");
  file.CloseOutputFile();
  file.OpenOutputFile(folder.file("o.txt"));
  file.CloseOutputFile();
  file.WriteOutputLine("after");
  file.CloseOutputFile();
  EXPECT_EQ(read_file(folder.file("o.txt")), " \r\n");
}

TEST_F(OutputFileTest, WhoOpensLastDecidesAboutTheFile) {
  file.OpenOutputFile(folder.file("outer.txt"));
  file.OpenOutputFile(folder.file("inner.txt"));
  file.WriteOutputLine("inner");
  file.CloseOutputFile();
  file.WriteOutputLine("outer again");
  EXPECT_EQ(read_file(folder.file("outer.txt")), " \r\n");
  EXPECT_EQ(read_file(folder.file("inner.txt")), " \r\nT1 inner\r\n");
}

TEST_F(OutputFileTest, AFileThatCannotBeOpenedIsAnError) {
  EXPECT_THROW(file.OpenOutputFile(folder.file("no/o.txt")), FileError);
  EXPECT_THROW(file.OpenOutputFile(""), FileError);
  file.WriteOutputLine("dropped");
}

TEST_F(OutputFileTest, AFullDiskShowsWithTheFirstLine) {
  EXPECT_THROW(file.OpenOutputFile("/dev/full"), FileError);
}

TEST_F(OutputFileTest, ADiskThatFillsUpLaterStopsNothing) {
  file.OpenOutputFile(folder.file("o.txt"));
  file.WriteOutputLine("one");
  auto* const former_handler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit former{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &former), 0);
  rlimit small = former;
  small.rlim_cur = 11;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  EXPECT_NO_THROW(file.WriteOutputLine("two"));
  setrlimit(RLIMIT_FSIZE, &former);
  (void)std::signal(SIGXFSZ, former_handler);
  file.WriteOutputLine("three");
  EXPECT_EQ(read_file(folder.file("o.txt")), " \r\nT1 one\r\nT3 three\r\n");
}

}  // namespace
}  // namespace importkcd
