#include "tests/support/fault_stride.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace importkcd::testing {

int stride_of_faults(int usual) {
  const char* const wanted = std::getenv("IMPORTKCD_FAULTS_STRIDE");
  if (wanted == nullptr) {
    return usual;
  }
  const int stride = std::stoi(wanted);
  if (stride <= 0) {
    throw std::invalid_argument(wanted);
  }
  return stride;
}

}  // namespace importkcd::testing
