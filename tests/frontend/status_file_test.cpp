#include "frontend/status_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "frontend/line_file.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using importkcd::testing::read_file;
using importkcd::testing::TemporaryFolder;

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

TEST(StatusFile, AFileThatCannotBeWrittenIsAnError) {
  const TemporaryFolder folder;
  EXPECT_THROW(WriteStatusFile(folder.path().string(), "x"), FileError);
  EXPECT_THROW(WriteStatusFile(folder.file("no/s.txt"), "x"), FileError);
  EXPECT_THROW(WriteStatusFile("/dev/full", "x"), FileError);
}

}  // namespace
}  // namespace importkcd
