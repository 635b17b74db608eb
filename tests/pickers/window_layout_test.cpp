#include "pickers/window_layout.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

constexpr RecordedLayout designed{.designed_height = 8000,
                                  .designed_width = 9600,
                                  .field_width = 3000,
                                  .frame_width = 4500,
                                  .status_frame_width = 9300,
                                  .status_height = 1500,
                                  .labels_frame_left = 4800,
                                  .browse_button_left = 4000,
                                  .import_button_left = 7000,
                                  .cancel_button_left = 8300,
                                  .import_button_top = 5000,
                                  .cancel_button_top = 5000};

LayoutResult resized(std::int32_t width, std::int32_t height) {
  return Form_Resize(designed, {width, height}, false).value();
}

TEST(WindowLayout, AtTheDesignedSizeOnlyTheStatusFrameGrows) {
  const auto layout = resized(9600, 8000);
  EXPECT_EQ(layout.window_width, std::nullopt);
  EXPECT_EQ(layout.field_width, 3000);
  EXPECT_EQ(layout.frame_width, 4500);
  EXPECT_EQ(layout.left_edges, (MovedLeftEdges{4000, 7000, 8300, 4800}));
  EXPECT_EQ(layout.status_frame_width, 9300);
  EXPECT_EQ(layout.status_list_width, 9165);
  EXPECT_EQ(layout.window_height, std::nullopt);
  EXPECT_EQ(layout.status_list_height, 1500);
  EXPECT_TRUE(layout.status_frame_follows_list);
  EXPECT_EQ(status_frame_height(layout.status_list_height), 1750);
}

TEST(WindowLayout, SixHundredTwipsMoreWidenFieldsAndFramesAndMoveTheRest) {
  const auto layout = resized(10200, 8000);
  EXPECT_EQ(layout.window_width, std::nullopt);
  EXPECT_EQ(layout.field_width, 3600);
  EXPECT_EQ(layout.frame_width, 5100);
  EXPECT_EQ(layout.left_edges, (MovedLeftEdges{4600, 7600, 8900, 5400}));
  EXPECT_EQ(layout.status_frame_width, 9900);
  EXPECT_EQ(layout.status_list_width, 9900 - 135);
}

TEST(WindowLayout, ANarrowerWindowSnapsBackAndItsMovedControlsWaitForTheNextResize) {
  const auto layout = resized(9300, 8000);
  EXPECT_EQ(layout.window_width, 9600);
  EXPECT_EQ(layout.field_width, 3000);
  EXPECT_EQ(layout.frame_width, 4500);
  EXPECT_EQ(layout.left_edges, std::nullopt);
  EXPECT_EQ(layout.status_frame_width, 9300);
  EXPECT_EQ(layout.status_list_width, 9165);
}

TEST(WindowLayout, MoreHeightGoesToTheStatusList) {
  const auto layout = resized(9600, 8450);
  EXPECT_EQ(layout.window_height, std::nullopt);
  EXPECT_EQ(layout.status_list_height, 1950);
  EXPECT_TRUE(layout.status_frame_follows_list);
}

TEST(WindowLayout, TheStatusFrameFollowsTheHeightThatTheListTook) {
  EXPECT_EQ(status_frame_height(1935), 2185);
}

TEST(WindowLayout, ALowerWindowSnapsBackAndLeavesTheStatusFrameAlone) {
  const auto layout = resized(9600, 7999);
  EXPECT_EQ(layout.window_height, 8000);
  EXPECT_EQ(layout.status_list_height, 1500);
  EXPECT_FALSE(layout.status_frame_follows_list);
}

TEST(WindowLayout, WidthAndHeightAreJudgedApart) {
  const auto layout = resized(9300, 8300);
  EXPECT_EQ(layout.window_width, 9600);
  EXPECT_EQ(layout.window_height, std::nullopt);
  EXPECT_EQ(layout.status_list_height, 1800);
}

TEST(WindowLayout, AMinimisedWindowIsLeftAlone) {
  EXPECT_FALSE(Form_Resize(designed, {9600, 8000}, true).has_value());
  EXPECT_FALSE(Form_Resize(designed, {100, 100}, true).has_value());
}

TEST(WindowLayout, AWindowFarWiderThanAnySixteenBitSizeIsLaidOut) {
  const auto layout = resized(109600, 8000);
  EXPECT_EQ(layout.field_width, 103000);
  EXPECT_EQ(layout.status_list_width, 109165);
}

TEST(WindowLayout, RecordedSizesAreRoundedToWholeTwips) {
  EXPECT_EQ(recorded_size(1234.4), 1234);
  EXPECT_EQ(recorded_size(1234.5), 1234);
  EXPECT_EQ(recorded_size(1235.5), 1236);
  EXPECT_EQ(recorded_size(-1.5), -2);
  EXPECT_EQ(recorded_size(40000), 32767);
  EXPECT_EQ(recorded_size(-40000), -32768);
}

TEST(WindowLayout, TrackSizesAreDividedWithoutARemainder) {
  EXPECT_EQ(track_size_in_pixels(9600, twips_per_pixel_at_96_dpi), 640);
  EXPECT_EQ(track_size_in_pixels(9614, 15), 640);
  EXPECT_EQ(track_size_in_pixels(9614.5, 15), 640);
  EXPECT_EQ(track_size_in_pixels(9614.6, 15), 641);
}

TEST(WindowLayout, TrackSizesRoundTheFactorToo) {
  EXPECT_EQ(track_size_in_pixels(9600, 7.5), 1200) << "7.5 twips a pixel count as 8";
  EXPECT_EQ(track_size_in_pixels(9600, 6.5), 1600) << "6.5 twips a pixel count as 6";
  EXPECT_EQ(track_size_in_pixels(9600, 0.3), 9600);
}

}  // namespace
}  // namespace importkcd
