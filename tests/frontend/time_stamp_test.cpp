#include "frontend/time_stamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <ctime>
#include <string>

#include "tests/support/time_zone.h"

namespace importkcd {
namespace {

/// Sets the date and time locale while it lives.
class TimeLocale {
 public:
  explicit TimeLocale(const char* name)
      : before_(std::setlocale(LC_TIME, nullptr)),
        installed_(std::setlocale(LC_TIME, name) != nullptr) {}
  ~TimeLocale() { std::setlocale(LC_TIME, before_.c_str()); }
  TimeLocale(const TimeLocale&) = delete;
  TimeLocale& operator=(const TimeLocale&) = delete;

  bool installed() const { return installed_; }

 private:
  std::string before_;
  bool installed_;
};

std::tm afternoon() {
  std::tm time{};
  time.tm_year = 126;
  time.tm_mon = 10;
  time.tm_mday = 5;
  time.tm_hour = 15;
  time.tm_min = 4;
  time.tm_sec = 9;
  return time;
}

TEST(TimeStamp, IsSortableInTheCLocale) {
  for (const char* const name : {"C", "POSIX", "C.UTF-8"}) {
    const TimeLocale locale(name);
    EXPECT_EQ(format_time_stamp(afternoon()), "2026-11-05 15:04:09") << name;
  }
}

TEST(TimeStamp, FollowsTheInstalledRegions) {
  struct Region {
    const char* name;
    const char* expected;
  };
  constexpr std::array<Region, 3> regions{{{"de_DE.UTF-8", "05.11.2026 15:04:09"},
                                           {"en_GB.UTF-8", "05/11/26 15:04:09"},
                                           {"en_US.UTF-8", "11/05/2026 03:04:09 PM"}}};
  for (const auto& [name, expected] : regions) {
    const TimeLocale locale(name);
    if (locale.installed()) {
      EXPECT_EQ(format_time_stamp(afternoon()), expected) << name;
    }
  }
}

TEST(TimeStamp, IsTheShortDateAndTheLongTimeOfARegion) {
  EXPECT_EQ(time_stamp_format("de_DE.UTF-8", "%d.%m.%Y", "%T"), "%d.%m.%Y %T");
  EXPECT_EQ(time_stamp_format("en_US.UTF-8", "%m/%d/%Y", "%r"), "%m/%d/%Y %r");
  EXPECT_EQ(time_stamp_format("C.utf8", "%m/%d/%y", "%H:%M:%S"), "%Y-%m-%d %H:%M:%S");
  EXPECT_EQ(time_stamp_format("", "%m/%d/%y", "%H:%M:%S"), "%Y-%m-%d %H:%M:%S");
  EXPECT_EQ(time_stamp_format("Chuvash", "%d", "%T"), "%d %T");
}

TEST(TimeStamp, LeavesTheZoneOut) {
  EXPECT_EQ(time_stamp_format("hi_IN", "%x", "%I:%M:%S %p %Z"), "%x %I:%M:%S %p");
  EXPECT_EQ(time_stamp_format("ks_IN", "%x", "%Z %I:%M:%S %p"), "%x %I:%M:%S %p");
  EXPECT_EQ(time_stamp_format("da_DK", "%x", "kl. %H.%M %z"), "%x kl. %H.%M");
  EXPECT_EQ(time_stamp_format("xx_XX", "%x", "%OH:%_M %EZ"), "%x %OH:%_M");
  EXPECT_EQ(time_stamp_format("xx_XX", "%x", "%H%%Z%"), "%x %H%%Z%");
}

TEST(TimeStamp, OfThisMomentIsTheTimeOfTheZone) {
  const TimeLocale locale("C");
  constexpr std::time_t seconds_an_hour = 3600;
  for (const int hours_east : {-11, 0, 13}) {
    const testing::TimeZone zone(hours_east);
    const auto stamp_there = [&] {
      const std::time_t there = std::time(nullptr) + hours_east * seconds_an_hour;
      std::tm time{};
      gmtime_r(&there, &time);
      return format_time_stamp(time);
    };
    const auto earliest = stamp_there();
    const auto stamp = current_time_stamp();
    EXPECT_LE(earliest, stamp) << hours_east;
    EXPECT_LE(stamp, stamp_there()) << hours_east;
  }
}

TEST(TimeStamp, OfThisMomentLooksLikeOne) {
  const TimeLocale locale("C");
  EXPECT_THAT(current_time_stamp(),
              ::testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}"));
}

}  // namespace
}  // namespace importkcd
