#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <filesystem>

#include "frontend/window/status_list_painting.h"
#include "tests/frontend/window/window_fixture.h"

namespace importkcd::testing {
namespace {

using namespace control;
using ::testing::Contains;
using ::testing::ElementsAre;

class WindowRun : public WindowTest {
 protected:
  void open_with_document() {
    open();
    document = use_document();
    fill(txtOLAPServer, "memory:");
  }
  std::string output_file() { return folder.file("a_Out_20261115.txt"); }

  std::string document;
};

TEST_F(WindowRun, ClickOnImportImportsTheDocument) {
  open_with_document();
  click(cmdImport);
  const auto lines = status_lines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.front(), "Start");
  EXPECT_EQ(lines.back(), "Import succeeded");
  EXPECT_THAT(databases(), ElementsAre("Sales"));
  EXPECT_EQ(get<QPushButton>(cmdCancel).text(), "&Close");
  EXPECT_EQ(get(cmdCancel).accessibleName(), "Close");
  EXPECT_TRUE(window->isVisible());
  EXPECT_EQ(window->exit_status(), 0);
}

TEST_F(WindowRun, StatusLinesGoIntoTheOutputFileWithTimeStamps) {
  open_with_document();
  click(cmdImport);
  std::string expected = " \r\n";
  for (const auto& line : status_lines()) {
    expected += "NOW " + line + "\r\n";
  }
  EXPECT_EQ(read_file(output_file()), expected);
}

TEST_F(WindowRun, TwoRunsAppendToTheOutputFileAndTheList) {
  open_with_document();
  click(cmdImport);
  const auto first = read_file(output_file());
  const auto lines = status_lines().size();
  click(cmdImport);
  EXPECT_TRUE(read_file(output_file()).starts_with(first + " \r\nNOW Start\r\n"));
  EXPECT_GT(status_lines().size(), lines);
}

TEST_F(WindowRun, ReturnInTheDocumentBoxLeavesItFirst) {
  open();
  fill(txtOLAPServer, "memory:");
  document = folder.write("a.kcd", R"(<database version="1.0.1073" name="S" description="d"/>)");
  type_into(txtKCDFilename, QString::fromStdString(document));
  press(Qt::Key_Return);
  EXPECT_EQ(text(txtOutputFile), output_file());
  EXPECT_EQ(status_lines().back(), "Import succeeded");
}

TEST_F(WindowRun, ReturnInTheDocumentBoxMakesTheRunALabelsRun) {
  open();
  fill(txtServer, "");
  type_into(txtKCDFilename, QString::fromStdString(folder.write("a.kci", "<database/>")));
  press(Qt::Key_Return);
  ASSERT_EQ(dialogs.boxes.size(), 1U);
  EXPECT_EQ(dialogs.boxes[0].text,
            "Labels SQL Username : The SQL Username for the Labels database is empty ! Please "
            "fill it...");
  EXPECT_EQ(focused(), txtSQLUsername);
}

TEST_F(WindowRun, MnemonicOfImportLeavesTheDocumentBoxFirst) {
  open();
  fill(txtOLAPServer, "memory:");
  document = folder.write("a.kcd", R"(<database version="1.0.1073" name="S" description="d"/>)");
  type_into(txtKCDFilename, QString::fromStdString(document));
  press(Qt::Key_I, Qt::AltModifier);
  // Two controls share the letter: the mode and the button.
  for (int presses = 0; presses < 3 && status_lines().empty(); ++presses) {
    press(Qt::Key_I, Qt::AltModifier);
    QTest::qWait(150);
  }
  EXPECT_EQ(text(txtOutputFile), output_file());
}

TEST_F(WindowRun, DocumentOfLabelReferencesIsConvertedWithTheChosenLabels) {
  open();
  fill(txtKCDFilename,
       QString::fromStdString(folder.write("b.kci",
                                           "<database guid='{G}' version='1.0.1073' name='$##1%' "
                                           "description='d'/>")));
  fill(txtOLAPServer, "memory:");
  fill(txtServer, "labels");
  fill(txtSQLUsername, "u");
  get<QComboBox>(cmbDB).showPopup();
  get<QComboBox>(cmbDB).hidePopup();
  get<QComboBox>(cmbLanguage).showPopup();
  get<QComboBox>(cmbLanguage).hidePopup();
  get<QComboBox>(cmbLanguage).setCurrentIndex(1);
  click(cmdImport);
  EXPECT_EQ(status_lines().back(), "Import succeeded");
  EXPECT_THAT(databases(), ElementsAre("Verkoop"));
  EXPECT_TRUE(std::filesystem::exists(folder.file("b.kcd")));
}

TEST_F(WindowRun, ReturnOnABrowseButtonPressesThatButton) {
  open();
  focus(cmdBrowseKCD);
  press(Qt::Key_Return);
  EXPECT_EQ(dialogs.file_requests.size(), 1U);
  EXPECT_EQ(dialogs.boxes.size(), 0U);
}

TEST_F(WindowRun, FailedChecksShowABoxAndMoveTheFocus) {
  open_with_document();
  const auto set = [this](ControlName box, const char* value) {
    get<QLineEdit>(box).setText(QString::fromUtf8(value));
  };
  const auto expect_failure = [this](const std::string& text, ControlName control) {
    const auto boxes = dialogs.boxes.size();
    click(cmdImport);
    ASSERT_EQ(dialogs.boxes.size(), boxes + 1) << text;
    EXPECT_EQ(dialogs.boxes.back(),
              (MessageBox{MessageIcon::exclamation, "ImportKCD commandline", text}));
    EXPECT_EQ(focused(), control) << text;
    EXPECT_EQ(status_lines().back(), "Error : " + text.substr(text.find(" : ") + 3));
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
  };
  set(txtOutputFile, " ");
  expect_failure("Output to File : Output Filename field is empty ! Please fill it...",
                 txtOutputFile);
  click(cbReplacePattern);
  expect_failure("Company Replace Pattern : To Pattern field is empty ! Please fill it...",
                 txtReplacePatternTo);
  set(txtReplacePatternFrom, "");
  expect_failure("Company Replace Pattern : From Pattern field is empty ! Please fill it...",
                 txtReplacePatternFrom);
  click(cbAltDWServer);
  expect_failure(
      "Alternate Datawarehouse Server : Alt. Datawarehouse Server field is empty ! Please fill "
      "it...",
      txtDatawarehouseServer);
  click(cbAltOLAPDatabase);
  expect_failure("Alternate OLAP Database : Alt. OLAP Database field is empty ! Please fill it...",
                 txtOLAPDatabase);
  set(txtOLAPServer, "  ");
  expect_failure("Microsoft OLAP Server : MS OLAP Server field is empty ! Please fill it...",
                 txtKCDFilename);
  fill(txtKCDFilename, "missing.kcd");
  expect_failure(
      "Cube Definition Document : Given KCD File does not exist ! Please select another...",
      txtKCDFilename);
  set(txtKCDFilename, "");
  expect_failure("Cube Definition Document : KCD Filename field is empty ! Please fill it...",
                 txtKCDFilename);
  EXPECT_EQ(servers_opened, 0);
}

TEST_F(WindowRun, HourglassShowsDuringTheRunOnly) {
  open_with_document();
  Qt::CursorShape shape = Qt::ArrowCursor;
  during_run = [&] { shape = QApplication::overrideCursor()->shape(); };
  click(cmdImport);
  EXPECT_EQ(shape, Qt::WaitCursor);
  EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(WindowRun, CancelDuringARunIsIgnored) {
  open_with_document();
  during_run = [&] { click(cmdCancel); };
  click(cmdImport);
  EXPECT_TRUE(window->isVisible());
  EXPECT_EQ(status_lines().back(), "Import succeeded");
}

TEST_F(WindowRun, EscapeDuringARunIsIgnored) {
  open_with_document();
  during_run = [&] { press(Qt::Key_Escape); };
  click(cmdImport);
  EXPECT_TRUE(window->isVisible());
}

TEST_F(WindowRun, ClosingTheWindowDuringARunWaitsForItsEnd) {
  open_with_document();
  bool visible_during_run = false;
  during_run = [&] {
    window->close();
    visible_during_run = window->isVisible() && !unloaded;
  };
  click(cmdImport);
  EXPECT_TRUE(visible_during_run);
  EXPECT_THAT(dialogs.notices,
              ElementsAre(MessageBox{MessageIcon::none, "ImportKCD",
                                     "The window closes when the run has ended."}));
  EXPECT_EQ(status_lines().back(), "Import succeeded");
  EXPECT_FALSE(window->isVisible());
  EXPECT_TRUE(unloaded);
}

TEST_F(WindowRun, SecondClickOnImportRunsWithinTheFirst) {
  open_with_document();
  during_run = [&] {
    during_run = nullptr;
    EXPECT_TRUE(enabled(cmdImport));
    click(cmdImport);
  };
  click(cmdImport);
  EXPECT_EQ(servers_opened, 2);
  EXPECT_EQ(status_lines().back(), "Import succeeded");
  EXPECT_TRUE(window->isVisible());
}

TEST_F(WindowRun, DoubleClickOnImportIsOneClick) {
  open_with_document();
  during_run = [&] {
    // As it comes from a desktop: the second press and its release, during the run.
    during_run = nullptr;
    QTest::mouseDClick(&get(cmdImport), Qt::LeftButton);
    QTest::mouseRelease(&get(cmdImport), Qt::LeftButton);
  };
  QTest::mouseClick(&get(cmdImport), Qt::LeftButton);
  EXPECT_EQ(servers_opened, 1);
}

/// As it comes while the key is held down.
void repeat_return() {
  QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r", true);
  QCoreApplication::sendEvent(QApplication::focusWidget(), &held);
}

TEST_F(WindowRun, ReturnThatIsHeldDownIsOneReturn) {
  for (const ControlName where : {txtKCDFilename, cmdImport, cmdBrowseKCD}) {
    open_with_document();
    servers_opened = 0;
    focus(where);
    during_run = repeat_return;
    press(Qt::Key_Return);
    repeat_return();
    EXPECT_EQ(servers_opened, where == cmdBrowseKCD ? 0 : 1) << where;
  }
  EXPECT_EQ(dialogs.file_requests.size(), 1U);
}

TEST_F(WindowRun, ReturnThatIsHeldDownTellsAnEmptyFieldOnce) {
  open();
  use_document();
  type_into(txtOLAPServer, "");
  press(Qt::Key_Return);
  ASSERT_EQ(dialogs.boxes.size(), 1U);
  ASSERT_NE(focused(), cmdImport);
  repeat_return();
  EXPECT_EQ(dialogs.boxes.size(), 1U);
}

TEST_F(WindowRun, PointerIsTheDefaultOneAfterAConversionThatFailed) {
  open();
  fill(txtKCDFilename, QString::fromStdString(folder.write("b.kci", "<database guid='{G}'/>")));
  fill(txtOLAPServer, "memory:");
  fill(txtServer, "labels");
  fill(txtSQLUsername, "u");
  get<QComboBox>(cmbDB).setEditText("labels");
  get<QComboBox>(cmbLanguage).setEditText("Dutch");
  folder.write("b.kci", "no document");
  click(cmdImport);
  EXPECT_EQ(status_lines().back(), "Error during checking and converting the KCI-file");
  EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(WindowRun, ClosingUnhooksTheWindowAndClosesTheLabelsConnection) {
  open();
  fill(txtKCDFilename, "a.kci");
  fill(txtServer, "labels");
  get<QComboBox>(cmbDB).showPopup();
  get<QComboBox>(cmbDB).hidePopup();
  ASSERT_EQ(open_labels_connections, 1);
  ASSERT_NE(window->minimumSize(), QSize(0, 0));
  window->close();
  EXPECT_EQ(open_labels_connections, 0);
  EXPECT_EQ(window->minimumSize(), QSize(0, 0));
  EXPECT_EQ(window->maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
}

TEST_F(WindowRun, TheMaximumIsTheWindowsOwnScreen) {
  open();
  EXPECT_EQ(window->maximumSize(), window->screen()->size());
}

TEST_F(WindowRun, LinesThatWereAddedAreSeenWhenTheServerIsOpened) {
  open_with_document();
  QString seen;
  during_run = [&] { seen = get<QListView>(lstStatus).currentIndex().data().toString(); };
  click(cmdImport);
  EXPECT_EQ(seen, "Opening DSO server on machine 'memory:'");
  EXPECT_EQ(get<QListView>(lstStatus).currentIndex().data().toString(), "Import succeeded");
}

TEST_F(WindowRun, TheListScrollsAsFarAsItsLastLineIsWide) {
  open_with_document();
  fill(txtOLAPServer, QString(300, 'm'));
  click(cmdImport);
  const auto& list = get<QListView>(lstStatus);
  const QString last = QString::fromStdString(status_lines().back());
  EXPECT_EQ(list.horizontalScrollBar()->maximum(),
            window->fontMetrics().horizontalAdvance("  " + last) + error_icon_width(list) -
                list.viewport()->width());
}

TEST_F(WindowRun, CloseButtonClosesAfterARun) {
  open_with_document();
  click(cmdImport);
  click(cmdCancel);
  EXPECT_TRUE(unloaded);
}

TEST_F(WindowRun, FailedRunStartsTheViewerWhenAskedEvenWithoutOutputFile) {
  open_with_document();
  fill(txtOLAPServer, "elsewhere");
  click(cbOutputFileOpenOnError);
  click(cbOutputFile);
  click(cmdImport);
  EXPECT_THAT(status_lines(), Contains("Import not succeeded due to error"));
  EXPECT_THAT(dialogs.viewed, ElementsAre(output_file()));
  EXPECT_FALSE(std::filesystem::exists(output_file()));
}

TEST_F(WindowRun, FailedRunStartsNoViewerUnasked) {
  open_with_document();
  fill(txtOLAPServer, "elsewhere");
  click(cmdImport);
  EXPECT_TRUE(dialogs.viewed.empty());
}

TEST_F(WindowRun, OutputFileThatCannotBeOpenedIsReportedInABox) {
  open_with_document();
  fill(txtOutputFile, QString::fromStdString(folder.path().string()));
  click(cmdImport);
  ASSERT_EQ(dialogs.boxes.size(), 1U);
  EXPECT_EQ(dialogs.boxes[0], (MessageBox{MessageIcon::none, "ImportKCD",
                                          "Unable to write to file '" + folder.path().string() +
                                              "'\r\nIs a directory"}));
  EXPECT_TRUE(status_lines().empty());
}

TEST_F(WindowRun, MinimumSizeIsGivenUpDuringARunAndComesBack) {
  open_with_document();
  EXPECT_EQ(window->minimumSize(), window->size());
  QSize during(-1, -1);
  during_run = [&] { during = window->minimumSize(); };
  click(cmdImport);
  EXPECT_EQ(during, QSize(0, 0));
  EXPECT_EQ(window->minimumSize(), window->size());
}

TEST_F(WindowRun, FailedCheckLeavesTheWindowWithoutItsMinimumSize) {
  open();
  click(cmdImport);
  EXPECT_EQ(window->minimumSize(), QSize(0, 0));
}

TEST_F(WindowRun, WindowMadeSmallerDuringARunSnapsBack) {
  open_with_document();
  const QSize designed = window->size();
  during_run = [&] { window->resize(designed - QSize(20, 20)); };
  click(cmdImport);
  EXPECT_EQ(window->size(), designed);
}

TEST_F(WindowRun, WindowMayBeDestroyedAfterARun) {
  open_with_document();
  click(cmdImport);
  window.reset();
  EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

}  // namespace
}  // namespace importkcd::testing
