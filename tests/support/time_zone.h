#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace importkcd::testing {

/// A zone that is this many hours east of Greenwich and knows no summer time, while it lives.
class TimeZone {
 public:
  explicit TimeZone(int hours_east) {
    if (const char* const former = std::getenv("TZ")) {
      former_ = former;
    }
    set("<fixed>" + std::to_string(-hours_east));
  }
  ~TimeZone() { set(former_); }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;

 private:
  static void set(const std::optional<std::string>& zone) {
    if (zone) {
      setenv("TZ", zone->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

  std::optional<std::string> former_;
};

}  // namespace importkcd::testing
