#include "tests/support/faulty_vfs.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <optional>
#include <utility>

namespace importkcd::testing {
namespace {

const char* text_of(FileAction action) {
  switch (action) {
    case FileAction::create:
      return "create";
    case FileAction::write:
      return "write";
    case FileAction::truncate:
      return "truncate";
    case FileAction::sync:
      return "sync";
    case FileAction::remove:
      return "remove";
    case FileAction::extend_index:
      return "extend_index";
  }
  return "";
}

/// What SQLite's own file system answers when such an operation fails.
int error_code(FileAction action) {
  switch (action) {
    case FileAction::create:
      return SQLITE_CANTOPEN;
    case FileAction::write:
      return SQLITE_IOERR_WRITE;
    case FileAction::truncate:
      return SQLITE_IOERR_TRUNCATE;
    case FileAction::sync:
      return SQLITE_IOERR_FSYNC;
    case FileAction::remove:
      return SQLITE_IOERR_DELETE;
    case FileAction::extend_index:
      return SQLITE_IOERR_SHMSIZE;
  }
  return SQLITE_IOERR;
}

bool takes_room(FileAction action) {
  return action == FileAction::create || action == FileAction::write ||
         action == FileAction::extend_index;
}

[[noreturn]] void kill_this_process() {
  ::kill(getpid(), SIGKILL);
  _exit(127);
}

}  // namespace

std::string text_of(const FileOperation& operation) {
  return std::string(text_of(operation.action)) + " " +
         operation.file.substr(operation.file.rfind('/') + 1);
}

class FaultyVfs::State {
 public:
  /// Does `operation`, by `whole` or, when it is to be left half done, by `half`; counts it.
  template <class Whole, class Half>
  int perform(const FileOperation& operation, const Whole& whole, const Half& half) {
    ++count;
    if (recording) {
      recorded.push_back(operation);
    }
    const auto now = due(operation.action);
    if (now == FileFault::none) {
      return whole();
    }
    failed = failed == 0 ? count : failed;
    if (now == FileFault::half_done || now == FileFault::kill_within) {
      half();
    }
    if (now == FileFault::kill || now == FileFault::kill_within) {
      kill_this_process();
    }
    return now == FileFault::full && operation.action == FileAction::write
               ? SQLITE_FULL
               : error_code(operation.action);
  }

  int number = 0;
  FileFault fault = FileFault::none;
  int count = 0;
  int failed = 0;
  bool recording = false;
  std::vector<FileOperation> recorded;
  sqlite3_vfs* base = nullptr;
  sqlite3_vfs shim{};

 private:
  FileFault due(FileAction action) const {
    if (fault == FileFault::full) {
      return count >= number && takes_room(action) ? fault : FileFault::none;
    }
    const bool goes_wrong = fault == FileFault::lasting_error ? count >= number : count == number;
    return goes_wrong ? fault : FileFault::none;
  }
};

namespace {

using State = FaultyVfs::State;

/// An open file. SQLite allocates it, with room for the real file behind it.
struct ShimFile {
  sqlite3_file base;
  State* state;
  const char* path;
};

ShimFile& shim_of(sqlite3_file* file) { return *reinterpret_cast<ShimFile*>(file); }

sqlite3_file* real_of(sqlite3_file* file) {
  return reinterpret_cast<sqlite3_file*>(reinterpret_cast<ShimFile*>(file) + 1);
}

FileOperation operation_on(sqlite3_file* file, FileAction action, std::int64_t offset = 0,
                           std::string bytes = {}) {
  const char* path = shim_of(file).path;
  return {action, path == nullptr ? "temporary" : path, offset, std::move(bytes)};
}

int shim_close(sqlite3_file* file) { return real_of(file)->pMethods->xClose(real_of(file)); }

int shim_read(sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset) {
  return real_of(file)->pMethods->xRead(real_of(file), bytes, count, offset);
}

int shim_write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
  const auto write = [&](int how_many) {
    return real_of(file)->pMethods->xWrite(real_of(file), bytes, how_many, offset);
  };
  auto& state = *shim_of(file).state;
  std::string copy;
  if (state.recording) {
    copy.assign(static_cast<const char*>(bytes), static_cast<std::size_t>(count));
  }
  return state.perform(
      operation_on(file, FileAction::write, offset, std::move(copy)), [&] { return write(count); },
      [&] { write(count / 2); });
}

int shim_truncate(sqlite3_file* file, sqlite3_int64 size) {
  const auto truncate = [&] { return real_of(file)->pMethods->xTruncate(real_of(file), size); };
  return shim_of(file).state->perform(operation_on(file, FileAction::truncate, size), truncate,
                                      truncate);
}

int shim_sync(sqlite3_file* file, int /*flags*/) {
  const auto nothing = [] { return SQLITE_OK; };
  return shim_of(file).state->perform(operation_on(file, FileAction::sync), nothing, nothing);
}

int shim_file_size(sqlite3_file* file, sqlite3_int64* size) {
  return real_of(file)->pMethods->xFileSize(real_of(file), size);
}

int shim_lock(sqlite3_file* file, int lock) {
  return real_of(file)->pMethods->xLock(real_of(file), lock);
}

int shim_unlock(sqlite3_file* file, int lock) {
  return real_of(file)->pMethods->xUnlock(real_of(file), lock);
}

int shim_check_reserved_lock(sqlite3_file* file, int* result) {
  return real_of(file)->pMethods->xCheckReservedLock(real_of(file), result);
}

int shim_file_control(sqlite3_file* file, int operation, void* argument) {
  return real_of(file)->pMethods->xFileControl(real_of(file), operation, argument);
}

int shim_sector_size(sqlite3_file* file) {
  return real_of(file)->pMethods->xSectorSize(real_of(file));
}

int shim_device_characteristics(sqlite3_file* file) {
  return real_of(file)->pMethods->xDeviceCharacteristics(real_of(file));
}

int shim_shm_map(sqlite3_file* file, int region, int size, int extend, void volatile** memory) {
  const auto map = [&] {
    return real_of(file)->pMethods->xShmMap(real_of(file), region, size, extend, memory);
  };
  if (extend == 0) {
    return map();
  }
  return shim_of(file).state->perform(operation_on(file, FileAction::extend_index), map, map);
}

int shim_shm_lock(sqlite3_file* file, int offset, int count, int flags) {
  return real_of(file)->pMethods->xShmLock(real_of(file), offset, count, flags);
}

void shim_shm_barrier(sqlite3_file* file) { real_of(file)->pMethods->xShmBarrier(real_of(file)); }

int shim_shm_unmap(sqlite3_file* file, int remove) {
  return real_of(file)->pMethods->xShmUnmap(real_of(file), remove);
}

/// Version 2: without memory-mapped pages, which nobody here uses.
const sqlite3_io_methods io_methods = {2,
                                       shim_close,
                                       shim_read,
                                       shim_write,
                                       shim_truncate,
                                       shim_sync,
                                       shim_file_size,
                                       shim_lock,
                                       shim_unlock,
                                       shim_check_reserved_lock,
                                       shim_file_control,
                                       shim_sector_size,
                                       shim_device_characteristics,
                                       shim_shm_map,
                                       shim_shm_lock,
                                       shim_shm_barrier,
                                       shim_shm_unmap,
                                       nullptr,
                                       nullptr};

State& state_of(sqlite3_vfs* vfs) { return *static_cast<State*>(vfs->pAppData); }

bool makes_file(State& state, const char* path, int flags) {
  return (flags & SQLITE_OPEN_CREATE) != 0 && (path == nullptr || access(path, F_OK) != 0) &&
         state.base != nullptr;
}

int shim_open(sqlite3_vfs* vfs, const char* path, sqlite3_file* file, int flags, int* flags_out) {
  auto& state = state_of(vfs);
  file->pMethods = nullptr;
  shim_of(file).state = &state;
  shim_of(file).path = path;
  auto* real = real_of(file);
  real->pMethods = nullptr;
  const auto open = [&] { return state.base->xOpen(state.base, path, real, flags, flags_out); };
  const auto open_and_close = [&] {
    if (open() == SQLITE_OK) {
      real->pMethods->xClose(real);
    }
  };
  const int result =
      makes_file(state, path, flags)
          ? state.perform(operation_on(file, FileAction::create), open, open_and_close)
          : open();
  if (result == SQLITE_OK) {
    file->pMethods = &io_methods;
  }
  return result;
}

int shim_delete(sqlite3_vfs* vfs, const char* path, int durably) {
  auto& state = state_of(vfs);
  // Without synchronising the folder, like everything here.
  const auto remove = [&] { return state.base->xDelete(state.base, path, 0); };
  return state.perform({FileAction::remove, path, 0, {}, durably != 0}, remove, remove);
}

}  // namespace

FaultyVfs::FaultyVfs() : state_(std::make_unique<State>()) {
  auto* base = sqlite3_vfs_find(nullptr);
  state_->base = base;
  auto& shim = state_->shim;
  shim = *base;
  shim.szOsFile = static_cast<int>(sizeof(ShimFile)) + base->szOsFile;
  shim.pNext = nullptr;
  shim.zName = "faulty";
  shim.pAppData = state_.get();
  shim.xOpen = shim_open;
  shim.xDelete = shim_delete;
  EXPECT_EQ(sqlite3_vfs_register(&shim, 1), SQLITE_OK);
}

FaultyVfs::~FaultyVfs() {
  sqlite3_vfs_unregister(&state_->shim);
  sqlite3_vfs_register(state_->base, 1);
}

void FaultyVfs::fail_operation(int number, FileFault fault) {
  state_->number = number;
  state_->fault = fault;
  state_->count = 0;
  state_->failed = 0;
}

int FaultyVfs::count() const { return state_->count; }

int FaultyVfs::failed() const { return state_->failed; }

void FaultyVfs::record() {
  state_->recorded.clear();
  state_->recording = true;
}

const std::vector<FileOperation>& FaultyVfs::recorded() const { return state_->recorded; }

}  // namespace importkcd::testing
