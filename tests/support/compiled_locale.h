#pragma once

#include <string>

namespace importkcd::testing {

/// A locale of the whole process, made for the test from the system's definitions, whatever locales
/// are installed. The former one comes back with the end of this object. The test fails when it
/// cannot be made.
class CompiledLocale {
 public:
  /// `name`: a definition's, such as "de_DE"; its texts are UTF-8.
  explicit CompiledLocale(const std::string& name);
  ~CompiledLocale();
  CompiledLocale(const CompiledLocale&) = delete;
  CompiledLocale& operator=(const CompiledLocale&) = delete;

 private:
  std::string before_;
};

}  // namespace importkcd::testing
