// Any bytes as a label: escaping leaves nothing that means something in XML, and can be undone.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "base/import_error.h"
#include "fuzz/fuzz_support.h"
#include "labels/loaded_labels.h"

namespace {

using importkcd::fuzz::require;

constexpr std::array<std::pair<std::string_view, char>, 5> references{
    {{"&#34;", '"'}, {"&#39;", '\''}, {"&#38;", '&'}, {"&#60;", '<'}, {"&#62;", '>'}}};

std::string unescaped(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    std::size_t taken = 1;
    char character = text.front();
    require(character != '"' && character != '\'' && character != '<' && character != '>');
    if (character == '&') {
      taken = 0;
      for (const auto& [reference, meaning] : references) {
        if (text.substr(0, reference.size()) == reference) {
          taken = reference.size();
          character = meaning;
        }
      }
      require(taken > 0);
    }
    result.push_back(character);
    text.remove_prefix(taken);
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  try {
    require(unescaped(importkcd::XmlEscapeText(text)) == text);
  } catch (const importkcd::ImportError&) {
    constexpr std::size_t most_characters = 32767;
    require(size > most_characters);
  }
  return 0;
}
