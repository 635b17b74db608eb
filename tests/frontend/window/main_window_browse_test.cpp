#include <QComboBox>
#include <QLineEdit>
#include <chrono>

#include "tests/frontend/window/window_fixture.h"

namespace importkcd::testing {
namespace {

using namespace control;

class BrowseButtons : public WindowTest {};

TEST_F(BrowseButtons, DocumentDialogHasItsTitleFilterAndSuffix) {
  open();
  click(cmdBrowseKCD);
  ASSERT_EQ(dialogs.file_requests.size(), 1U);
  EXPECT_EQ(dialogs.file_requests[0].title, "Select KCD File  ");
  EXPECT_EQ(dialogs.file_requests[0].filter, "KCD Files (*.kcd), KCI Files (*.kci)|*.kcd; *.kci");
  EXPECT_EQ(dialogs.file_requests[0].default_suffix, "kcd");
}

TEST_F(BrowseButtons, OutputFileDialogHasItsTitleFilterAndSuffix) {
  open();
  click(cmdBrowseOutputFile);
  ASSERT_EQ(dialogs.file_requests.size(), 1U);
  EXPECT_EQ(dialogs.file_requests[0].title, "Select Output File  ");
  EXPECT_EQ(dialogs.file_requests[0].filter, "Text (*.txt)|*.txt");
  EXPECT_EQ(dialogs.file_requests[0].default_suffix, "kcd");
  EXPECT_FALSE(dialogs.file_requests[0].must_exist);
}

TEST_F(BrowseButtons, ChosenDocumentCountsAsLeavingItsBox) {
  open();
  dialogs.file = "/cubes/SalesSC.kci";
  click(cmdBrowseKCD);
  EXPECT_EQ(text(txtKCDFilename), "/cubes/SalesSC.kci");
  EXPECT_EQ(text(txtOutputFile), "/cubes/SalesSC_Out_20261115.txt");
  EXPECT_TRUE(enabled(txtServer));
  EXPECT_TRUE(checked(cbReplacePattern));
}

TEST_F(BrowseButtons, CancelledFileDialogsChangeNothing) {
  open();
  fill(txtKCDFilename, "a.kcd");
  click(cmdBrowseKCD);
  click(cmdBrowseOutputFile);
  EXPECT_EQ(text(txtKCDFilename), "a.kcd");
  EXPECT_EQ(text(txtOutputFile), "a_Out_20261115.txt");
}

TEST_F(BrowseButtons, ChosenOutputFileGoesIntoItsBox) {
  open();
  dialogs.file = "/tmp/out.txt";
  click(cmdBrowseOutputFile);
  EXPECT_EQ(text(txtOutputFile), "/tmp/out.txt");
}

TEST_F(BrowseButtons, ChosenComputerGoesIntoTheServerBoxes) {
  open();
  dialogs.computer = "SRV";
  click(cbAltDWServer);
  click(cmdBrowseOLAPServer);
  click(cmdBrowseDWServer);
  EXPECT_EQ(text(txtOLAPServer), "SRV");
  EXPECT_EQ(text(txtDatawarehouseServer), "SRV");
  EXPECT_EQ(dialogs.computer_titles,
            (std::vector<std::string>{"Search your OLAP Server...",
                                      "Search your Datawarehouse Server..."}));
}

TEST_F(BrowseButtons, CancelledComputerDialogEmptiesTheServerBoxes) {
  open();
  click(cbAltDWServer);
  fill(txtDatawarehouseServer, "W");
  click(cmdBrowseOLAPServer);
  click(cmdBrowseDWServer);
  EXPECT_EQ(text(txtOLAPServer), "");
  EXPECT_EQ(text(txtDatawarehouseServer), "");
}

TEST_F(BrowseButtons, CancelledComputerDialogKeepsTheLabelsServer) {
  open();
  fill(txtKCDFilename, "a.kci");
  click(cmdServer);
  EXPECT_EQ(text(txtServer), "(local)");
  dialogs.computer = "SRV";
  click(cmdServer);
  EXPECT_EQ(text(txtServer), "SRV");
  EXPECT_EQ(dialogs.computer_titles,
            (std::vector<std::string>{"Select your Server...", "Select your Server..."}));
}

TEST_F(BrowseButtons, PickedDatabaseGoesIntoItsBoxUnderAnHourglass) {
  open();
  click(cbAltOLAPDatabase);
  dialogs.database = "Sales";
  click(cmdBrowseOLAPDatabase);
  EXPECT_EQ(text(txtOLAPDatabase), "Sales");
  EXPECT_EQ(dialogs.picked_servers, std::vector<std::string>{"HERE"});
  EXPECT_EQ(dialogs.cursor_while_picking, Qt::WaitCursor);
  EXPECT_EQ(window->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(BrowseButtons, UnconfirmedDatabaseLeavesTheBoxAndAnEmptyChoiceEmptiesIt) {
  open();
  click(cbAltOLAPDatabase);
  fill(txtOLAPDatabase, "Old");
  click(cmdBrowseOLAPDatabase);
  EXPECT_EQ(text(txtOLAPDatabase), "Old");
  dialogs.database = "";
  click(cmdBrowseOLAPDatabase);
  EXPECT_EQ(text(txtOLAPDatabase), "");
}

TEST_F(BrowseButtons, OpeningTheDatabaseListConnectsAndFillsIt) {
  open();
  fill(txtKCDFilename, "a.kci");
  fill(txtServer, "labels");
  auto& list = get<QComboBox>(cmbDB);
  list.showPopup();
  list.hidePopup();
  EXPECT_EQ(labels_connections, 1);
  ASSERT_EQ(list.count(), 2);
  EXPECT_EQ(text(cmbDB), "labels");
  EXPECT_EQ(get<QComboBox>(cmbLanguage).count(), 0);
}

TEST_F(BrowseButtons, TheTypedLoginReachesTheLabelsServerWithItsTimeLimit) {
  open();
  fill(txtKCDFilename, "a.kci");
  fill(txtServer, "labels");
  fill(txtSQLUsername, "ann");
  fill(txtSQLPassword, "secret");
  get<QComboBox>(cmbDB).showPopup();
  get<QComboBox>(cmbDB).hidePopup();
  EXPECT_EQ(labels_login.server, "labels");
  EXPECT_FALSE(labels_login.secure_login);
  EXPECT_EQ(labels_login.user, "ann");
  EXPECT_EQ(labels_login.password, "secret");
  EXPECT_EQ(labels_login.timeouts.connecting, std::chrono::seconds(20));
  click(optSecureLogin);
  get<QComboBox>(cmbDB).showPopup();
  get<QComboBox>(cmbDB).hidePopup();
  EXPECT_TRUE(labels_login.secure_login);
  EXPECT_EQ(labels_login.user, "");
}

TEST_F(BrowseButtons, TheListsOfLabelsAreFilledUnderTheWaitPointer) {
  open();
  fill(txtKCDFilename, "a.kci");
  fill(txtServer, "labels");
  get<QComboBox>(cmbDB).showPopup();
  get<QComboBox>(cmbDB).hidePopup();
  EXPECT_EQ(pointer_while_connecting, Qt::WaitCursor);
  EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(BrowseButtons, OpeningTheLanguageListFillsItWithoutAChoice) {
  open();
  fill(txtKCDFilename, "a.kci");
  fill(txtServer, "labels");
  get<QComboBox>(cmbDB).showPopup();
  get<QComboBox>(cmbDB).hidePopup();
  auto& list = get<QComboBox>(cmbLanguage);
  list.showPopup();
  list.hidePopup();
  ASSERT_EQ(list.count(), 2);
  EXPECT_EQ(list.itemText(1), "English");
  EXPECT_EQ(text(cmbLanguage), "");
}

TEST_F(BrowseButtons, LabelsServerThatCannotBeReachedIsReported) {
  open();
  fill(txtKCDFilename, "a.kci");
  fill(txtServer, "elsewhere");
  get<QComboBox>(cmbDB).showPopup();
  ASSERT_EQ(dialogs.boxes.size(), 1U);
  EXPECT_EQ(dialogs.boxes[0],
            (MessageBox{MessageIcon::critical, "Retrieve SQLServer Databases",
                        "Error while connecting to : elsewhere", "no such server"}));
}

}  // namespace
}  // namespace importkcd::testing
