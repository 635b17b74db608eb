#include "base/whole_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>

#include "base/import_error.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

/// The description of an action's failure; "none" when there is none.
template <class Action>
std::string failure_of(Action action) {
  try {
    action();
  } catch (const ImportError& error) {
    EXPECT_EQ(error.source(), "test");
    return error.description();
  }
  return "none";
}

void write_whole_file(const std::string& path, std::string_view bytes) {
  WholeFile file(path, "test");
  file.append(bytes);
  file.finish();
}

class WholeFileTest : public ::testing::Test {
 protected:
  std::size_t entries() const {
    const auto all = fs::directory_iterator(folder.path());
    return static_cast<std::size_t>(std::distance(fs::begin(all), fs::end(all)));
  }

  testing::TemporaryFolder folder;
};

TEST_F(WholeFileTest, WritesAndReplaces) {
  const auto path = folder.file("f");
  write_whole_file(path, "first");
  EXPECT_EQ(testing::read_file(path), "first");
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
  write_whole_file(path, "2nd");
  EXPECT_EQ(testing::read_file(path), "2nd");
  EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(entries(), 1U);
}

TEST_F(WholeFileTest, ShowsNothingBeforeItIsFinished) {
  const auto path = folder.write("f", "former");
  {
    WholeFile file(path, "test");
    file.append(std::string(1'000'000, 'x'));
    EXPECT_EQ(testing::read_file(path), "former");
    EXPECT_EQ(entries(), 2U);
  }
  EXPECT_EQ(testing::read_file(path), "former");
  EXPECT_EQ(entries(), 1U);
}

TEST_F(WholeFileTest, TwoOfThemInOneFolderDoNotMeet) {
  WholeFile first(folder.file("1"), "test");
  WholeFile second(folder.file("2"), "test");
  first.append("first");
  second.append("second");
  second.finish();
  first.finish();
  EXPECT_EQ(testing::read_file(folder.file("1")), "first");
  EXPECT_EQ(testing::read_file(folder.file("2")), "second");
}

TEST_F(WholeFileTest, ASymbolicLinkStaysOne) {
  fs::create_directory(folder.file("elsewhere"));
  const auto real = folder.write("elsewhere/real", "old");
  fs::create_symlink(real, folder.file("link"));
  write_whole_file(folder.file("link"), "new");
  EXPECT_TRUE(fs::is_symlink(folder.file("link")));
  EXPECT_EQ(testing::read_file(real), "new");
}

TEST_F(WholeFileTest, AFailureOfWritingNamesTheFileAndLeavesNothing) {
  const auto nowhere = folder.file("none/f");
  EXPECT_EQ(failure_of([&] { write_whole_file(nowhere, "x"); }),
            "Cannot write '" + nowhere + "': No such file or directory");
  fs::create_directory(folder.file("taken"));
  EXPECT_EQ(failure_of([&] { write_whole_file(folder.file("taken"), "x"); }),
            "Cannot write '" + folder.file("taken") + "': Is a directory");
  EXPECT_EQ(entries(), 1U);
}

TEST_F(WholeFileTest, OnlyRegularFilesAreReplacedAlsoThroughALink) {
  const auto pipe = folder.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  fs::create_symlink(pipe, folder.file("to a pipe"));
  // No device of this machine: a fault would replace it.
  const auto socket = folder.file("socket");
  ASSERT_EQ(mknod(socket.c_str(), S_IFSOCK | 0600, 0), 0);
  fs::create_symlink(socket, folder.file("to a socket"));
  fs::create_symlink("nowhere", folder.file("to nothing"));
  for (const auto* name : {"pipe", "to a pipe", "to a socket", "to nothing"}) {
    EXPECT_EQ(failure_of([&] { write_whole_file(folder.file(name), "x"); }),
              "Cannot write '" + folder.file(name) + "': Is not a regular file");
  }
  EXPECT_TRUE(fs::is_fifo(pipe));
  EXPECT_TRUE(fs::is_socket(socket));
  EXPECT_EQ(entries(), 5U);
}

TEST_F(WholeFileTest, WhatTakesThePlaceMeanwhileIsNotReplaced) {
  const auto path = folder.write("f", "former");
  WholeFile file(path, "test");
  fs::remove(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(failure_of([&] { file.finish(); }),
            "Cannot write '" + path + "': Is not a regular file");
  EXPECT_TRUE(fs::is_fifo(path));
}

TEST_F(WholeFileTest, PermissionsAreSetOnTheFileAndNotOnWhatStandsInItsPlace) {
  const auto path = folder.write("f", "former");
  fs::permissions(path, fs::perms::all);
  const auto victim = folder.write("victim", "v");
  fs::permissions(victim, fs::perms::owner_read);
  WholeFile file(path, "test");
  for (const auto& entry : fs::directory_iterator(folder.path())) {
    if (entry.path().filename().string().starts_with(".importkcd-")) {
      fs::remove(entry.path());
      fs::create_symlink(victim, entry.path());
      break;
    }
  }
  file.finish();
  EXPECT_EQ(fs::status(victim).permissions(), fs::perms::owner_read);
}

TEST_F(WholeFileTest, AFullDiskLeavesTheFormerFile) {
  const auto path = folder.write("f", "former");
  rlimit former{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &former), 0);
  const auto former_handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{4096, former.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto failure = failure_of([&] { write_whole_file(path, std::string(100'000, 'x')); });
  setrlimit(RLIMIT_FSIZE, &former);
  std::signal(SIGXFSZ, former_handler);
  EXPECT_EQ(failure, "Cannot write '" + path + "': File too large");
  EXPECT_EQ(testing::read_file(path), "former");
  EXPECT_EQ(entries(), 1U);
}

}  // namespace
}  // namespace importkcd
