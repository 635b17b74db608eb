#include "frontend/run_files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>

#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using importkcd::testing::read_file;
using importkcd::testing::TemporaryFolder;

template <class Action>
std::string file_error_of(Action action) {
  try {
    action();
  } catch (const FileError& error) {
    return error.what();
  }
  return "no error";
}

TEST(LineFile, EndsLinesWithCarriageReturnAndLineFeed) {
  const TemporaryFolder folder;
  LineFile file(folder.file("f"), LineFileMode::append);
  file.write_line("one");
  file.write_line("");
  EXPECT_EQ(read_file(folder.file("f")), "one\r\n\r\n")
      << "lines are there before the file is closed";
}

TEST(LineFile, AppendsOrTruncates) {
  const TemporaryFolder folder;
  const std::string name = folder.write("f", "old\r\n");
  LineFile(name, LineFileMode::append).write_line("new");
  EXPECT_EQ(read_file(name), "old\r\nnew\r\n");
  LineFile(name, LineFileMode::truncate).write_line("x");
  EXPECT_EQ(read_file(name), "x\r\n");
}

TEST(LineFile, OneMessageStaysOneLine) {
  const TemporaryFolder folder;
  LineFile(folder.file("f"), LineFileMode::append).write_line("a\r\nb\tc");
  EXPECT_EQ(read_file(folder.file("f")), "a  b c\r\n");
}

TEST(LineFile, TellsWhyAFileCannotBeOpened) {
  const TemporaryFolder folder;
  EXPECT_EQ(file_error_of([&] { LineFile(folder.file("no/f"), LineFileMode::append); }),
            "Unable to write to file '" + folder.file("no/f") + "'\r\nNo such file or directory");
  EXPECT_EQ(file_error_of([&] { LineFile(folder.path().string(), LineFileMode::truncate); }),
            "Unable to write to file '" + folder.path().string() + "'\r\nIs a directory");
}

TEST(LineFile, TellsOfALineThatCannotBeWritten) {
  LineFile file("/dev/full", LineFileMode::append);
  EXPECT_EQ(file_error_of([&] { file.write_line("x"); }),
            "Unable to write to file '/dev/full'\r\nNo space left on device");
}

class OutputFileTest : public ::testing::Test {
 protected:
  TemporaryFolder folder;
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
  EXPECT_EQ(
      file_error_of([&] { file.OpenOutputFile(folder.file("no/o.txt")); }),
      "Unable to write to file '" + folder.file("no/o.txt") + "'\r\nNo such file or directory");
  EXPECT_EQ(file_error_of([&] { file.OpenOutputFile(""); }),
            "Unable to write to file '" + std::string() + "'\r\nNo such file or directory");
  file.WriteOutputLine("dropped");
}

TEST_F(OutputFileTest, AFullDiskShowsWithTheFirstLine) {
  EXPECT_EQ(
      file_error_of([&] { file.OpenOutputFile("/dev/full"); }),
      "Unable to write to file '" + std::string("/dev/full") + "'\r\nNo space left on device");
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

TEST(StatusFile, HoldsOneLine) {
  const TemporaryFolder folder;
  WriteStatusFile(folder.file("s.txt"), status_of_success);
  EXPECT_EQ(read_file(folder.file("s.txt")), "SUCCES\r\n");
}

TEST(StatusFile, IsReplaced) {
  const TemporaryFolder folder;
  const std::string name =
      folder.write("s.txt", "a long line of an earlier run\r\nand another\r\n");
  WriteStatusFile(name, "error\r\nin two lines");
  EXPECT_EQ(read_file(name), "error  in two lines\r\n");
}

TEST(StatusFile, AnEmptyNameDoesNothing) {
  const TemporaryFolder folder;
  std::filesystem::current_path(folder.path());
  EXPECT_NO_THROW(WriteStatusFile("", "text"));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  std::filesystem::current_path("/");
}

TEST(StatusFile, OfAnEarlierRunIsRemovedAlsoBehindALink) {
  const TemporaryFolder folder;
  const auto name = folder.write("s.txt", "SUCCES\r\n");
  std::filesystem::create_symlink(name, folder.file("link"));
  remove_status_file(folder.file("link"));
  EXPECT_FALSE(std::filesystem::exists(name));
  EXPECT_NO_THROW(remove_status_file(name));
  EXPECT_NO_THROW(remove_status_file(""));
}

TEST(StatusFile, OnlyARegularFileIsRemoved) {
  const TemporaryFolder folder;
  const auto pipe = folder.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::filesystem::create_directory(folder.file("folder"));
  for (const auto* name : {"pipe", "folder"}) {
    remove_status_file(folder.file(name));
    EXPECT_TRUE(std::filesystem::exists(folder.file(name)));
  }
}

TEST(StatusFile, AFileThatCannotBeWrittenIsAnError) {
  const TemporaryFolder folder;
  EXPECT_EQ(file_error_of([&] { WriteStatusFile(folder.path().string(), "x"); }),
            "Unable to write to file '" + folder.path().string() + "'\r\nIs a directory");
  EXPECT_EQ(
      file_error_of([&] { WriteStatusFile(folder.file("no/s.txt"), "x"); }),
      "Unable to write to file '" + folder.file("no/s.txt") + "'\r\nNo such file or directory");
  EXPECT_EQ(
      file_error_of([&] { WriteStatusFile("/dev/full", "x"); }),
      "Unable to write to file '" + std::string("/dev/full") + "'\r\nNo space left on device");
}

}  // namespace
}  // namespace importkcd
