#include <QAbstractButton>
#include <QClipboard>
#include <QComboBox>
#include <QFocusEvent>
#include <QGroupBox>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <array>
#include <set>

#include "tests/frontend/window/window_fixture.h"

namespace importkcd::testing {
namespace {

using namespace control;

struct Expected {
  ControlName name;
  const char* caption;
  const char* tool_tip;
};

constexpr std::array captions{
    Expected{frmImportFile, "Import File ", ""},
    Expected{lblKCDFilename, "Cube Definition &Document", ""},
    Expected{Label1, "Cube Definition Document", ""},
    Expected{txtKCDFilename, "", "Enter a KCD or KCI-filename to import here ..."},
    Expected{cmdBrowseKCD, "...", ""},
    Expected{frmDestination, "Destination ", ""},
    Expected{lblOLAPServer, "Microsoft &OLAP Server", ""},
    Expected{txtOLAPServer, "HERE", ""},
    Expected{cmdBrowseOLAPServer, "...", ""},
    Expected{frmModification, "Modifications ", ""},
    Expected{cbAltOLAPDatabase, "Alternate OLAP &Database",
             "Import into another OLAP database than the one specified in the Cube Definition "
             "Document."},
    Expected{txtOLAPDatabase, "", ""},
    Expected{cmdBrowseOLAPDatabase, "...", ""},
    Expected{cbAltDWServer, "Alternate Data&warehouse Server",
             "Overrule the data warehouse server that is specified in the Cube Definition "
             "Document"},
    Expected{txtDatawarehouseServer, "", ""},
    Expected{cmdBrowseDWServer, "...", ""},
    Expected{frmImportOptions, "Import Options ", ""},
    Expected{frmDatabaseImportOption, "Database ", ""},
    Expected{obReplace, "&Replace", "First delete existing OLAP Database"},
    Expected{obIncremental, "&Incremental",
             "Append new definitions to the OLAP Database (nothing is removed)"},
    Expected{obUpdate, "&Update", "Update Cube, Virtual Cube and Shared Dimensions only."},
    Expected{cbDontUpdateLevels, "DontUpdateLevels", ""},
    Expected{cbReplacePattern, "Company Replace &Pattern",
             "Should a pattern be replaced in case of a Single Company Cube?"},
    Expected{txtReplacePatternFrom, "%XXX%", ""},
    Expected{lblReplacePatternBy, "by", ""},
    Expected{txtReplacePatternTo, "", ""},
    Expected{cbImportCubePartitionDefs, "I&mport Cube Partition Definitions",
             "Should the Partitioning info also be imported in the Cubes?"},
    Expected{fraLabelsDB, "Labels Database Information", ""},
    Expected{lblServer, "&Server", ""},
    Expected{txtServer, "(local)", ""},
    Expected{cmdServer, "...", ""},
    Expected{lblDB, "Data&base", ""},
    Expected{cmbDB, "", ""},
    Expected{lblLanguage, "&Language", ""},
    Expected{cmbLanguage, "", ""},
    Expected{fraAuth, "Authentication", ""},
    Expected{optSecureLogin, "Use &Windows Authentication", ""},
    Expected{optSQLLogin, "Use S&QL Login", ""},
    Expected{lblSQLUsername, "U&sername", ""},
    Expected{txtSQLUsername, "", ""},
    Expected{lblSQLPassword, "P&assword", ""},
    Expected{txtSQLPassword, "", ""},
    Expected{frmOutput, "Output File ", ""},
    Expected{cbOutputFile, "Output to &File", ""},
    Expected{txtOutputFile, "", ""},
    Expected{cmdBrowseOutputFile, "...", ""},
    Expected{cbOutputFileOpenOnError, "Open Outputfile on &Errors",
             "Should the OutputFile be opened with Notepad or not?"},
    Expected{frmStatus, "Status ", ""},
    Expected{cmdImport, "&Import", ""},
    Expected{cmdCancel, "&Cancel", ""}};

class MainWindow : public WindowTest {
 protected:
  QString caption(ControlName name) {
    QWidget& widget = get(name);
    if (const auto* button = qobject_cast<QAbstractButton*>(&widget)) {
      return button->text();
    }
    if (const auto* label = qobject_cast<QLabel*>(&widget)) {
      return label->text();
    }
    if (const auto* frame = qobject_cast<QGroupBox*>(&widget)) {
      return frame->title();
    }
    return QString::fromStdString(text(name));
  }

  void expect_labels_group(bool on) {
    for (const ControlName name :
         {lblServer, txtServer, cmdServer, optSecureLogin, optSQLLogin, lblSQLUsername,
          txtSQLUsername, lblSQLPassword, txtSQLPassword, lblDB, cmbDB, lblLanguage, cmbLanguage}) {
      EXPECT_EQ(enabled(name), on) << name;
    }
    for (const ControlName name : {txtServer, txtSQLUsername, txtSQLPassword, cmbDB, cmbLanguage}) {
      EXPECT_EQ(greyed(name), !on) << name;
    }
  }
};

TEST_F(MainWindow, HasItsCaption) {
  open();
  EXPECT_EQ(window->windowTitle(), "Import Cube Definitions from File");
}

TEST_F(MainWindow, HasAnIcon) {
  open();
  EXPECT_FALSE(window->windowIcon().pixmap(32).isNull());
}

TEST_F(MainWindow, ImportIsTheDefaultButton) {
  open();
  EXPECT_TRUE(get<QPushButton>(cmdImport).isDefault());
  EXPECT_FALSE(get<QPushButton>(cmdCancel).isDefault());
}

TEST_F(MainWindow, ControlsHaveTheirCaptionsTextsAndToolTips) {
  open();
  for (const auto& [name, expected_caption, tool_tip] : captions) {
    EXPECT_EQ(caption(name), QString::fromUtf8(expected_caption)) << name;
    EXPECT_EQ(get(name).toolTip(), QString::fromUtf8(tool_tip)) << name;
  }
}

TEST_F(MainWindow, EveryControlHasAnAccessibleNameAndItsToolTipAsDescription) {
  open();
  for (const auto& expected : captions) {
    EXPECT_FALSE(get(expected.name).accessibleName().isEmpty()) << expected.name;
    EXPECT_EQ(get(expected.name).accessibleDescription(), QString::fromUtf8(expected.tool_tip));
  }
  EXPECT_EQ(get(lstStatus).accessibleName(), "Status");
}

TEST_F(MainWindow, NoTwoButtonsOrFieldsShareAnAccessibleName) {
  open();
  std::set<QString> names;
  for (const auto& expected : captions) {
    const QWidget& widget = get(expected.name);
    if (widget.focusPolicy() != Qt::NoFocus) {
      EXPECT_TRUE(names.insert(widget.accessibleName()).second) << expected.name;
    }
  }
}

TEST_F(MainWindow, LabelsAreBuddiesOfTheirFields) {
  open();
  EXPECT_EQ(get<QLabel>(lblKCDFilename).buddy(), &get(txtKCDFilename));
  EXPECT_EQ(get<QLabel>(lblOLAPServer).buddy(), &get(txtOLAPServer));
  EXPECT_EQ(get<QLabel>(lblReplacePatternBy).buddy(), &get(txtReplacePatternTo));
  EXPECT_EQ(get<QLabel>(lblServer).buddy(), &get(txtServer));
  EXPECT_EQ(get<QLabel>(lblDB).buddy(), &get(cmbDB));
  EXPECT_EQ(get<QLabel>(lblLanguage).buddy(), &get(cmbLanguage));
  EXPECT_EQ(get<QLabel>(lblSQLUsername).buddy(), &get(txtSQLUsername));
  EXPECT_EQ(get<QLabel>(lblSQLPassword).buddy(), &get(txtSQLPassword));
}

TEST_F(MainWindow, StartsInItsDesignedState) {
  open();
  for (const ControlName name :
       {txtOLAPDatabase, txtDatawarehouseServer, txtReplacePatternFrom, txtReplacePatternTo}) {
    EXPECT_FALSE(enabled(name)) << name;
    EXPECT_TRUE(greyed(name)) << name;
  }
  for (const ControlName name :
       {cmdBrowseOLAPDatabase, cmdBrowseDWServer, obUpdate, cbDontUpdateLevels}) {
    EXPECT_FALSE(enabled(name)) << name;
  }
  for (const ControlName name : {txtKCDFilename, txtOLAPServer, txtOutputFile, cmdBrowseOutputFile,
                                 cbOutputFileOpenOnError, obReplace, obIncremental, cmdImport}) {
    EXPECT_TRUE(enabled(name)) << name;
  }
  for (const ControlName name :
       {cbAltOLAPDatabase, cbAltDWServer, obReplace, obUpdate, cbDontUpdateLevels, cbReplacePattern,
        cbImportCubePartitionDefs, optSecureLogin, optSQLLogin, cbOutputFileOpenOnError}) {
    EXPECT_FALSE(checked(name)) << name;
  }
  EXPECT_TRUE(checked(obIncremental));
  EXPECT_TRUE(checked(cbOutputFile));
  EXPECT_FALSE(get(Label1).isVisible());
  EXPECT_EQ(status_lines(), std::vector<std::string>{});
}

TEST_F(MainWindow, LabelsGroupStartsSwitchedOff) {
  open();
  expect_labels_group(false);
}

TEST_F(MainWindow, PasswordShowsStars) {
  open();
  auto& box = get<QLineEdit>(txtSQLPassword);
  box.setText("secret");
  EXPECT_EQ(box.displayText(), "******");
}

TEST_F(MainWindow, CheckBoxesSwitchTheirCompanionsAndKeepTheirTexts) {
  open();
  struct Companions {
    ControlName check_box;
    ControlName first;
    ControlName second;
  };
  for (const auto& [check_box, first, second] :
       {Companions{cbAltDWServer, txtDatawarehouseServer, cmdBrowseDWServer},
        Companions{cbAltOLAPDatabase, txtOLAPDatabase, cmdBrowseOLAPDatabase},
        Companions{cbReplacePattern, txtReplacePatternFrom, txtReplacePatternTo}}) {
    get<QLineEdit>(first).setText("kept");
    click(check_box);
    EXPECT_TRUE(checked(check_box)) << check_box;
    EXPECT_TRUE(enabled(first)) << check_box;
    EXPECT_TRUE(enabled(second)) << check_box;
    EXPECT_FALSE(greyed(first)) << check_box;
    click(check_box);
    EXPECT_FALSE(enabled(first)) << check_box;
    EXPECT_FALSE(enabled(second)) << check_box;
    EXPECT_TRUE(greyed(first)) << check_box;
    EXPECT_EQ(text(first), "kept");
  }
}

TEST_F(MainWindow, UncheckingOutputFileGreysItsBoxAndButtonOnly) {
  open();
  click(cbOutputFile);
  EXPECT_FALSE(enabled(txtOutputFile));
  EXPECT_TRUE(greyed(txtOutputFile));
  EXPECT_FALSE(enabled(cmdBrowseOutputFile));
  EXPECT_TRUE(enabled(cbOutputFileOpenOnError));
}

TEST_F(MainWindow, CheckBoxesWithoutCompanionsSwitchNothing) {
  open();
  click(cbOutputFileOpenOnError);
  click(cbImportCubePartitionDefs);
  EXPECT_TRUE(checked(cbOutputFileOpenOnError));
  EXPECT_TRUE(checked(cbImportCubePartitionDefs));
  EXPECT_TRUE(enabled(txtOutputFile));
  EXPECT_FALSE(enabled(cbDontUpdateLevels));
}

TEST_F(MainWindow, ImportModesExcludeEachOther) {
  open();
  click(obReplace);
  EXPECT_TRUE(checked(obReplace));
  EXPECT_FALSE(checked(obIncremental));
}

TEST_F(MainWindow, LeavingTheDocumentBoxWithAKciNameSwitchesTheLabelsGroupOn) {
  open();
  fill(txtKCDFilename, "a.KCI");
  expect_labels_group(true);
  EXPECT_TRUE(checked(optSQLLogin));
  EXPECT_FALSE(checked(optSecureLogin));
}

TEST_F(MainWindow, LeavingItWithAKcdNameSwitchesTheLabelsGroupOffAndKeepsTheLogin) {
  open();
  fill(txtKCDFilename, "a.kci");
  click(optSecureLogin);
  fill(txtKCDFilename, "a.kcd");
  expect_labels_group(false);
  EXPECT_TRUE(checked(optSecureLogin));
}

TEST_F(MainWindow, LeavingItAgainWithAKciNameSelectsTheSqlLogin) {
  open();
  fill(txtKCDFilename, "a.kci");
  click(optSecureLogin);
  EXPECT_FALSE(enabled(txtSQLUsername));
  fill(txtKCDFilename, "b.kci");
  EXPECT_TRUE(checked(optSQLLogin));
  EXPECT_TRUE(enabled(txtSQLUsername));
}

TEST_F(MainWindow, LoginButtonsSwitchUserNameAndPassword) {
  open();
  fill(txtKCDFilename, "a.kci");
  click(optSecureLogin);
  for (const ControlName name : {lblSQLUsername, lblSQLPassword, txtSQLUsername, txtSQLPassword}) {
    EXPECT_FALSE(enabled(name)) << name;
  }
  EXPECT_TRUE(greyed(txtSQLUsername));
  EXPECT_TRUE(greyed(txtSQLPassword));
  click(optSQLLogin);
  for (const ControlName name : {lblSQLUsername, lblSQLPassword, txtSQLUsername, txtSQLPassword}) {
    EXPECT_TRUE(enabled(name)) << name;
  }
  EXPECT_FALSE(greyed(txtSQLUsername));
}

TEST_F(MainWindow, OutputFileIsNamedAfterTheDocument) {
  open();
  fill(txtKCDFilename, "a.kcd");
  EXPECT_EQ(text(txtOutputFile), "a_Out_20261115.txt");
}

TEST_F(MainWindow, DocumentNameOfFourCharactersLeavesTheOutputFileNameAlone) {
  open();
  fill(txtOutputFile, "mine.txt");
  fill(txtKCDFilename, ".kcd");
  EXPECT_EQ(text(txtOutputFile), "mine.txt");
}

TEST_F(MainWindow, LeavingTheDocumentBoxOverwritesATypedOutputFileName) {
  open();
  fill(txtOutputFile, "mine.txt");
  fill(txtKCDFilename, "b.kcd");
  EXPECT_EQ(text(txtOutputFile), "b_Out_20261115.txt");
}

TEST_F(MainWindow, SingleCompanyNameNeedsAFolderToSwitchThePattern) {
  open();
  fill(txtKCDFilename, "SalesSC.kcd");
  EXPECT_FALSE(checked(cbReplacePattern));
  click(cbReplacePattern);
  fill(txtKCDFilename, "Sales.kcd");
  EXPECT_TRUE(checked(cbReplacePattern));
}

TEST_F(MainWindow, SingleCompanyNameInAFolderSwitchesThePatternOn) {
  for (const char* name : {"C:\\SalesSC.kcd", "C:\\Salessc.kcd", "/cubes/SalesSC.kcd"}) {
    open();
    fill(txtKCDFilename, name);
    EXPECT_TRUE(checked(cbReplacePattern)) << name;
    EXPECT_TRUE(enabled(txtReplacePatternFrom)) << name;
    EXPECT_TRUE(enabled(txtReplacePatternTo)) << name;
  }
}

TEST_F(MainWindow, OtherNameInAFolderUndoesAManualChoice) {
  open();
  click(cbReplacePattern);
  fill(txtKCDFilename, "/cubes/Sales.kcd");
  EXPECT_FALSE(checked(cbReplacePattern));
  EXPECT_FALSE(enabled(txtReplacePatternFrom));
}

TEST_F(MainWindow, SwitchToAnotherWindowDoesNotLeaveTheDocumentBox) {
  open();
  type_into(txtKCDFilename, "a.kci");
  QWidget other;
  other.show();
  other.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&other, 20000));
  EXPECT_FALSE(enabled(txtServer));
  EXPECT_EQ(text(txtOutputFile), "");
  window->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window.get(), 20000));
  EXPECT_EQ(focused(), txtKCDFilename);
  press(Qt::Key_Tab);
  EXPECT_TRUE(enabled(txtServer));
}

TEST_F(MainWindow, PopupDoesNotLeaveTheDocumentBox) {
  open();
  type_into(txtKCDFilename, "a.kci");
  QFocusEvent popup(QEvent::FocusOut, Qt::PopupFocusReason);
  QCoreApplication::sendEvent(&get(txtKCDFilename), &popup);
  EXPECT_FALSE(enabled(txtServer));
}

TEST_F(MainWindow, DatabaseNameTakesLettersDigitsUnderlineAndBlank) {
  open();
  click(cbAltOLAPDatabase);
  type_into(txtOLAPDatabase, "Sa-l.e/s_1 ");
  EXPECT_EQ(text(txtOLAPDatabase), "Sales_1 ");
  QKeyEvent accented(QEvent::KeyPress, Qt::Key_Eacute, Qt::NoModifier, QChar(0xE9));
  QCoreApplication::sendEvent(QApplication::focusWidget(), &accented);
  EXPECT_EQ(text(txtOLAPDatabase), "Sales_1 ");
  press(Qt::Key_Backspace);
  EXPECT_EQ(text(txtOLAPDatabase), "Sales_1");
}

TEST_F(MainWindow, ComposedCharactersAreKeysOfTheDatabaseBoxToo) {
  open();
  click(cbAltOLAPDatabase);
  focus(txtOLAPDatabase);
  for (const char* composed : {"-", "a"}) {
    QInputMethodEvent event;
    event.setCommitString(composed);
    QCoreApplication::sendEvent(&get(txtOLAPDatabase), &event);
  }
  EXPECT_EQ(text(txtOLAPDatabase), "a");
}

TEST_F(MainWindow, PastedDatabaseNameIsNotChecked) {
  open();
  click(cbAltOLAPDatabase);
  focus(txtOLAPDatabase);
  QGuiApplication::clipboard()->setText("a-b.c");
  press(Qt::Key_V, Qt::ControlModifier);
  EXPECT_EQ(text(txtOLAPDatabase), "a-b.c");
}

TEST_F(MainWindow, PatternsLoseBlanksAtTheirEndsWhenLeft) {
  open();
  click(cbReplacePattern);
  fill(txtReplacePatternFrom, "  A B ");
  fill(txtReplacePatternTo, " C  ");
  EXPECT_EQ(text(txtReplacePatternFrom), "A B");
  EXPECT_EQ(text(txtReplacePatternTo), "C");
}

TEST_F(MainWindow, TabFollowsTheEye) {
  open();
  fill(txtKCDFilename, "a.kci");
  for (const ControlName name : {cbAltOLAPDatabase, cbAltDWServer, cbReplacePattern}) {
    click(name);
  }
  focus(txtKCDFilename);
  std::vector<std::string> order;
  for (int step = 0; step < 33; ++step) {
    order.push_back(focused());
    press(Qt::Key_Tab);
  }
  const std::vector<std::string> expected{"txtKCDFilename",
                                          "cmdBrowseKCD",
                                          "txtOLAPServer",
                                          "cmdBrowseOLAPServer",
                                          "cbAltOLAPDatabase",
                                          "txtOLAPDatabase",
                                          "cmdBrowseOLAPDatabase",
                                          "cbAltDWServer",
                                          "txtDatawarehouseServer",
                                          "cmdBrowseDWServer",
                                          "obIncremental",
                                          "cbReplacePattern",
                                          "txtReplacePatternFrom",
                                          "txtReplacePatternTo",
                                          "cbImportCubePartitionDefs",
                                          "cbOutputFile",
                                          "txtOutputFile",
                                          "cmdBrowseOutputFile",
                                          "cbOutputFileOpenOnError",
                                          "txtServer",
                                          "cmdServer",
                                          "optSQLLogin",
                                          "txtSQLUsername",
                                          "txtSQLPassword",
                                          "cmbDB",
                                          "cmbLanguage",
                                          "cmdImport",
                                          "cmdCancel",
                                          "lstStatus"};
  order.resize(expected.size());
  EXPECT_EQ(order, expected);
}

TEST_F(MainWindow, MnemonicsReachFieldsAndButtons) {
  open();
  press(Qt::Key_O, Qt::AltModifier);
  EXPECT_EQ(focused(), txtOLAPServer);
  press(Qt::Key_P, Qt::AltModifier);
  EXPECT_TRUE(wait_for([&] { return checked(cbReplacePattern); }));
  EXPECT_TRUE(enabled(txtReplacePatternTo));
}

TEST_F(MainWindow, EscapeCloses) {
  open();
  press(Qt::Key_Escape);
  EXPECT_FALSE(window->isVisible());
  EXPECT_TRUE(unloaded);
}

TEST_F(MainWindow, CancelCloses) {
  open();
  click(cmdCancel);
  EXPECT_FALSE(window->isVisible());
  EXPECT_TRUE(unloaded);
  EXPECT_EQ(window->exit_status(), 0);
}

TEST_F(MainWindow, DestroyingAnOpenWindowIsSafe) {
  open();
  type_into(txtKCDFilename, "a.kci");
  window.reset();
  EXPECT_FALSE(unloaded);
}

}  // namespace
}  // namespace importkcd::testing
