#include "frontend/hidden_settings.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

TEST(HiddenSettings, StartWithVirtualCubesAndNothingElse) {
  const HiddenSettings settings;
  EXPECT_TRUE(settings.ImportVirtualCubes);
  EXPECT_FALSE(settings.CommandLineRun);
  EXPECT_FALSE(settings.KeepOpen);
  EXPECT_FALSE(settings.ImportTypeGiven);
  EXPECT_FALSE(settings.DwTrusted);
  EXPECT_EQ(settings.DwUser, "");
  EXPECT_EQ(settings.DwPassword, "");
  EXPECT_EQ(settings.DwDatabase, "");
  EXPECT_EQ(settings.StatusFileName, "");
}

}  // namespace
}  // namespace importkcd
