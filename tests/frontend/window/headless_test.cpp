#include "frontend/window/headless.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <sstream>

namespace importkcd::testing {
namespace {

TEST(Headless, OffscreenPlatformCountsAsNoDisplay) { EXPECT_TRUE(is_headless()); }

TEST(Headless, PlatformThatIsNamedInTheEnvironmentStays) {
  const QByteArray before = qgetenv("QT_QPA_PLATFORM");
  choose_platform();
  EXPECT_EQ(qgetenv("QT_QPA_PLATFORM"), before);
}

TEST(HeadlessDialogs, MessagesArePrintedOneALine) {
  std::ostringstream errors;
  HeadlessDialogs dialogs(errors);
  dialogs.show_message(nullptr,
                       {MessageIcon::none, "ImportKCD", "Unable to write\r\nIs a directory"});
  EXPECT_EQ(errors.str(), "ImportKCD: Unable to write Is a directory\n");
}

TEST(HeadlessDialogs, DetailsStandBehindTheMessageAndNoticesArePrintedToo) {
  std::ostringstream errors;
  HeadlessDialogs dialogs(errors);
  dialogs.show_notice(nullptr, {MessageIcon::none, "T", "Not reached", "no such server"});
  EXPECT_EQ(errors.str(), "T: Not reached (no such server)\n");
}

TEST(HeadlessDialogs, QuestionsAreAnsweredWithNo) {
  std::ostringstream errors;
  HeadlessDialogs dialogs(errors);
  EXPECT_FALSE(dialogs.ask_yes_no(nullptr, {MessageIcon::exclamation, "T", "Overwrite?"}));
  EXPECT_EQ(errors.str(),
            "T: Overwrite? (answered with No; 'kcd convert --overwrite' replaces the file)\n");
}

TEST(HeadlessDialogs, NothingCanBeChosen) {
  std::ostringstream errors;
  HeadlessDialogs dialogs(errors);
  EXPECT_EQ(dialogs.open_file(nullptr, {}), "");
  EXPECT_EQ(dialogs.browse_for_computer(nullptr, "T"), "");
  EXPECT_EQ(dialogs.pick_database(nullptr, "S"), std::nullopt);
  dialogs.start_viewer("a.txt");
  EXPECT_EQ(errors.str(), "");
}

}  // namespace
}  // namespace importkcd::testing
