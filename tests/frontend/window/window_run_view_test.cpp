#include "frontend/window/window_run_view.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>
#include <QListView>
#include <QScrollBar>
#include <QTest>
#include <array>

#include "frontend/window/window_controls.h"
#include "tests/frontend/window/window_fixture.h"

namespace importkcd::testing {
namespace {

using namespace control;

/// A view over the main window's controls without the main window. All check boxes and options are
/// off, and each text box holds its own name.
class RunViewTest : public ::testing::Test {
 protected:
  RunViewTest() {
    for (auto* button : window.findChildren<QAbstractButton*>()) {
      button->setAutoExclusive(false);
      button->setChecked(false);
    }
    for (auto* box : window.findChildren<QLineEdit*>()) {
      box->setText(box->objectName());
    }
    for (auto* list : window.findChildren<QComboBox*>()) {
      list->setEditText(list->objectName());
    }
  }
  void check(ControlName name) { controls.as<QAbstractButton>(name).setChecked(true); }
  QListView& list() { return controls.as<QListView>(lstStatus); }

  QWidget window;
  WindowControls controls = build_main_window_frames(window);
  DocumentBox document_box{controls, [] { return std::chrono::year_month_day{}; }};
  AnsweringDialogs dialogs;
  WindowRunView view{{window, controls, document_box, dialogs, [](bool) {}, {}}};
};

TEST_F(RunViewTest, EachTextReachesTheRunFromItsOwnBox) {
  const RunFields read = view.fields();
  EXPECT_EQ(read.kcd_filename, txtKCDFilename);
  EXPECT_EQ(read.olap_server, txtOLAPServer);
  EXPECT_EQ(read.olap_database, txtOLAPDatabase);
  EXPECT_EQ(read.datawarehouse_server, txtDatawarehouseServer);
  EXPECT_EQ(read.replace_pattern_from, txtReplacePatternFrom);
  EXPECT_EQ(read.replace_pattern_to, txtReplacePatternTo);
  EXPECT_EQ(read.output_file_name, txtOutputFile);
  EXPECT_EQ(read.labels_server, txtServer);
  EXPECT_EQ(read.sql_username, txtSQLUsername);
  EXPECT_EQ(read.labels_database, cmbDB);
  EXPECT_EQ(read.language, cmbLanguage);
}

TEST_F(RunViewTest, EachSwitchReachesTheRunFromItsOwnButton) {
  struct Switch {
    ControlName button;
    bool RunFields::*field;
  };
  constexpr std::array switches{
      Switch{cbAltOLAPDatabase, &RunFields::alt_olap_database},
      Switch{cbAltDWServer, &RunFields::alt_dw_server},
      Switch{cbReplacePattern, &RunFields::replace_pattern},
      Switch{cbImportCubePartitionDefs, &RunFields::import_cube_partition_defs},
      Switch{cbDontUpdateLevels, &RunFields::dont_update_levels},
      Switch{cbOutputFile, &RunFields::output_file},
      Switch{cbOutputFileOpenOnError, &RunFields::output_file_open_on_error},
      Switch{obIncremental, &RunFields::incremental},
      Switch{obReplace, &RunFields::replace},
      Switch{obUpdate, &RunFields::update},
      Switch{optSQLLogin, &RunFields::sql_login}};
  for (const Switch& on : switches) {
    check(on.button);
    const RunFields read = view.fields();
    for (const Switch& other : switches) {
      EXPECT_EQ(read.*other.field, other.button == on.button) << on.button << other.button;
    }
    EXPECT_EQ(view.output_file_checked(), on.button == cbOutputFile);
    controls.as<QAbstractButton>(on.button).setChecked(false);
  }
}

TEST_F(RunViewTest, LabelReferencesReachTheRunFromTheDocumentBox) {
  EXPECT_FALSE(view.fields().kci_input);
  document_box.KciInput = true;
  EXPECT_TRUE(view.fields().kci_input);
}

TEST_F(RunViewTest, ALabelsServerOfFilesAsksForNoUser) {
  check(optSQLLogin);
  controls.set_text(txtServer, "sqlite:/labels");
  EXPECT_FALSE(view.fields().sql_login);
}

TEST_F(RunViewTest, TextsAreMeasuredInTwips) {
  const int pixels = window.fontMetrics().horizontalAdvance("  Creating cube");
  EXPECT_EQ(view.text_width("  Creating cube"), pixels * 15);
  EXPECT_EQ(view.twips_per_pixel(), 15);
}

TEST_F(RunViewTest, TheListScrollsAsFarAsTheExtentFromTheNextRepaintOn) {
  list().resize(100, 100);
  window.show();
  view.add_status_line("line", LineKind::message);
  view.set_status_extent(700);
  view.repaint_now();
  EXPECT_EQ(list().horizontalScrollBar()->maximum(), 700 - list().viewport()->width());
}

/// The same on a screen.
class ShownRunViewTest : public RunViewTest {
 protected:
  ShownRunViewTest() {
    window.resize(500, 400);
    controls.widget(frmStatus).setGeometry(0, 0, 400, 300);
    list().setGeometry(0, 20, 380, 250);
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window, 20000));
  }
  void add(const std::string& line) {
    view.add_status_line(line, LineKind::message);
    view.repaint();
  }
  std::string selected() { return list().currentIndex().data().toString().toStdString(); }
};

TEST_F(ShownRunViewTest, ManyLinesAreFarFewerPaintings) {
  const Paintings paintings(*list().viewport());
  constexpr int lines = 5000;
  for (int line = 0; line < lines; ++line) {
    add("line");
    view.process_pending_events();
  }
  EXPECT_EQ(list().model()->rowCount(), lines);
  EXPECT_GE(paintings.count, 1);
  EXPECT_LT(paintings.count, lines / 2);
}

TEST_F(ShownRunViewTest, TheLastLineOfManyIsPaintedAMomentLater) {
  add("first");
  add("second");
  Paintings paintings(*list().viewport());
  EXPECT_TRUE(QTest::qWaitFor([&] { return selected() == "second"; }, 20000));
  EXPECT_TRUE(QTest::qWaitFor([&] { return paintings.count > 0; }, 20000));
}

TEST_F(ShownRunViewTest, ARepaintAtOncePaintsWhatIsWaiting) {
  add("first");
  add("second");
  const Paintings paintings(*list().viewport());
  view.repaint_now();
  EXPECT_EQ(selected(), "second");
  EXPECT_EQ(paintings.count, 1);
}

TEST_F(ShownRunViewTest, WhatIsPaintedIsTheLastLine) {
  view.repaint_now();
  const QImage empty = list().viewport()->grab().toImage();
  view.add_status_line("a line", LineKind::message);
  view.repaint_now();
  EXPECT_NE(list().viewport()->grab().toImage(), empty);
}

}  // namespace
}  // namespace importkcd::testing
