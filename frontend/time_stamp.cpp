#include "frontend/time_stamp.h"

#include <langinfo.h>

#include <algorithm>
#include <array>
#include <clocale>

#include "frontend/text_characters.h"

namespace importkcd {
namespace {

bool is_c_locale(std::string_view name) {
  return name.empty() || name == "C" || name == "POSIX" || name.starts_with("C.");
}

/// The format less its time zone conversions, and less the blanks that they leave at its ends.
std::string without_time_zone(std::string_view format) {
  std::string kept;
  for (std::size_t place = 0; place < format.size(); ++place) {
    if (format[place] != '%' || place + 1 == format.size()) {
      kept += format[place];
      continue;
    }
    // A conversion is the percent sign, flags and modifiers, and its letter.
    const std::size_t letter =
        std::min(format.find_first_not_of("_-^#0123456789EO", place + 1), format.size() - 1);
    if (format[letter] != 'Z' && format[letter] != 'z') {
      kept.append(format.substr(place, letter - place + 1));
    }
    place = letter;
  }
  return std::string(trim_blanks(kept));
}

/// strftime gives 0 for an empty text as for a failure; a mark at the end tells them apart.
std::string formatted(const std::string& format, const std::tm& time) {
  const std::string marked = format + "|";
  std::array<char, 512> text{};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const std::size_t length = std::strftime(text.data(), text.size(), marked.c_str(), &time);
#pragma GCC diagnostic pop
  return length == 0 ? std::string() : std::string(text.data(), length - 1);
}

}  // namespace

std::string format_time_stamp(const std::tm& local_time) {
  const char* const locale = std::setlocale(LC_TIME, nullptr);
  return formatted(
      time_stamp_format(locale == nullptr ? "C" : locale, nl_langinfo(D_FMT), nl_langinfo(T_FMT)),
      local_time);
}

std::string current_time_stamp() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return format_time_stamp(local);
}

std::string time_stamp_format(std::string_view locale, std::string_view date_format,
                              std::string_view time_format) {
  if (is_c_locale(locale)) {
    return "%Y-%m-%d %H:%M:%S";
  }
  return std::string(date_format) + " " + without_time_zone(time_format);
}

}  // namespace importkcd
