#include "tests/support/power_cut.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>

#include "tests/support/temporary_folder.h"

namespace importkcd::testing {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t sector_size = 512;

/// Puts the sectors of a write that came through into the content.
template <class CameThrough>
void write_sectors(std::string& content, const FileOperation& write,
                   const CameThrough& came_through) {
  const auto begin = static_cast<std::size_t>(write.offset);
  const auto end = begin + write.bytes.size();
  for (auto at = begin; at < end;) {
    const auto next = std::min(end, (at / sector_size + 1) * sector_size);
    if (came_through()) {
      content.resize(std::max(content.size(), next), '\0');
      content.replace(at, next - at, write.bytes, at - begin, next - at);
    }
    at = next;
  }
}

}  // namespace

PowerCutDisk::PowerCutDisk(const std::string& folder) {
  for (const auto& entry : fs::directory_iterator(folder)) {
    const auto name = entry.path().filename().string();
    // The index of a log is not used after a power cut, nor are locks.
    if (!name.ends_with("-shm") && !name.ends_with("-lock")) {
      durable_[name] = static_cast<int>(files_.size());
      files_.push_back({read_file(entry.path()), {}});
    }
  }
  seen_ = durable_;
}

void PowerCutDisk::apply(const FileOperation& operation) {
  const auto name = fs::path(operation.file).filename().string();
  switch (operation.action) {
    case FileAction::create:
      seen_[name] = static_cast<int>(files_.size());
      files_.emplace_back();
      break;
    case FileAction::write:
    case FileAction::truncate:
      files_.at(static_cast<std::size_t>(seen_.at(name))).uncertain.push_back(operation);
      break;
    case FileAction::sync: {
      auto& file = files_.at(static_cast<std::size_t>(seen_.at(name)));
      std::mt19937 unused;
      file.on_disk = content_after(file, 1, unused);
      file.uncertain.clear();
      if (durable_.count(name) == 0 || durable_.at(name) != seen_.at(name)) {
        durable_ = seen_;
      }
      break;
    }
    case FileAction::remove:
      seen_.erase(name);
      if (operation.durable) {
        durable_ = seen_;
      }
      break;
    case FileAction::extend_index:
      break;
  }
}

void PowerCutDisk::write_to(const std::string& folder, double probability,
                            std::mt19937& random) const {
  auto names = durable_;
  names.insert(seen_.begin(), seen_.end());
  std::bernoulli_distribution happens(probability);
  fs::remove_all(folder);
  fs::create_directory(folder);
  for (const auto& [name, ignored] : names) {
    const bool is_certain =
        durable_.count(name) == seen_.count(name) && durable_.at(name) == seen_.at(name);
    const auto& found = is_certain || happens(random) ? seen_ : durable_;
    const auto file = found.find(name);
    if (file != found.end()) {
      std::ofstream(fs::path(folder) / name, std::ios::binary)
          << content_after(files_.at(static_cast<std::size_t>(file->second)), probability, random);
    }
  }
}

std::string PowerCutDisk::content_after(const File& file, double probability,
                                        std::mt19937& random) {
  std::bernoulli_distribution happens(probability);
  std::bernoulli_distribution is_torn(0.25);
  std::string content = file.on_disk;
  for (const auto& operation : file.uncertain) {
    if (operation.action == FileAction::truncate) {
      if (happens(random)) {
        content.resize(static_cast<std::size_t>(operation.offset), '\0');
      }
    } else if (probability < 1 && is_torn(random)) {
      write_sectors(content, operation, [&] { return happens(random); });
    } else if (happens(random)) {
      write_sectors(content, operation, [] { return true; });
    }
  }
  return content;
}

}  // namespace importkcd::testing
