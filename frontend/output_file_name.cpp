#include "frontend/output_file_name.h"

#include <array>
#include <cstdio>
#include <ctime>

#include "base/name_folding.h"
#include "frontend/text_characters.h"

namespace importkcd {

std::optional<std::string> DeriveOutputFileName(std::string_view document_name,
                                                std::chrono::year_month_day date) {
  if (character_count(document_name) < 5) {
    return std::nullopt;
  }
  std::array<char, 32> day{};
  static_cast<void>(
      std::snprintf(day.data(), day.size(), "%04d%02u%02u", static_cast<int>(date.year()),
                    static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day())));
  return std::string(without_last_characters(document_name, 4)) + "_Out_" + day.data() + ".txt";
}

std::chrono::year_month_day local_date() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return {std::chrono::year(local.tm_year + 1900),
          std::chrono::month(static_cast<unsigned>(local.tm_mon) + 1),
          std::chrono::day(static_cast<unsigned>(local.tm_mday))};
}

SingleCompanyRule single_company_rule(std::string_view document_name) {
  const bool has_folder =
      without_last_characters(document_name, 2).find_first_of("/\\") != std::string_view::npos;
  if (!has_folder || character_count(document_name) <= 5) {
    return SingleCompanyRule::leave;
  }
  const auto mark = without_last_characters(last_characters(document_name, 6), 4);
  return lower_cased(mark) == "sc" ? SingleCompanyRule::check : SingleCompanyRule::uncheck;
}

bool is_kci_name(std::string_view document_name) {
  return lower_cased(last_characters(document_name, 3)) == "kci";
}

bool IsNameChar(char32_t character) {
  return (character >= U'A' && character <= U'Z') || (character >= U'a' && character <= U'z') ||
         (character >= U'0' && character <= U'9') || character == U'_';
}

bool database_box_takes_key(char32_t character) {
  constexpr char32_t backspace = 8;
  return character == backspace || character == U' ' || IsNameChar(character);
}

}  // namespace importkcd
