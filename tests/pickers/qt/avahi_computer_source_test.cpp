#include "pickers/qt/avahi_computer_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTest>
#include <memory>

#include "tests/pickers/qt/fake_avahi.h"
#include "tests/pickers/qt/private_bus.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr int wait_ms = 60000;
constexpr unsigned announced_by_this_computer = 4 + 8 + 16;

class AvahiComputers : public ::testing::Test {
 protected:
  void start(const QDBusConnection& bus) {
    source_ = std::make_unique<AvahiComputerSource>(bus);
    source_->start([this](const std::string& name) { found_.push_back(name); },
                   [this] { ++finished_; });
  }

  void start_and_finish() {
    start(bus_.connect());
    EXPECT_TRUE(wait([this] { return finished_ > 0; }));
  }

  template <class Condition>
  static bool wait(Condition condition) {
    return QTest::qWaitFor(condition, wait_ms);
  }

  testing::PrivateBus bus_;
  std::unique_ptr<AvahiComputerSource> source_;
  std::vector<std::string> found_;
  int finished_ = 0;
};

TEST_F(AvahiComputers, AreFoundByTheHostNamesOfTheirServices) {
  testing::FakeAvahi avahi(bus_.connect());
  avahi.network["_workstation._tcp"] = {{"alpha [00:11:22:33:44:55]", "alpha.local"}};
  avahi.network["_smb._tcp"] = {{"Beta's files", "beta.local"}};
  start_and_finish();
  EXPECT_THAT(found_, UnorderedElementsAre("alpha.local", "beta.local"));
  EXPECT_EQ(finished_, 1);
}

TEST_F(AvahiComputers, StartingWaitsForNothing) {
  testing::FakeAvahi avahi(bus_.connect());
  avahi.network["_ssh._tcp"] = {{"alpha", "alpha.local"}};
  // The service lives in this thread, so that nothing can have been answered yet.
  start(bus_.connect());
  EXPECT_THAT(avahi.browsed_types, IsEmpty());
  EXPECT_EQ(finished_, 0);
  EXPECT_TRUE(wait([this] { return finished_ == 1; }));
}

TEST_F(AvahiComputers, TheServicesOfComputersAreBrowsed) {
  testing::FakeAvahi avahi(bus_.connect());
  start_and_finish();
  EXPECT_THAT(avahi.browsed_types, ElementsAre("_workstation._tcp", "_smb._tcp", "_ssh._tcp",
                                               "_sftp-ssh._tcp", "_rdp._tcp"));
}

TEST_F(AvahiComputers, WhatThisComputerAnnouncesIsLeftOut) {
  testing::FakeAvahi avahi(bus_.connect());
  avahi.network["_ssh._tcp"] = {{"here", "here.local", announced_by_this_computer},
                                {"there", "there.local", 4}};
  start_and_finish();
  EXPECT_THAT(found_, ElementsAre("there.local"));
}

TEST_F(AvahiComputers, AServiceThatDoesNotResolveIsPassedOver) {
  testing::FakeAvahi avahi(bus_.connect());
  avahi.network["_ssh._tcp"] = {{"gone", ""}, {"there", "there.local"}};
  start_and_finish();
  EXPECT_THAT(found_, ElementsAre("there.local"));
}

TEST_F(AvahiComputers, LateOnesAreFoundAfterTheEnd) {
  testing::FakeAvahi avahi(bus_.connect());
  start_and_finish();
  avahi.announce("_smb._tcp", {"late", "late.local"});
  EXPECT_TRUE(wait([this] { return !found_.empty(); }));
  EXPECT_THAT(found_, ElementsAre("late.local"));
  EXPECT_EQ(finished_, 1);
}

TEST_F(AvahiComputers, FailingBrowsersEndTheSearch) {
  testing::FakeAvahi avahi(bus_.connect());
  avahi.browsers_fail = true;
  start_and_finish();
  EXPECT_THAT(found_, IsEmpty());
}

TEST_F(AvahiComputers, RefusedBrowsersEndTheSearch) {
  testing::FakeAvahi avahi(bus_.connect());
  avahi.refuses_browsers = true;
  start_and_finish();
  EXPECT_THAT(found_, IsEmpty());
}

TEST_F(AvahiComputers, ABusWithoutAvahiFindsNothing) {
  start_and_finish();
  EXPECT_THAT(found_, IsEmpty());
}

TEST_F(AvahiComputers, WithoutABusNothingIsFoundAtOnce) {
  start(QDBusConnection(QStringLiteral("no such connection")));
  EXPECT_EQ(finished_, 1);
  EXPECT_THAT(found_, IsEmpty());
}

TEST_F(AvahiComputers, TheBrowsersEndWithTheSource) {
  testing::FakeAvahi avahi(bus_.connect());
  start_and_finish();
  source_.reset();
  EXPECT_TRUE(wait([&] { return avahi.freed_browsers.size() == avahi.browsed_types.size(); }));
}

TEST_F(AvahiComputers, ASourceThatEndsAtOnceIsToldNothingAndLeavesNoBrowser) {
  testing::FakeAvahi avahi(bus_.connect());
  avahi.network["_ssh._tcp"] = {{"alpha", "alpha.local"}};
  start(bus_.connect());
  source_.reset();
  EXPECT_TRUE(wait([&] {
    return !avahi.freed_browsers.empty() &&
           avahi.freed_browsers.size() == avahi.browsed_types.size();
  }));
  EXPECT_THAT(found_, IsEmpty());
  EXPECT_EQ(finished_, 0);
}

}  // namespace
}  // namespace importkcd
