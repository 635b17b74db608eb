#include <gtest/gtest.h>

#include "frontend/run_controller.h"

namespace importkcd {
namespace {

TEST(StatusExtent, StartsAtNothingAndIsStoredInPixels) {
  StatusExtent extent;
  EXPECT_EQ(extent.value(), 0);
  EXPECT_EQ(extent.widen(3000, 15), 200);
  EXPECT_EQ(extent.value(), 200);
}

TEST(StatusExtent, ANarrowerLineInTwipsStillReplacesTheStoredPixels) {
  StatusExtent extent;
  EXPECT_EQ(extent.widen(3000, 15), 200);
  EXPECT_EQ(extent.widen(1500, 15), 100) << "1500 twips exceed the 200 that are stored";
  EXPECT_EQ(extent.value(), 100);
}

TEST(StatusExtent, AWidthThatDoesNotExceedTheStoredValueChangesNothing) {
  StatusExtent extent;
  EXPECT_EQ(extent.widen(3000, 15), 200);
  EXPECT_EQ(extent.widen(200, 15), std::nullopt);
  EXPECT_EQ(extent.widen(0, 15), std::nullopt);
  EXPECT_EQ(extent.value(), 200);
  EXPECT_EQ(extent.widen(201, 15), 13);
}

TEST(StatusExtent, RoundsHalvesToEven) {
  StatusExtent extent;
  EXPECT_EQ(extent.widen(25, 10), 2);
  EXPECT_EQ(extent.widen(35, 10), 4);
  EXPECT_EQ(extent.widen(30, 7.5), 4);
}

}  // namespace
}  // namespace importkcd
