#include "cli/kci_file.h"

#include "base/name_folding.h"

namespace importkcd {

bool is_kci_file(std::string_view file) {
  constexpr std::string_view extension = ".kci";
  return file.size() >= extension.size() &&
         same_name(file.substr(file.size() - extension.size()), extension);
}

}  // namespace importkcd
