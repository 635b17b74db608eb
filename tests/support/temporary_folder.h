#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace importkcd::testing {

/// A fresh folder that goes away with this object.
class TemporaryFolder {
 public:
  /// Under the system's temporary folder, or under another.
  TemporaryFolder();
  explicit TemporaryFolder(const std::filesystem::path& parent);
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

  /// The path of a file of this folder, as text.
  std::string file(std::string_view name) const { return (path_ / name).string(); }

  /// Writes a file of this folder and gives its path.
  std::string write(std::string_view name, std::string_view bytes) const;

 private:
  std::filesystem::path path_;
};

/// The bytes of a file; the test fails when it cannot be read.
std::string read_file(const std::filesystem::path& path);

}  // namespace importkcd::testing
