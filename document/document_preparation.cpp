#include "document/document_preparation.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <random>
#include <system_error>
#include <utility>

#include "base/document_files.h"
#include "base/import_error.h"
#include "document/document_copy.h"

namespace importkcd {
namespace {

PreparedDocument failure(std::string path, std::string error) {
  return {std::move(path), std::move(error), false};
}

std::string fresh_name() {
  std::random_device random;
  const auto number = (std::uint64_t{random()} << 32U) | random();
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
  return "importkcd-" + std::string(digits.data(), end) + ".tmp";
}

/// Opens a file that did not exist; `path` is its path, or the last one tried.
FileDescriptor open_fresh_file(const std::filesystem::path& folder, std::string& path) {
  constexpr int attempts = 100;
  int number = -1;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    path = (folder / fresh_name()).string();
    number = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (number >= 0 || errno != EEXIST) {
      break;
    }
  }
  return FileDescriptor(number);
}

PreparedDocument copy_to_temporary_file(FileReader& reader, const std::string& document,
                                        const std::filesystem::path& folder,
                                        const std::optional<CompanyPattern>& pattern) {
  std::string path;
  auto file = open_fresh_file(folder, path);
  if (file.number() < 0) {
    return failure("",
                   "Error in opening file for writing " + path + " " + system_description(errno));
  }
  FileWriter writer(std::move(file));
  try {
    copy_document(reader, writer, pattern);
  } catch (const ImportError& error) {
    return failure(path, "Error in reading document " + document + " " + error.description());
  }
  writer.close();
  if (writer.failed()) {
    return {path, "Error in writing to file " + path + " " + writer.error(), true};
  }
  return {path, "", true};
}

}  // namespace

PreparedDocument PrepareDocument(const std::string& document,
                                 const std::optional<CompanyPattern>& pattern) {
  std::optional<FileReader> reader;
  try {
    reader.emplace(document);
  } catch (const ImportError& error) {
    return failure("", "Error in opening document " + document + " " + error.description());
  }
  std::error_code error;
  const auto folder = std::filesystem::temp_directory_path(error);
  if (error) {
    return failure("", "Error in creating temporary file " + std::to_string(error.value()) + " : " +
                           error.message());
  }
  return copy_to_temporary_file(*reader, document, folder, pattern);
}

void DeleteTempDocument(const std::string& path) {
  struct stat status {};
  const bool found = ::lstat(path.c_str(), &status) == 0;
  if (found && (status.st_mode & S_IWUSR) == 0) {
    // The system itself would delete a read-only file.
    errno = EACCES;
  } else if (found && ::unlink(path.c_str()) == 0) {
    return;
  }
  throw ImportError(system_description(errno), error_source::kcd_document);
}

}  // namespace importkcd
