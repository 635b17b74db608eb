#include "cli/standard_input_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <istream>
#include <system_error>
#include <utility>

#include "base/import_error.h"
#include "base/text.h"

namespace importkcd {
namespace {

[[noreturn]] void fail_to_keep(const std::string& reason) {
  throw ImportError("Cannot keep what comes from standard input: " + reason, "kcd",
                    FailureCause::server);
}

}  // namespace

StandardInputFile::StandardInputFile(std::istream& in) {
  const auto folder = std::filesystem::temp_directory_path();
  auto [path, file] = make_fresh_file(
      [&](int attempt) {
        return (folder /
                ("importkcd-stdin-" + std::to_string(::getpid()) + "-" + std::to_string(attempt)))
            .string();
      },
      S_IRUSR | S_IWUSR);
  path_ = path;
  if (!file.is_open()) {
    fail_to_keep(path + ": " + system_description(errno));
  }
  guard_ = RemovedBySignals(path);
  try {
    copy(in, FileWriter(std::move(file)));
  } catch (const ImportError&) {
    ::unlink(path_.c_str());
    throw;
  }
}

StandardInputFile::~StandardInputFile() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

void StandardInputFile::copy(std::istream& in, FileWriter writer) const {
  std::array<char, 65536> buffer{};
  errno = 0;
  do {
    in.read(buffer.data(), buffer.size());
    writer.append({buffer.data(), static_cast<std::size_t>(in.gcount())});
  } while (in);
  if (in.bad()) {
    fail_to_keep(system_description(errno));
  }
  writer.close();
  if (writer.failed()) {
    fail_to_keep(path_ + ": " + writer.error());
  }
}

}  // namespace importkcd
