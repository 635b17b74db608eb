#pragma once

#include <ctime>
#include <string>
#include <string_view>

namespace importkcd {

/// The regional short date, a blank and the regional long time without a zone, as the process's
/// LC_TIME has them; "yyyy-MM-dd HH:mm:ss" in the C locale. The program must have called
/// setlocale(LC_ALL, "") (a Qt application has).
std::string format_time_stamp(const std::tm& local_time);

/// The time stamp of this moment in the local time zone.
std::string current_time_stamp();

/// The strftime format of time stamps in a locale of that name with these date and time formats.
/// Time zone conversions are taken out of the time.
std::string time_stamp_format(std::string_view locale, std::string_view date_format,
                              std::string_view time_format);

}  // namespace importkcd
