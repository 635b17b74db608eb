#include "pickers/qt/limit_resizing.h"

#include <gtest/gtest.h>

#include <QTest>
#include <memory>

namespace importkcd {
namespace {

constexpr QSize designed{600, 400};
constexpr QSize screen{1000, 800};

/// A window on the screen.
class ShownWindow : public QWidget {
 public:
  ShownWindow() {
    resize(700, 500);
    show_and_wait();
  }

  void show_and_wait() {
    show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(this));
  }

  QSize outer() const { return frameGeometry().size(); }
};

TEST(LimitResizing, TheOuterSizeDoesNotGoBelowTheMinimum) {
  ShownWindow window;
  ASSERT_NE(window.outer(), window.size()) << "the platform must have frames";
  LimitResizing limits;
  limits.hook(window, designed, screen);
  window.resize(10, 10);
  EXPECT_EQ(window.outer(), designed);
}

TEST(LimitResizing, TheOuterSizeDoesNotGoAboveTheMaximum) {
  ShownWindow window;
  LimitResizing limits;
  limits.hook(window, designed, screen);
  window.resize(5000, 5000);
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.outer() == screen; }));
}

TEST(LimitResizing, TheDesktopIsToldTheMaximumWithoutTheFrameTakenOff) {
  ShownWindow window;
  LimitResizing limits;
  limits.hook(window, designed, screen);
  EXPECT_EQ(window.maximumSize(), screen);
}

TEST(LimitResizing, AMaximisedWindowIsLeftAloneUntilItIsRestored) {
  ShownWindow window;
  window.showMaximized();
  ASSERT_TRUE(QTest::qWaitFor([&] { return window.isMaximized() && window.width() > 720; }));
  const QSize maximised = window.size();
  LimitResizing limits;
  limits.hook(window, {300, 200}, {720, 520});
  QTest::qWait(300);
  EXPECT_EQ(window.size(), maximised);
  EXPECT_EQ(window.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
  window.showNormal();
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.maximumSize() == QSize(720, 520); }));
}

TEST(LimitResizing, SizesBetweenTheLimitsAreLeftAlone) {
  ShownWindow window;
  LimitResizing limits;
  limits.hook(window, designed, screen);
  window.resize(650, 450);
  EXPECT_EQ(window.size(), QSize(650, 450));
}

TEST(LimitResizing, OtherWindowsAreLeftAlone) {
  ShownWindow window;
  ShownWindow other;
  LimitResizing limits;
  limits.hook(window, designed, screen);
  other.resize(50, 40);
  EXPECT_EQ(other.size(), QSize(50, 40));
  EXPECT_TRUE(limits.is_hooked(window));
  EXPECT_FALSE(limits.is_hooked(other));
}

TEST(LimitResizing, UnhookingReleasesTheWindow) {
  ShownWindow window;
  LimitResizing limits;
  limits.hook(window, designed, screen);
  limits.unhook(window);
  EXPECT_FALSE(limits.is_hooked(window));
  window.resize(50, 40);
  EXPECT_EQ(window.size(), QSize(50, 40));
  window.resize(1500, 1200);
  EXPECT_EQ(window.size(), QSize(1500, 1200));
}

TEST(LimitResizing, UnhookingGivesBackTheLimitsOfBefore) {
  ShownWindow window;
  window.setMinimumSize(300, 200);
  window.setMaximumSize(2000, 1900);
  LimitResizing limits;
  limits.hook(window, designed, screen);
  limits.unhook(window);
  EXPECT_EQ(window.minimumSize(), QSize(300, 200));
  EXPECT_EQ(window.maximumSize(), QSize(2000, 1900));
}

TEST(LimitResizing, UnhookingWithoutAHookDoesNothing) {
  ShownWindow window;
  window.setMinimumSize(300, 200);
  LimitResizing limits;
  limits.unhook(window);
  EXPECT_EQ(window.minimumSize(), QSize(300, 200));
  limits.hook(window, designed, screen);
  limits.unhook(window);
  window.setMinimumSize(100, 90);
  limits.unhook(window);
  EXPECT_EQ(window.minimumSize(), QSize(100, 90));
}

TEST(LimitResizing, UnhookingAnotherWindowKeepsTheHook) {
  ShownWindow window;
  ShownWindow other;
  LimitResizing limits;
  limits.hook(window, designed, screen);
  limits.unhook(other);
  EXPECT_TRUE(limits.is_hooked(window));
}

TEST(LimitResizing, AWindowCanBeHookedAgain) {
  ShownWindow window;
  LimitResizing limits;
  limits.hook(window, designed, screen);
  limits.unhook(window);
  window.resize(100, 100);
  limits.hook(window, designed, screen);
  EXPECT_EQ(window.outer(), designed);
}

TEST(LimitResizing, HookingTheHookedWindowTakesTheNewLimitsAndKeepsThoseOfBefore) {
  ShownWindow window;
  window.setMinimumSize(30, 20);
  LimitResizing limits;
  limits.hook(window, designed, screen);
  limits.hook(window, {500, 300}, screen);
  window.resize(10, 10);
  EXPECT_EQ(window.outer(), QSize(500, 300));
  limits.unhook(window);
  EXPECT_EQ(window.minimumSize(), QSize(30, 20));
}

TEST(LimitResizing, HookingAnotherWindowReleasesTheFirst) {
  ShownWindow first;
  ShownWindow second;
  LimitResizing limits;
  limits.hook(first, designed, screen);
  limits.hook(second, designed, screen);
  first.resize(50, 40);
  EXPECT_EQ(first.size(), QSize(50, 40));
  second.resize(50, 40);
  EXPECT_EQ(second.outer(), designed);
}

TEST(LimitResizing, AHiddenWindowGetsItsLimitsWhenItIsShown) {
  QWidget window;
  window.resize(50, 40);
  LimitResizing limits;
  limits.hook(window, designed, screen);
  EXPECT_TRUE(limits.is_hooked(window));
  EXPECT_EQ(window.minimumSize(), QSize(0, 0));
  window.show();
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.frameGeometry().size() == designed; }));
}

TEST(LimitResizing, TheLimitsFollowTheFrame) {
  ShownWindow window;
  LimitResizing limits;
  limits.hook(window, designed, screen);
  window.setWindowFlag(Qt::FramelessWindowHint);
  window.show_and_wait();
  window.resize(10, 10);
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.size() == designed; }));
}

TEST(LimitResizing, AMinimumThatIsSmallerThanTheFrameIsNone) {
  ShownWindow window;
  LimitResizing limits;
  limits.hook(window, {1, 1}, screen);
  EXPECT_EQ(window.minimumSize(), QSize(0, 0));
}

TEST(LimitResizing, AHookedWindowMayEndFirst) {
  auto window = std::make_unique<ShownWindow>();
  LimitResizing limits;
  limits.hook(*window, designed, screen);
  window.reset();
  ShownWindow other;
  EXPECT_FALSE(limits.is_hooked(other));
  limits.hook(other, designed, screen);
  other.resize(10, 10);
  EXPECT_EQ(other.outer(), designed);
}

TEST(LimitResizing, TheHookEndsWithItsObject) {
  ShownWindow window;
  {
    LimitResizing limits;
    limits.hook(window, designed, screen);
  }
  window.resize(50, 40);
  EXPECT_EQ(window.size(), QSize(50, 40));
}

}  // namespace
}  // namespace importkcd
