#include "labels/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "engine/document_files.h"
#include "engine/olap_model/import_error.h"
#include "labels/labels_connection.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

constexpr mode_t everyone_may_read_and_write = 0666;  // less what the umask takes away

[[noreturn]] void fail(const std::string& action, const std::string& path,
                       const std::string& reason) {
  throw ImportError("Cannot " + action + " '" + path + "': " + reason,
                    error_source::labels_database);
}

/// A fresh file in a folder; removed with this object unless it has got its name.
class FileBeside {
 public:
  FileBeside(const fs::path& folder, const std::string& for_path) : for_path_(for_path) {
    int number = -1;
    for (int attempt = 0; number < 0; ++attempt) {
      name_ = folder / (".importkcd-" + std::to_string(getpid()) + "-" + std::to_string(attempt));
      number = ::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                      everyone_may_read_and_write);
      if (number < 0 && errno != EEXIST) {
        fail("write", for_path_, system_description(errno));
      }
    }
    number_ = number;
  }
  ~FileBeside() {
    if (!name_.empty()) {
      ::unlink(name_.c_str());
    }
  }
  FileBeside(const FileBeside&) = delete;
  FileBeside& operator=(const FileBeside&) = delete;

  void write(std::string_view bytes) {
    FileWriter writer{FileDescriptor(std::exchange(number_, -1))};
    writer.append(bytes);
    writer.close();
    if (writer.failed()) {
      fail("write", for_path_, writer.error());
    }
  }

  void rename_to(const fs::path& path) {
    struct stat former {};
    if (::stat(path.c_str(), &former) == 0) {
      ::chmod(name_.c_str(), former.st_mode & 07777U);
    }
    if (::rename(name_.c_str(), path.c_str()) != 0) {
      fail("write", for_path_, system_description(errno));
    }
    name_.clear();
  }

 private:
  const std::string& for_path_;
  fs::path name_;
  int number_ = -1;
};

/// Where the bytes belong: the file behind a symbolic link, else the path itself.
fs::path target_of(const std::string& path) {
  std::error_code error;
  if (fs::is_symlink(path, error)) {
    const auto target = fs::weakly_canonical(path, error);
    return error ? fs::path(path) : target;
  }
  return path;
}

}  // namespace

std::string read_whole_file(const std::string& path) {
  try {
    std::string text;
    std::error_code ignored;
    const auto size = fs::file_size(path, ignored);
    text.reserve(ignored ? 0 : size);
    FileReader reader(path);
    for (auto window = reader.window(1); !window.empty(); window = reader.window(1)) {
      text.append(window);
      reader.skip(window.size());
    }
    return text;
  } catch (const ImportError& error) {
    fail("read", path, error.description());
  }
}

void write_whole_file(const std::string& path, std::string_view bytes) {
  const auto target = target_of(path);
  const auto folder = target.parent_path();
  FileBeside beside(folder.empty() ? fs::path(".") : folder, path);
  beside.write(bytes);
  beside.rename_to(target);
}

}  // namespace importkcd
