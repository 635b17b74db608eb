#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

namespace importkcd::testing {

TemporaryFolder::TemporaryFolder() : TemporaryFolder(std::filesystem::temp_directory_path()) {}

TemporaryFolder::TemporaryFolder(const std::filesystem::path& parent) {
  std::string name = (parent / "importkcd-test-XXXXXX").string();
  EXPECT_NE(mkdtemp(name.data()), nullptr);
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(std::string_view name, std::string_view bytes) const {
  const auto target = path_ / name;
  std::ofstream stream(target, std::ios::binary);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(stream.good()) << target;
  return target.string();
}

std::string read_file(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  EXPECT_TRUE(stream.good()) << path;
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace importkcd::testing
