#include "tests/support/compiled_locale.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

#include "tests/support/process.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

CompiledLocale::CompiledLocale(const std::string& name) : before_(std::setlocale(LC_ALL, nullptr)) {
  const TemporaryFolder folder;
  const auto made = name + ".UTF-8";
  const auto result = run_process(
      {"/usr/bin/localedef", {"--no-archive", "-i", name, "-f", "UTF-8", folder.file(made)}});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  setenv("LOCPATH", folder.path().c_str(), 1);
  EXPECT_NE(std::setlocale(LC_ALL, made.c_str()), nullptr) << made;
  unsetenv("LOCPATH");
}

CompiledLocale::~CompiledLocale() { std::setlocale(LC_ALL, before_.c_str()); }

}  // namespace importkcd::testing
