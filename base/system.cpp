#include "base/system.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace importkcd {

std::vector<char*> pointers_to(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (auto& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> environment_with(
    const std::vector<std::pair<std::string, std::string>>& variables) {
  std::vector<std::string> entries;
  entries.reserve(variables.size());
  for (const auto& [name, value] : variables) {
    entries.push_back(std::string(name).append("=").append(value));
  }
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view text(*entry);
    const auto name = text.substr(0, text.find('='));
    const bool is_set =
        std::any_of(variables.begin(), variables.end(),
                    [name](const auto& variable) { return variable.first == name; });
    if (!is_set) {
      entries.emplace_back(text);
    }
  }
  return entries;
}

std::string this_computer_name() {
  // Linux limits names to 64 characters.
  std::array<char, 256> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "localhost";
}

}  // namespace importkcd
