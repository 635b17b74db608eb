#include "base/apostrophes.h"

#include "base/text.h"

namespace importkcd {
namespace {

constexpr std::string_view placeholder = "@#$%";

}  // namespace

std::string DecodeApostrophes(std::string_view text) { return replaced(text, placeholder, "'"); }

std::string DecodeApostrophesForStatement(std::string_view text) {
  return replaced(text, placeholder, "''");
}

std::string EncodeApostrophes(std::string_view text) { return replaced(text, "'", placeholder); }

}  // namespace importkcd
