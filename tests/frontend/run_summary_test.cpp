#include "frontend/run_summary.h"

#include <gtest/gtest.h>

#include <chrono>

namespace importkcd {
namespace {

using std::chrono::duration;

TEST(RunSummary, LinesThatTellAnErrorAreKnownByTheirBeginning) {
  RunSummary summary;
  EXPECT_TRUE(summary.take("Error : Can't update Cube 'Sales'"));
  EXPECT_TRUE(summary.take("Error in reading document a.kcd"));
  EXPECT_FALSE(summary.take("Creating cube 'Error rates'"));
  EXPECT_FALSE(summary.take("Errors are none"));
  EXPECT_FALSE(summary.take(""));
}

TEST(RunSummary, TheReasonOfAFailureIsPartOfItsError) {
  RunSummary summary;
  EXPECT_TRUE(summary.take("Import not succeeded due to error"));
  EXPECT_TRUE(summary.take("The machine 'nowhere' is not reachable"));
  EXPECT_FALSE(summary.take("Start"));
  EXPECT_EQ(summary.text({}, duration<double>(1.5)), "3 messages, 1 error, 1.50 s");
}

TEST(RunSummary, CountsWhatWasTakenSince) {
  RunSummary summary;
  summary.take("Error : one");
  const RunSummary before = summary;
  EXPECT_EQ(summary.text(before, duration<double>(0)), "0 messages, 0.00 s");
  summary.take("Start");
  EXPECT_EQ(summary.text(before, duration<double>(0.004)), "1 message, 0.00 s");
  summary.take("Error : two");
  summary.take("Error : three");
  EXPECT_EQ(summary.text(before, duration<double>(61.239)), "3 messages, 2 errors, 61.24 s");
}

}  // namespace
}  // namespace importkcd
