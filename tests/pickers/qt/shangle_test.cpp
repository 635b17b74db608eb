#include "pickers/qt/shangle.h"

#include <gtest/gtest.h>

#include <QFontMetricsF>
#include <QPalette>
#include <QTest>
#include <vector>

namespace importkcd {
namespace {

/// A grip whose desktop answers as told.
class TestedGrip : public Shangle {
 public:
  using Shangle::Shangle;

  bool desktop_resizes = true;
  std::vector<QWindow*> asked;

 protected:
  bool start_system_resize(QWindow& window) override {
    asked.push_back(&window);
    return desktop_resizes;
  }
};

class ShangleTest : public ::testing::Test {
 protected:
  ShangleTest() {
    window_.resize(300, 200);
    grip_.move(window_.width() - grip_.width(), window_.height() - grip_.height());
    window_.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window_));
  }

  QPoint middle() const { return grip_.rect().center(); }

  QWidget window_;
  TestedGrip grip_{&window_};
};

TEST_F(ShangleTest, AnyMouseButtonStartsTheDesktopsResizeOfItsWindow) {
  for (const auto button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton, Qt::BackButton}) {
    grip_.asked.clear();
    QTest::mousePress(&grip_, button, {}, middle());
    EXPECT_EQ(grip_.asked, std::vector<QWindow*>{window_.windowHandle()}) << button;
    QTest::mouseRelease(&grip_, button, {}, middle());
  }
}

TEST_F(ShangleTest, AGripDeepInTheWindowResizesTheWindow) {
  QWidget frame(&window_);
  TestedGrip deep(&frame);
  frame.show();
  QTest::mousePress(&deep, Qt::LeftButton, {}, deep.rect().center());
  EXPECT_EQ(deep.asked, std::vector<QWindow*>{window_.windowHandle()});
}

TEST_F(ShangleTest, WhileTheDesktopResizesTheGripDoesNot) {
  QTest::mousePress(&grip_, Qt::LeftButton, {}, middle());
  QTest::mouseMove(&grip_, middle() + QPoint(40, 30));
  EXPECT_EQ(window_.size(), QSize(300, 200));
}

TEST_F(ShangleTest, WithoutADesktopsResizeTheWindowFollowsTheMouse) {
  grip_.desktop_resizes = false;
  QTest::mousePress(&grip_, Qt::RightButton, {}, middle());
  QTest::mouseMove(&grip_, middle() + QPoint(40, 30));
  EXPECT_EQ(window_.size(), QSize(340, 230));
  QTest::mouseMove(&grip_, middle() + QPoint(-20, -10));
  EXPECT_EQ(window_.size(), QSize(280, 190));
}

TEST_F(ShangleTest, TheOwnDragKeepsTheWindowsLimits) {
  grip_.desktop_resizes = false;
  window_.setMinimumSize(250, 150);
  QTest::mousePress(&grip_, Qt::LeftButton, {}, middle());
  QTest::mouseMove(&grip_, middle() - QPoint(2000, 2000));
  EXPECT_EQ(window_.size(), QSize(250, 150));
}

TEST_F(ShangleTest, TheOwnDragEndsWithTheRelease) {
  grip_.desktop_resizes = false;
  QTest::mousePress(&grip_, Qt::LeftButton, {}, middle());
  QTest::mouseRelease(&grip_, Qt::LeftButton, {}, middle());
  QTest::mouseMove(&grip_, middle() + QPoint(40, 30));
  EXPECT_EQ(window_.size(), QSize(300, 200));
}

TEST_F(ShangleTest, TheOwnDragGoesOnWhileItsButtonIsHeld) {
  grip_.desktop_resizes = false;
  QTest::mousePress(&grip_, Qt::LeftButton, {}, middle());
  QTest::mousePress(&grip_, Qt::RightButton, {}, middle());
  QTest::mouseRelease(&grip_, Qt::RightButton, {}, middle());
  QTest::mouseMove(&grip_, middle() + QPoint(40, 30));
  EXPECT_EQ(window_.size(), QSize(340, 230));
  EXPECT_EQ(grip_.asked.size(), 1U);
}

TEST_F(ShangleTest, ThePlatformOfTheseTestsHasNoResizeOfItsOwn) {
  Shangle grip(&window_);
  grip.show();
  QTest::mousePress(&grip, Qt::LeftButton, {}, middle());
  QTest::mouseMove(&grip, middle() + QPoint(15, 25));
  EXPECT_EQ(window_.size(), QSize(315, 225));
}

int side_of(const QFont& font) { return qRound(QFontMetricsF(font).horizontalAdvance("op")); }

TEST_F(ShangleTest, IsASquareAsWideAsTwoLettersOfItsFont) {
  const int side = side_of(grip_.font());
  EXPECT_GT(side, 5);
  EXPECT_EQ(grip_.size(), QSize(side, side));
  EXPECT_EQ(grip_.sizeHint(), QSize(side, side));
}

TEST_F(ShangleTest, FollowsItsFont) {
  QFont large = grip_.font();
  large.setPointSize(40);
  grip_.setFont(large);
  EXPECT_EQ(grip_.size(), QSize(side_of(large), side_of(large)));
  EXPECT_GT(side_of(large), 20);
}

TEST_F(ShangleTest, GoesBackToItsSquareWhenItIsResized) {
  const int side = side_of(grip_.font());
  grip_.resize(100, 3);
  EXPECT_EQ(grip_.size(), QSize(side, side));
}

/// How many pixels of the picture are nearest to the colour.
int count(const QImage& picture, const QColor& colour) {
  constexpr int near = 60;
  int found = 0;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      const QColor pixel = picture.pixelColor(x, y);
      const int distance = std::abs(pixel.red() - colour.red()) +
                           std::abs(pixel.green() - colour.green()) +
                           std::abs(pixel.blue() - colour.blue());
      found += distance < near ? 1 : 0;
    }
  }
  return found;
}

TEST_F(ShangleTest, IsDrawnInTheHighlightAndShadowColours) {
  QPalette palette;
  palette.setColor(QPalette::Window, Qt::white);
  palette.setColor(QPalette::Light, Qt::red);
  palette.setColor(QPalette::Dark, Qt::blue);
  window_.setPalette(palette);
  QFont large = grip_.font();
  large.setPointSize(40);
  grip_.setFont(large);
  const QImage picture = grip_.grab().toImage();
  const int light = count(picture, Qt::red);
  const int shadow = count(picture, Qt::blue);
  EXPECT_GT(light, 50);
  EXPECT_GT(shadow, light);
  // The corner opposite to the one that is dragged stays free.
  EXPECT_EQ(picture.pixelColor(1, 1), QColor(Qt::white));
}

TEST_F(ShangleTest, IsKnownToAssistiveTechnology) {
  EXPECT_EQ(grip_.objectName(), "Shangle");
  EXPECT_EQ(grip_.accessibleName(), "Size grip");
  EXPECT_EQ(grip_.cursor().shape(), Qt::SizeFDiagCursor);
}

}  // namespace
}  // namespace importkcd
