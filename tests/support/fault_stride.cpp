#include "tests/support/fault_stride.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace importkcd::testing {

int stride_of_faults(int usual) {
  const char* const wanted = std::getenv("IMPORTKCD_FAULTS_STRIDE");
  if (wanted == nullptr) {
    return usual;
  }
  const int stride = std::atoi(wanted);
  EXPECT_GT(stride, 0) << wanted;
  return stride > 0 ? stride : 1;
}

}  // namespace importkcd::testing
