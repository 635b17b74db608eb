#include "base/files.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/import_error.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

bool is_open(int number) { return ::fcntl(number, F_GETFD) >= 0; }

class FilesTest : public ::testing::Test {
 protected:
  FileDescriptor opened(const std::string& name) const {
    return FileDescriptor(::open(folder.file(name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  }

  testing::TemporaryFolder folder;
};

TEST_F(FilesTest, ADescriptorClosesItsFileOnce) {
  auto file = opened("f");
  const int number = file.number();
  {
    const FileDescriptor owner = std::move(file);
    EXPECT_FALSE(file.is_open());  // NOLINT(bugprone-use-after-move): what a moved one is
    EXPECT_EQ(owner.number(), number);
    EXPECT_TRUE(is_open(number));
  }
  EXPECT_FALSE(is_open(number));
}

TEST_F(FilesTest, ADescriptorThatGetsAnotherFileClosesItsOwn) {
  auto first = opened("1");
  auto second = opened("2");
  const int first_number = first.number();
  const int second_number = second.number();
  first = std::move(second);
  EXPECT_FALSE(is_open(first_number));
  EXPECT_EQ(first.number(), second_number);
  EXPECT_TRUE(first.close());
  EXPECT_FALSE(is_open(second_number));
  EXPECT_TRUE(first.close()) << "nothing is open any more";
}

TEST_F(FilesTest, AllBytesAreWrittenOrTheSystemSaysWhyNot) {
  EXPECT_TRUE(write_all(opened("f"), std::string(1'000'000, 'x')));
  EXPECT_EQ(testing::read_file(folder.file("f")), std::string(1'000'000, 'x'));
  const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
  EXPECT_FALSE(write_all(full, "x"));
  EXPECT_EQ(system_description(errno), "No space left on device");
}

TEST_F(FilesTest, AFreshFileHasTheFirstNameThatIsFree) {
  folder.write("0", "old");
  const auto path_of = [&](int attempt) { return folder.file(std::to_string(attempt)); };
  const auto fresh = make_fresh_file(path_of, 0600);
  EXPECT_TRUE(fresh.file.is_open());
  EXPECT_EQ(fresh.path, folder.file("1"));
  EXPECT_EQ(testing::read_file(folder.file("0")), "old");
}

TEST_F(FilesTest, AFreshFileThatCannotBeMadeTellsTheLastName) {
  const auto taken = folder.write("taken", "");
  auto fresh = make_fresh_file([&](int /*attempt*/) { return std::string(taken); }, 0600);
  EXPECT_EQ(system_description(errno), "File exists");
  EXPECT_FALSE(fresh.file.is_open());
  fresh = make_fresh_file([&](int /*attempt*/) { return folder.file("none/f"); }, 0600);
  EXPECT_EQ(system_description(errno), "No such file or directory");
  EXPECT_FALSE(fresh.file.is_open());
  EXPECT_EQ(fresh.path, folder.file("none/f"));
}

TEST_F(FilesTest, TheNamesInAFolderAreThoseOfAllKindsOfFiles) {
  static_cast<void>(folder.write("file", ""));
  static_cast<void>(folder.write(".hidden", ""));
  std::filesystem::create_directory(folder.file("folder"));
  EXPECT_THAT(names_in_folder(folder.path().string()),
              ::testing::UnorderedElementsAre("file", ".hidden", "folder"));
  EXPECT_THAT(names_in_folder(folder.file("folder")), ::testing::IsEmpty());
  EXPECT_THAT(names_in_folder(folder.file("none")), ::testing::IsEmpty());
}

TEST_F(FilesTest, ATextIsReadWholeAndAFailureNamesTheFile) {
  const auto path = folder.write("long", std::string(300'000, 'x') + "end");
  EXPECT_EQ(text_of_file(path, "test"), std::string(300'000, 'x') + "end");
  try {
    text_of_file(folder.file("none"), "test");
    FAIL();
  } catch (const ImportError& error) {
    EXPECT_EQ(error.description(), folder.file("none") + ": No such file or directory");
    EXPECT_EQ(error.source(), "test");
  }
}

TEST_F(FilesTest, AReadersFailureIsOneOfItsComponent) {
  const auto failure_of = [](const std::string& path) -> std::string {
    try {
      FileReader(path, "test").window(1);
    } catch (const ImportError& error) {
      return error.source() + ": " + error.description();
    }
    return "none";
  };
  EXPECT_EQ(failure_of(folder.file("none")), "test: No such file or directory");
  EXPECT_EQ(failure_of(folder.path().string()), "test: Is a directory");
  EXPECT_EQ(failure_of("/dev/null"), "test: Is a device");
}

}  // namespace
}  // namespace importkcd
