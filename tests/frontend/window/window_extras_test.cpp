// What the window offers beside its controls: help, the search of the status list, marked errors,
// and how the last run went.

#include <QAccessible>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QTextBrowser>
#include <map>

#include "frontend/window/status_list.h"
#include "tests/frontend/window/window_fixture.h"

namespace importkcd::testing {
namespace {

using namespace control;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

class WindowExtras : public WindowTest {
 protected:
  QDialog* dialog(const char* name) { return window->findChild<QDialog*>(name); }
  std::string page(const char* name) {
    return dialog(name)->findChild<QTextBrowser*>()->toPlainText().toStdString();
  }
  void close(const char* name) {
    QTest::keyClick(dialog(name), Qt::Key_Escape);
    EXPECT_TRUE(wait_for([&] { return dialog(name) == nullptr; }));
  }

  StatusList& list() { return get<StatusList>(lstStatus); }
  void add_lines(const std::vector<std::string>& lines) {
    for (const auto& line : lines) {
      window->PutProgressMsg(line);
    }
    list().show_added_lines();
  }
  std::string current_line() { return list().currentIndex().data().toString().toStdString(); }
  bool is_searching() { return get("statusSearch").isVisible(); }
  std::string found() { return get<QLabel>("lblStatusSearch").text().toStdString(); }

  std::string summary() {
    const auto* label = window->findChild<QLabel*>("lblRunSummary");
    return label == nullptr || !label->isVisible() ? "" : label->text().toStdString();
  }
  void import(const QString& server) {
    use_document();
    fill(txtOLAPServer, server);
    services.computer_name = "here";
    click(cmdImport);
  }
  /// What a screen reader says of the last line.
  std::string announced() {
    QAccessibleInterface* lines = QAccessible::queryAccessibleInterface(&list());
    QAccessibleInterface* last = lines->child(lines->childCount() - 1);
    return last->text(QAccessible::Name).toStdString();
  }
};

TEST_F(WindowExtras, F1OpensTheHelpBesideTheWindow) {
  open();
  press(Qt::Key_F1);
  ASSERT_NE(dialog("dlgHelp"), nullptr);
  EXPECT_FALSE(dialog("dlgHelp")->isModal());
  for (const char* text : {"Incremental", "Ctrl+F", "kcd restore", "Alternate OLAP Database"}) {
    EXPECT_THAT(page("dlgHelp"), HasSubstr(text));
  }
  press(Qt::Key_F1);
  EXPECT_EQ(window->findChildren<QDialog*>().size(), 1);
  close("dlgHelp");
  EXPECT_TRUE(window->isVisible());
}

TEST_F(WindowExtras, AboutTellsVersionAndLicence) {
  open();
  press(Qt::Key_F1);
  for (auto* button : dialog("dlgHelp")->findChildren<QPushButton*>()) {
    if (button->text() == "&About") {
      QTest::mouseClick(button, Qt::LeftButton);
    }
  }
  ASSERT_NE(dialog("dlgAbout"), nullptr);
  std::string head;
  for (const auto* label : dialog("dlgAbout")->findChildren<QLabel*>()) {
    head += label->text().toStdString();
  }
  EXPECT_THAT(head, HasSubstr("ImportKCD " IMPORTKCD_VERSION "\n"));
  EXPECT_THAT(page("dlgAbout"), HasSubstr("Copyright (c) 2026 The ImportKCD authors"));
  EXPECT_THAT(page("dlgAbout"), HasSubstr("WITHOUT WARRANTY OF ANY KIND"));
}

TEST_F(WindowExtras, ShiftF1TellsVersionAndLicenceAtOnce) {
  open();
  press(Qt::Key_F1, Qt::ShiftModifier);
  EXPECT_NE(dialog("dlgAbout"), nullptr);
  EXPECT_EQ(dialog("dlgHelp"), nullptr);
  close("dlgAbout");
}

TEST_F(WindowExtras, CtrlFFindsLinesWithoutRegardToLetterCase) {
  open();
  add_lines({"Creating cube 'Sales'", "Creating role 'Clerk'", "Skipping CUBE 'Stock'", "Done"});
  EXPECT_FALSE(is_searching());
  press(Qt::Key_F, Qt::ControlModifier);
  EXPECT_TRUE(is_searching());
  EXPECT_EQ(focused(), "txtStatusSearch");
  type("cube");
  EXPECT_EQ(current_line(), "Creating cube 'Sales'");
  EXPECT_EQ(found(), "line 1 of 4");
  press(Qt::Key_F3);
  EXPECT_EQ(current_line(), "Skipping CUBE 'Stock'");
  press(Qt::Key_Return);
  EXPECT_EQ(current_line(), "Creating cube 'Sales'");
  press(Qt::Key_F3, Qt::ShiftModifier);
  EXPECT_EQ(current_line(), "Skipping CUBE 'Stock'");
  EXPECT_EQ(list().selectionModel()->selectedRows().size(), 1);
}

TEST_F(WindowExtras, ASearchThatFindsNothingSaysSoAndLeavesTheList) {
  open();
  press(Qt::Key_F, Qt::ControlModifier);
  type("x");
  EXPECT_EQ(found(), "not found");
  add_lines({"one", "two"});
  press(Qt::Key_Return);
  EXPECT_EQ(found(), "not found");
  EXPECT_EQ(current_line(), "two");
  EXPECT_EQ(get("txtStatusSearch").accessibleDescription(), "not found");
}

TEST_F(WindowExtras, EnterAndEscapeInTheSearchAreNoImportAndNoClose) {
  open();
  add_lines({"one"});
  press(Qt::Key_F, Qt::ControlModifier);
  type("one");
  press(Qt::Key_Return);
  EXPECT_EQ(servers_opened, 0);
  EXPECT_THAT(status_lines(), ElementsAre("one"));
  press(Qt::Key_Escape);
  EXPECT_FALSE(is_searching());
  EXPECT_EQ(focused(), "lstStatus");
  EXPECT_TRUE(window->isVisible());
  // F3 goes on without the box.
  press(Qt::Key_F3);
  EXPECT_FALSE(is_searching());
}

TEST_F(WindowExtras, ALineThatIsFoundIsSeen) {
  open();
  std::vector<std::string> lines(100, "line");
  lines[40] = "needle";
  add_lines(lines);
  press(Qt::Key_F, Qt::ControlModifier);
  type("needle");
  const QRect line = list().visualRect(list().currentIndex());
  EXPECT_EQ(current_line(), "needle");
  EXPECT_TRUE(list().viewport()->rect().contains(line.topLeft() + QPoint(1, 1)));
}

TEST_F(WindowExtras, ErrorsHaveAColourAnIconAndAnAnnouncement) {
  open();
  add_lines({"Start"});
  list().clearSelection();
  const auto reds = [&] {
    const QImage picture = list().viewport()->grab().toImage();
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
      for (int x = 0; x < picture.width(); ++x) {
        const QColor color = picture.pixelColor(x, y);
        count += color.red() > color.green() + 100 && color.red() > color.blue() + 100 ? 1 : 0;
      }
    }
    return count;
  };
  EXPECT_EQ(reds(), 0);
  EXPECT_EQ(announced(), "Start");
  add_lines({"Error : the server is gone", "Import not succeeded due to error", "no server"});
  list().clearSelection();
  EXPECT_GT(reds(), 100);
  EXPECT_EQ(announced(), "Error: no server");
  // The texts themselves stay as they are.
  EXPECT_THAT(status_lines(), ElementsAre("Start", "Error : the server is gone",
                                          "Import not succeeded due to error", "no server"));
}

TEST_F(WindowExtras, ARunIsSummedUpInTheCaptionsBand) {
  open();
  EXPECT_EQ(summary(), "");
  import("memory:");
  EXPECT_THAT(summary(), MatchesRegex("[0-9]+ messages, [0-9.]+ s"));
  EXPECT_EQ(list().accessibleDescription().toStdString(), summary());
  const auto* label = window->findChild<QLabel*>("lblRunSummary");
  const auto is_in_line_with_the_caption = [&] {
    const QRect lines = list().viewport()->geometry().translated(list().pos());
    return get(frmStatus).rect().contains(label->geometry()) &&
           !label->geometry().intersects(lines) &&
           label->height() >= label->fontMetrics().height() &&
           label->geometry().right() == list().geometry().right();
  };
  EXPECT_TRUE(is_in_line_with_the_caption());
  window->resize(window->width() + 100, window->height());
  EXPECT_TRUE(is_in_line_with_the_caption());
}

TEST_F(WindowExtras, NoControlMovesForThem) {
  open();
  std::map<QString, QRect> places;
  const auto note = [&] {
    std::map<QString, QRect> found;
    for (const auto* control : window->findChildren<QWidget*>()) {
      if (!control->objectName().isEmpty() && !control->isWindow() &&
          (control->parent() == window.get() || control->parent()->parent() == window.get())) {
        found[control->objectName()] = control->geometry();
      }
    }
    found.erase("lblRunSummary");
    found.erase("statusSearch");
    return found;
  };
  places = note();
  ASSERT_GT(places.size(), 30U);
  import("memory:");
  press(Qt::Key_F, Qt::ControlModifier);
  type("cube");
  press(Qt::Key_F1);
  EXPECT_EQ(note(), places);
}

}  // namespace
}  // namespace importkcd::testing
