#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

#include "pickers/qt/search_olap.h"
#include "tests/pickers/picker_server.h"
#include "tests/pickers/qt/modal_driver.h"
#include "tests/pickers/qt/recorded_boxes.h"

namespace importkcd {
namespace {

using testing::click_entry;
using testing::control;
using testing::double_click_entry;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::ModalDriver;

class SearchOlapDb : public ::testing::Test {
 protected:
  SearchOlapDb() {
    for (const char* name : {"Sales", "Zoo", "Abc"}) {
      state_.objects.push_back({OlapClassType::database, name});
    }
  }

  /// Shows the databases of "olap1"; `action` does what the person does.
  bool show(const ModalDriver::Action& action) {
    ModalDriver driver(action);
    const bool result = picker_.ShowDBs("olap1", &owner_);
    shown_ = driver.acted();
    return result;
  }

  static QListWidget& list(QDialog& dialog) { return control<QListWidget>(dialog, "lstOLAPDB"); }
  static void press(QDialog& dialog, const char* button) {
    QTest::mouseClick(&control<QPushButton>(dialog, button), Qt::LeftButton);
  }

  testing::PickerServerState state_;
  testing::RecordedBoxes boxes_;
  QWidget owner_;
  frmSearchOLAPDB picker_{testing::picker_servers(state_), boxes_.box()};
  bool shown_ = false;
};

TEST_F(SearchOlapDb, ListsTheServersDatabasesInItsOrder) {
  show([](QDialog& dialog) {
    EXPECT_THAT(testing::entries(list(dialog)), ElementsAre("Sales", "Zoo", "Abc"));
    press(dialog, "cmdCancel");
  });
  EXPECT_TRUE(shown_);
  EXPECT_EQ(picker_.strOLAPServerName(), "olap1");
  EXPECT_FALSE(picker_.failed());
  EXPECT_THAT(boxes_.boxes, IsEmpty());
}

TEST_F(SearchOlapDb, OkTakesTheSelectedDatabase) {
  EXPECT_TRUE(show([](QDialog& dialog) {
    click_entry(list(dialog), 1);
    press(dialog, "cmdOk");
  }));
  EXPECT_TRUE(picker_.confirmed());
  EXPECT_EQ(picker_.SelectedOLAPDB(), "Zoo");
}

TEST_F(SearchOlapDb, ADoubleClickConfirmsWithoutTheButton) {
  EXPECT_TRUE(show([](QDialog& dialog) { double_click_entry(list(dialog), 2); }));
  EXPECT_TRUE(picker_.confirmed());
  EXPECT_EQ(picker_.SelectedOLAPDB(), "Abc");
}

TEST_F(SearchOlapDb, OkWithoutASelectionGivesTheEmptyNameAndConfirms) {
  EXPECT_TRUE(show([](QDialog& dialog) { press(dialog, "cmdOk"); }));
  EXPECT_EQ(picker_.SelectedOLAPDB(), "");
}

TEST_F(SearchOlapDb, AListThatOnlyHasTheFocusHasNoSelection) {
  EXPECT_TRUE(show([](QDialog& dialog) {
    list(dialog).setFocus();
    EXPECT_TRUE(QTest::qWaitFor([&] { return list(dialog).hasFocus(); }));
    QTest::keyClick(&list(dialog), Qt::Key_Return);
  }));
  EXPECT_EQ(picker_.SelectedOLAPDB(), "");
}

TEST_F(SearchOlapDb, AServerWithoutDatabasesShowsAnEmptyDialogAndOkGivesTheEmptyName) {
  state_.objects.clear();
  EXPECT_TRUE(show([](QDialog& dialog) {
    EXPECT_THAT(testing::entries(list(dialog)), IsEmpty());
    press(dialog, "cmdOk");
  }));
  EXPECT_TRUE(shown_);
  EXPECT_EQ(picker_.SelectedOLAPDB(), "");
}

TEST_F(SearchOlapDb, CancelLeavesTheChoiceUnconfirmed) {
  EXPECT_FALSE(show([](QDialog& dialog) {
    click_entry(list(dialog), 1);
    press(dialog, "cmdCancel");
  }));
  EXPECT_FALSE(picker_.confirmed());
  EXPECT_EQ(picker_.SelectedOLAPDB(), "");
}

TEST_F(SearchOlapDb, KeysChooseConfirmAndCancel) {
  EXPECT_TRUE(show([](QDialog& dialog) {
    QTest::keyClick(&list(dialog), Qt::Key_End);
    QTest::keyClick(&list(dialog), Qt::Key_Return);
  }));
  EXPECT_EQ(picker_.SelectedOLAPDB(), "Abc");
  EXPECT_FALSE(show([](QDialog& dialog) {
    click_entry(list(dialog), 0);
    QTest::keyClick(&list(dialog), Qt::Key_Escape);
  }));
  EXPECT_EQ(picker_.SelectedOLAPDB(), "");
}

TEST_F(SearchOlapDb, TheFirstArrowKeySelects) {
  EXPECT_TRUE(show([](QDialog& dialog) {
    EXPECT_TRUE(QTest::qWaitFor([&] { return list(dialog).hasFocus(); }));
    EXPECT_FALSE(list(dialog).currentIndex().isValid()) << "no row looks chosen";
    QTest::keyClick(&list(dialog), Qt::Key_Down);
    QTest::keyClick(&list(dialog), Qt::Key_Return);
  }));
  EXPECT_EQ(picker_.SelectedOLAPDB(), "Sales");
  EXPECT_TRUE(show([](QDialog& dialog) {
    QTest::keyClick(&list(dialog), Qt::Key_Up);
    QTest::keyClick(&list(dialog), Qt::Key_Return);
  }));
  EXPECT_EQ(picker_.SelectedOLAPDB(), "Abc");
}

TEST_F(SearchOlapDb, FurtherArrowKeysMoveTheSelection) {
  EXPECT_TRUE(show([](QDialog& dialog) {
    QTest::keyClick(&list(dialog), Qt::Key_Down);
    QTest::keyClick(&list(dialog), Qt::Key_Down);
    QTest::keyClick(&list(dialog), Qt::Key_Return);
  }));
  EXPECT_EQ(picker_.SelectedOLAPDB(), "Zoo");
}

TEST_F(SearchOlapDb, ClosingTheWindowCancels) {
  EXPECT_FALSE(show([](QDialog& dialog) { dialog.close(); }));
}

TEST_F(SearchOlapDb, AnUnreachableServerShowsOneBoxAndNoDialog) {
  state_.failing = "connect";
  EXPECT_FALSE(show([](QDialog& dialog) { dialog.close(); }));
  EXPECT_FALSE(shown_);
  EXPECT_TRUE(picker_.failed());
  EXPECT_FALSE(picker_.confirmed());
  EXPECT_THAT(boxes_.boxes,
              ElementsAre(testing::RecordedBoxes::Box{&owner_, "OLAP Server error",
                                                      "Error Connecting to OLAP Server olap1"}));
}

TEST_F(SearchOlapDb, AFailureAfterAChoiceUndoesIt) {
  EXPECT_TRUE(show([](QDialog& dialog) { double_click_entry(list(dialog), 0); }));
  state_.failing = "stored_objects";
  EXPECT_FALSE(show([](QDialog& dialog) { dialog.close(); }));
  EXPECT_EQ(picker_.SelectedOLAPDB(), "");
}

TEST_F(SearchOlapDb, ListingAgainStartsAfresh) {
  show([](QDialog& dialog) { double_click_entry(list(dialog), 0); });
  state_.objects = {{OlapClassType::database, "Only"}};
  EXPECT_TRUE(show([](QDialog& dialog) {
    EXPECT_THAT(testing::entries(list(dialog)), ElementsAre("Only"));
    press(dialog, "cmdOk");
  }));
  EXPECT_EQ(picker_.SelectedOLAPDB(), "");
}

TEST_F(SearchOlapDb, IsModalAndOwnedByItsParentWhileItIsShown) {
  show([&](QDialog& dialog) {
    EXPECT_TRUE(dialog.isModal());
    EXPECT_EQ(dialog.parentWidget(), &owner_);
    dialog.close();
  });
  EXPECT_EQ(picker_.parentWidget(), nullptr);
  EXPECT_EQ(picker_.cursor().shape(), Qt::ArrowCursor);
}

TEST_F(SearchOlapDb, TheConnectionIsGoneBeforeTheDialogShows) {
  show([&](QDialog& dialog) {
    EXPECT_EQ(state_.alive, 0);
    dialog.close();
  });
}

TEST_F(SearchOlapDb, NamesWithOddCharactersComeBackAsTheyAre) {
  const std::string odd = "<b>R&D</b>\tBücher ";
  state_.objects = {{OlapClassType::database, odd}};
  EXPECT_TRUE(show([](QDialog& dialog) { double_click_entry(list(dialog), 0); }));
  EXPECT_EQ(picker_.SelectedOLAPDB(), odd);
}

TEST_F(SearchOlapDb, ControlsAreKnownToAssistiveTechnology) {
  EXPECT_EQ(picker_.objectName(), "frmSearchOLAPDB");
  EXPECT_EQ(control<QLabel>(picker_, "lblSearchOLAPDB").buddy(), &list(picker_));
  EXPECT_EQ(list(picker_).accessibleName(), "OLAP databases");
  EXPECT_EQ(list(picker_).accessibleDescription(), "The databases of the OLAP server");
  EXPECT_EQ(control<QPushButton>(picker_, "cmdOk").accessibleName(), "OK");
  EXPECT_EQ(control<QPushButton>(picker_, "cmdCancel").accessibleName(), "Cancel");
}

TEST_F(SearchOlapDb, TheCaptionNamesTheServer) {
  ModalDriver driver([](QDialog& dialog) {
    EXPECT_EQ(control<QLabel>(dialog, "lblSearchOLAPDB").text(), "&Databases on \"R&&D\":");
    dialog.close();
  });
  picker_.ShowDBs("R&D", nullptr);
}

}  // namespace
}  // namespace importkcd
