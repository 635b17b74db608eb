#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace importkcd::testing {

/// Makes a folder the system's temporary folder while in scope.
class SystemFolder {
 public:
  explicit SystemFolder(const std::string& path) {
    if (const char* old = std::getenv("TMPDIR")) {
      old_ = old;
    }
    setenv("TMPDIR", path.c_str(), 1);
  }
  ~SystemFolder() {
    if (old_) {
      setenv("TMPDIR", old_->c_str(), 1);
    } else {
      unsetenv("TMPDIR");
    }
  }
  SystemFolder(const SystemFolder&) = delete;
  SystemFolder& operator=(const SystemFolder&) = delete;

 private:
  std::optional<std::string> old_;
};

}  // namespace importkcd::testing
