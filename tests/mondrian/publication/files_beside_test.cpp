#include "mondrian/publication/files_beside.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/mondrian/mapping/mapping_fixture.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;
using Readers = FilesBeside::Readers;

class FilesBesideTest : public ::testing::Test {
 protected:
  unsigned mode_of(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(::stat(folder.file(name).c_str(), &status), 0) << name;
    return status.st_mode & 0777U;
  }

  testing::TemporaryFolder folder;
};

TEST_F(FilesBesideTest, FilesTakeTheirPlacesAllAtOnce) {
  folder.write("a", "old");
  FilesBeside files;
  files.write(folder.file("a"), "new a", Readers::everyone);
  files.write(folder.file("b"), "new b", Readers::everyone);
  EXPECT_EQ(testing::read_file(folder.file("a")), "old");
  EXPECT_FALSE(fs::exists(folder.file("b")));
  files.take_places();
  EXPECT_EQ(testing::read_file(folder.file("a")), "new a");
  EXPECT_EQ(testing::read_file(folder.file("b")), "new b");
  EXPECT_FALSE(fs::exists(folder.file("a.new")));
}

TEST_F(FilesBesideTest, WhatDidNotTakeItsPlaceGoesAway) {
  folder.write("a", "old");
  { FilesBeside().write(folder.file("a"), "new", Readers::everyone); }
  EXPECT_EQ(testing::read_file(folder.file("a")), "old");
  EXPECT_FALSE(fs::exists(folder.file("a.new")));
}

TEST_F(FilesBesideTest, AFileForItsOwnerIsReadableByNobodyElseWhateverWasThere) {
  folder.write("secret", "old");
  folder.write("secret.new", "left over");
  ASSERT_EQ(::chmod(folder.file("secret").c_str(), 0644), 0);
  ASSERT_EQ(::chmod(folder.file("secret.new").c_str(), 0666), 0);
  const auto mask = ::umask(0);
  FilesBeside files;
  files.write(folder.file("secret"), "new", Readers::owner_only);
  ::umask(mask);
  EXPECT_EQ(mode_of("secret.new"), 0600U);
  files.take_places();
  EXPECT_EQ(mode_of("secret"), 0600U);
  EXPECT_EQ(testing::read_file(folder.file("secret")), "new");
}

TEST_F(FilesBesideTest, AFolderInThePlaceIsNoticedBeforeAnythingIsReplaced) {
  folder.write("a", "old");
  fs::create_directory(folder.file("b"));
  FilesBeside files;
  files.write(folder.file("a"), "new", Readers::everyone);
  EXPECT_EQ(testing::reason_of([&] { files.write(folder.file("b"), "new", Readers::everyone); }),
            "cannot write '" + folder.file("b") + "': Is a directory");
  EXPECT_EQ(testing::read_file(folder.file("a")), "old");
}

TEST_F(FilesBesideTest, AMissingFolderIsAnErrorThatNamesTheFile) {
  FilesBeside files;
  EXPECT_EQ(
      testing::reason_of([&] { files.write(folder.file("missing/a"), "new", Readers::everyone); }),
      "cannot write '" + folder.file("missing/a") + "': No such file or directory");
}

TEST_F(FilesBesideTest, ALockIsHeldByOneAtATimeAndIsItsOwnersFile) {
  const auto file = folder.file("lock");
  {
    const WaitingLock first(file, WaitingLock::Wait::yes);
    EXPECT_TRUE(first.is_held());
    EXPECT_FALSE(WaitingLock(file, WaitingLock::Wait::no).is_held());
    EXPECT_EQ(mode_of("lock"), 0600U);
  }
  EXPECT_TRUE(WaitingLock(file, WaitingLock::Wait::no).is_held());
}

}  // namespace
}  // namespace importkcd
