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

using testing::control;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::ModalDriver;

class SearchOlapCube : public ::testing::Test {
 protected:
  SearchOlapCube() {
    state_.objects = {{OlapClassType::database, "Sales"}, {OlapClassType::database, "SALES"}};
    state_.cubes["Sales"] = {{"Orders", OlapCubeKind::regular},
                             {"Everything", OlapCubeKind::is_virtual},
                             {"Budget", OlapCubeKind::regular}};
    state_.cubes["SALES"] = {{"Archive", OlapCubeKind::regular}};
  }

  bool show(const std::string& database, const ModalDriver::Action& action) {
    ModalDriver driver(action);
    const bool result = picker_.ShowCubes("olap1", database, &owner_);
    shown_ = driver.acted();
    return result;
  }

  static QListWidget& list(QDialog& dialog) { return control<QListWidget>(dialog, "lstOLAPCube"); }

  testing::PickerServerState state_;
  testing::RecordedBoxes boxes_;
  QWidget owner_;
  frmSearchOLAPCube picker_{testing::picker_servers(state_), boxes_.box()};
  bool shown_ = false;
};

TEST_F(SearchOlapCube, ListsTheRegularCubesOfTheDatabase) {
  EXPECT_TRUE(show("Sales", [](QDialog& dialog) {
    EXPECT_THAT(testing::entries(list(dialog)), ElementsAre("Orders", "Budget"));
    testing::click_entry(list(dialog), 1);
    QTest::mouseClick(&control<QPushButton>(dialog, "cmdOk"), Qt::LeftButton);
  }));
  EXPECT_EQ(picker_.SelectedOLAPCube(), "Budget");
  EXPECT_EQ(picker_.strOLAPServerName(), "olap1");
  EXPECT_EQ(picker_.strOLAPDB(), "Sales");
  EXPECT_FALSE(picker_.failed());
}

TEST_F(SearchOlapCube, ADatabaseIsToldFromAnotherByLetterCase) {
  EXPECT_TRUE(show("SALES", [](QDialog& dialog) {
    EXPECT_THAT(testing::entries(list(dialog)), ElementsAre("Archive"));
    testing::double_click_entry(list(dialog), 0);
  }));
  EXPECT_EQ(picker_.SelectedOLAPCube(), "Archive");
}

TEST_F(SearchOlapCube, ADatabaseThatIsNotThereShowsAnEmptyDialog) {
  EXPECT_TRUE(show("sales", [](QDialog& dialog) {
    EXPECT_THAT(testing::entries(list(dialog)), IsEmpty());
    QTest::mouseClick(&control<QPushButton>(dialog, "cmdOk"), Qt::LeftButton);
  }));
  EXPECT_TRUE(shown_);
  EXPECT_EQ(picker_.SelectedOLAPCube(), "");
  EXPECT_THAT(boxes_.boxes, IsEmpty());
}

TEST_F(SearchOlapCube, CancelLeavesTheChoiceUnconfirmed) {
  EXPECT_FALSE(show("Sales", [](QDialog& dialog) {
    testing::click_entry(list(dialog), 0);
    QTest::mouseClick(&control<QPushButton>(dialog, "cmdCancel"), Qt::LeftButton);
  }));
  EXPECT_FALSE(picker_.confirmed());
  EXPECT_EQ(picker_.SelectedOLAPCube(), "");
}

TEST_F(SearchOlapCube, AFailureShowsItsDescriptionOnASecondLineAndNoDialog) {
  state_.failing = "open_database";
  EXPECT_FALSE(show("Sales", [](QDialog& dialog) { dialog.close(); }));
  EXPECT_FALSE(shown_);
  EXPECT_TRUE(picker_.failed());
  EXPECT_THAT(boxes_.boxes, ElementsAre(testing::RecordedBoxes::Box{
                                &owner_, "OLAP Server error",
                                "Error Reading Cube info from olap1\r\nThe line is down"}));
}

TEST_F(SearchOlapCube, ControlsAreKnownToAssistiveTechnology) {
  EXPECT_EQ(picker_.objectName(), "frmSearchOLAPCube");
  EXPECT_EQ(control<QLabel>(picker_, "lblSearchOLAPCube").buddy(), &list(picker_));
  EXPECT_EQ(list(picker_).accessibleName(), "OLAP cubes");
  EXPECT_EQ(list(picker_).accessibleDescription(), "The cubes of the OLAP database");
}

}  // namespace
}  // namespace importkcd
