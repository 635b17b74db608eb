#include "frontend/line_file.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace importkcd
