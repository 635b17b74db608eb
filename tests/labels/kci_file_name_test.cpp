#include <gtest/gtest.h>

#include <filesystem>

#include "labels/kci_conversion.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

TEST(KciFileName, IsInLowerCaseWithEveryExtensionReplaced) {
  EXPECT_EQ(kcd_name_of("C:\\Data\\Sales.KCI"), "c:\\data\\sales.kcd");
  EXPECT_EQ(kcd_name_of("/Old.KCI/a.kci.kcix"), "/old.kcd/a.kcd.kcdx");
  EXPECT_EQ(kcd_name_of("ÉTÉ.kci"), "été.kcd");
}

TEST(KciFileName, ANameWithoutAFolderStaysWithoutOne) {
  EXPECT_EQ(kcd_path_of("Sales.KCI"), "sales.kcd");
  EXPECT_EQ(kcd_path_of("C:\\Data\\Sales.KCI"), "c:\\data\\sales.kcd");
}

TEST(KciFileName, TheFolderIsTheOneThatExists) {
  const testing::TemporaryFolder folder;
  fs::create_directories(folder.file("Data/Sub Folder"));
  EXPECT_EQ(kcd_path_of(folder.file("Data/Sub Folder/Sales.KCI")),
            folder.file("Data/Sub Folder/sales.kcd"));
}

TEST(KciFileName, ARelativeFolderIsFoundInAnotherLetterCase) {
  const testing::TemporaryFolder folder;
  fs::create_directories(folder.file("Data/Sub Folder"));
  const auto before = fs::current_path();
  fs::current_path(folder.path());
  EXPECT_EQ(kcd_path_of("DATA/sub folder/Sales.KCI"), "Data/Sub Folder/sales.kcd");
  EXPECT_EQ(kcd_path_of("./DATA/Sales.KCI"), "./Data/sales.kcd");
  EXPECT_EQ(kcd_path_of("Absent/Sales.KCI"), "absent/sales.kcd") << "there is no such folder";
  fs::current_path(before);
}

TEST(KciFileName, OfSeveralFoldersTheTypedOneIsTaken) {
  const testing::TemporaryFolder folder;
  fs::create_directories(folder.file("DATA"));
  fs::create_directories(folder.file("Data"));
  fs::create_directories(folder.file("data"));
  EXPECT_EQ(kcd_path_of(folder.file("Data/S.kci")), folder.file("Data/s.kcd"));
}

TEST(KciFileName, AFolderWithTheExtensionIsChangedToo) {
  const testing::TemporaryFolder folder;
  fs::create_directories(folder.file("My.kci/sub"));
  EXPECT_EQ(kcd_path_of(folder.file("My.kci/sub/S.kci")), folder.file("my.kcd/sub/s.kcd"))
      << "there is no such folder";
  fs::create_directories(folder.file("MY.KCD/Sub"));
  EXPECT_EQ(kcd_path_of(folder.file("My.kci/sub/S.kci")), folder.file("MY.KCD/Sub/s.kcd"));
  fs::create_directories(folder.file("my.kcd/sub"));
  EXPECT_EQ(kcd_path_of(folder.file("My.kci/sub/S.kci")), folder.file("my.kcd/sub/s.kcd"))
      << "the exact name comes before the others";
}

}  // namespace
}  // namespace importkcd
