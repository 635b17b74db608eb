#include "base/apostrophes.h"

namespace importkcd {
namespace {

constexpr std::string_view placeholder = "@#$%";

std::string replace_all(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  result.reserve(text.size());
  for (auto found = text.find(from); found != std::string_view::npos; found = text.find(from)) {
    result.append(text.substr(0, found)).append(to);
    text.remove_prefix(found + from.size());
  }
  result.append(text);
  return result;
}

}  // namespace

std::string DecodeApostrophes(std::string_view text) { return replace_all(text, placeholder, "'"); }

std::string DecodeApostrophesForStatement(std::string_view text) {
  return replace_all(text, placeholder, "''");
}

std::string EncodeApostrophes(std::string_view text) { return replace_all(text, "'", placeholder); }

}  // namespace importkcd
