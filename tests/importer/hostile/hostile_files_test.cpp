// Documents that are no ordinary files.

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/importer/hostile/hostile_documents.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

class HostileFiles : public ImporterTest {
 protected:
  /// Runs on a file as it is and gives the error.
  std::string error_of(const std::string& path) {
    options.kcd_document_file_name = path;
    import_file();
    EXPECT_EQ(importer->succeeded, importer->last_error.empty());
    return importer->last_error;
  }

  static std::string cannot_open(const std::string& path, const std::string& reason) {
    return "Error in opening document " + path + " " + reason;
  }

  std::string named_pipe() const {
    auto path = folder.file("pipe");
    EXPECT_EQ(mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
    return path;
  }
};

TEST_F(HostileFiles, AFolderCannotBeRead) {
  EXPECT_EQ(error_of(folder.path().string()),
            "Error in reading document " + folder.path().string() + " Is a directory");
}

TEST_F(HostileFiles, DevicesAreNotRead) {
  for (const std::string path : {"/dev/null", "/dev/zero", "/dev/full", "/dev/urandom"}) {
    EXPECT_EQ(error_of(path), cannot_open(path, "Is a device"));
    EXPECT_THAT(temporary_files(), ::testing::IsEmpty());
  }
}

TEST_F(HostileFiles, ALinkToADeviceIsADevice) {
  const auto path = folder.file("link");
  std::filesystem::create_symlink("/dev/zero", path);
  EXPECT_EQ(error_of(path), cannot_open(path, "Is a device"));
}

TEST_F(HostileFiles, ASocketCannotBeOpened) {
  const auto path = folder.file("socket");
  const int number = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof address.sun_path);
  std::copy(path.begin(), path.end(), std::begin(address.sun_path));
  ASSERT_EQ(bind(number, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(error_of(path), cannot_open(path, "No such device or address"));
  close(number);
}

TEST_F(HostileFiles, LinksThatLeadInACircleCannotBeOpened) {
  const auto path = folder.file("a");
  std::filesystem::create_symlink(folder.file("b"), path);
  std::filesystem::create_symlink(path, folder.file("b"));
  EXPECT_EQ(error_of(path), cannot_open(path, "Too many levels of symbolic links"));
}

TEST_F(HostileFiles, ALinkThatLeadsNowhereCannotBeOpened) {
  const auto path = folder.file("a");
  std::filesystem::create_symlink(folder.file("missing"), path);
  EXPECT_EQ(error_of(path), cannot_open(path, "No such file or directory"));
}

TEST_F(HostileFiles, AFileInPlaceOfAFolderCannotBePassed) {
  const auto path = folder.write("file", "") + "/document.kcd";
  EXPECT_EQ(error_of(path), cannot_open(path, "Not a directory"));
}

TEST_F(HostileFiles, APathThatIsTooLongCannotBeOpened) {
  const auto name = folder.file(std::string(300, 'x'));
  EXPECT_EQ(error_of(name), cannot_open(name, "File name too long"));
  const std::string path = "/" + repeated("x/", 4'000);
  EXPECT_EQ(error_of(path), cannot_open(path, "File name too long"));
}

TEST_F(HostileFiles, APipeThatNobodyWritesToIsAnEmptyDocument) {
  const auto error = error_of(named_pipe());
  EXPECT_EQ(error, "Cannot open kcd document file " + copy_path() +
                       " because line 1, column 1: Document is empty");
}

TEST_F(HostileFiles, APipeIsReadAsItsWriterFillsIt) {
  const auto path = named_pipe();
  const auto document = whole_document();
  // Open before the run begins.
  const int number = open(path.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(number, 0);
  // A pipe that nobody has open forgets what was written: the writer may be the faster one.
  const int kept_open = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(kept_open, 0);
  std::thread writer([&] {
    for (const char& c : document) {
      EXPECT_EQ(write(number, &c, 1), 1);
    }
    close(number);
  });
  EXPECT_EQ(error_of(path), "");
  writer.join();
  close(kept_open);
  EXPECT_EQ(processing_messages(), whole_document_messages(false));
}

TEST_F(HostileFiles, AFileWhoseSizeIsNotToldIsReadToItsEnd) {
  const auto error = error_of("/proc/self/status");
  EXPECT_EQ(error, "Cannot open kcd document file " + copy_path() +
                       " because line 1, column 1: Start tag expected, '<' not found");
}

}  // namespace
}  // namespace importkcd::testing
