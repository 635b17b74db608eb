#include "base/shared_library.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "base/import_error.h"

namespace importkcd {
namespace {

TEST(SharedLibrary, ItsFunctionsAreCalledLikeDeclaredOnes) {
  const SharedLibrary library("libc.so.6", "C", "test");
  const LibraryFunction<decltype(&::getpid)> get_process_id(library, "getpid");
  EXPECT_EQ(get_process_id(), ::getpid());
}

TEST(SharedLibrary, AMissingLibraryIsAnErrorThatNamesIt) {
  try {
    const SharedLibrary library("libimportkcd-none.so.1", "HTTP", "XMLA server");
    FAIL() << "it was found";
  } catch (const ImportError& error) {
    EXPECT_EQ(error.description(),
              "the HTTP library cannot be used: libimportkcd-none.so.1: cannot open shared object "
              "file: No such file or directory");
    EXPECT_EQ(error.source(), "XMLA server");
  }
}

TEST(SharedLibrary, AMissingFunctionIsAnErrorThatNamesIt) {
  const SharedLibrary library("libc.so.6", "C", "test");
  try {
    const LibraryFunction<decltype(&::getpid)> none(library, "importkcd_none");
    FAIL() << "it was found";
  } catch (const ImportError& error) {
    EXPECT_EQ(error.description(), "the C library cannot be used: it lacks importkcd_none");
    EXPECT_EQ(error.source(), "test");
  }
}

}  // namespace
}  // namespace importkcd
