#include "frontend/window/status_list.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTest>
#include <QToolTip>

#include "frontend/window/status_list_painting.h"
#include "frontend/window/window_controls.h"
#include "tests/frontend/window/window_fixture.h"

namespace importkcd::testing {
namespace {

class StatusListTest : public ::testing::Test {
 protected:
  StatusListTest() {
    list.resize(200, 100);
    list.show();
    static_cast<void>(QTest::qWaitForWindowActive(&list, 20000));
  }
  void add(int count) {
    for (int line = 0; line < count; ++line) {
      list.add_line(QString::number(line));
    }
    list.show_added_lines();
  }
  QStringList selected() {
    QStringList texts;
    for (const QModelIndex& index : list.selectionModel()->selectedRows()) {
      texts.append(index.data().toString());
    }
    texts.sort();
    return texts;
  }
  QPoint middle_of(int row) {
    return list.visualRect(list.model()->index(row, 0))
        .intersected(list.viewport()->rect())
        .center();
  }
  void show_tool_tip_of(int row) {
    QHelpEvent event(QEvent::ToolTip, middle_of(row), list.viewport()->mapToGlobal(middle_of(row)));
    QCoreApplication::sendEvent(list.viewport(), &event);
  }
  int current() { return list.currentIndex().row(); }

  StatusList list{nullptr};
};

TEST_F(StatusListTest, LastLineIsSelectedAndSeen) {
  add(50);
  EXPECT_EQ(current(), 49);
  EXPECT_TRUE(list.selectionModel()->isSelected(list.currentIndex()));
  EXPECT_EQ(list.selectionModel()->selectedIndexes().size(), 1);
  EXPECT_TRUE(list.viewport()->rect().contains(list.visualRect(list.currentIndex())));
  EXPECT_EQ(list.currentIndex().data().toString(), "49");
}

TEST_F(StatusListTest, KeysMoveTheSelection) {
  add(50);
  QTest::keyClick(&list, Qt::Key_Up);
  EXPECT_EQ(current(), 48);
  QTest::keyClick(&list, Qt::Key_Home);
  EXPECT_EQ(current(), 0);
  EXPECT_EQ(list.verticalScrollBar()->value(), 0);
  QTest::keyClick(&list, Qt::Key_PageDown);
  EXPECT_GT(current(), 0);
  QTest::keyClick(&list, Qt::Key_End);
  QTest::keyClick(&list, Qt::Key_Down);
  EXPECT_EQ(current(), 49);
}

TEST_F(StatusListTest, MouseSelectsALine) {
  add(50);
  QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, {10, 1});
  EXPECT_LT(current(), 49);
  EXPECT_TRUE(list.selectionModel()->isSelected(list.currentIndex()));
}

TEST_F(StatusListTest, EmptyListTakesKeysAndClicks) {
  QTest::keyClick(&list, Qt::Key_Down);
  QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, {10, 10});
  EXPECT_FALSE(list.currentIndex().isValid());
}

TEST_F(StatusListTest, ScrollsToTheRightAsFarAsItsExtent) {
  add(1);
  list.set_horizontal_extent(150);
  list.show_added_lines();
  EXPECT_EQ(list.horizontalScrollBar()->maximum(), 0);
  list.set_horizontal_extent(500);
  list.show_added_lines();
  EXPECT_EQ(list.horizontalScrollBar()->maximum(), 500 - list.viewport()->width());
  QTest::keyClick(&list, Qt::Key_Right);
  EXPECT_GT(list.horizontalScrollBar()->value(), 0);
}

TEST_F(StatusListTest, AddedLinesWaitForBeingShown) {
  add(50);
  list.add_line("later");
  EXPECT_EQ(list.model()->rowCount(), 51);
  EXPECT_EQ(current(), 49);
  list.show_added_lines();
  EXPECT_EQ(selected(), QStringList{"later"});
}

TEST_F(StatusListTest, ShowingNothingNewLeavesTheSelectionAlone) {
  add(3);
  list.setCurrentIndex(list.model()->index(0, 0));
  list.show_added_lines();
  EXPECT_EQ(current(), 0);
}

TEST_F(StatusListTest, ShiftSelectsSeveralLinesByKeysAndMouse) {
  add(4);
  QTest::keyClick(&list, Qt::Key_Up, Qt::ShiftModifier);
  QTest::keyClick(&list, Qt::Key_Up, Qt::ShiftModifier);
  EXPECT_EQ(selected(), (QStringList{"1", "2", "3"}));
  QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, middle_of(0));
  EXPECT_EQ(selected(), QStringList{"0"});
  QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::ShiftModifier, middle_of(2));
  EXPECT_EQ(selected(), (QStringList{"0", "1", "2"}));
}

TEST_F(StatusListTest, ALineThatComesWhileAKeyIsHeldDownIsSelectedAlone) {
  add(2);
  QTest::keyPress(&list, Qt::Key_Control, Qt::ControlModifier);
  add(1);
  QTest::keyRelease(&list, Qt::Key_Control);
  EXPECT_EQ(list.selectionModel()->selectedRows().size(), 1);
  EXPECT_EQ(current(), 2);
}

TEST_F(StatusListTest, CopiesTheSelectedLinesInTheirOrder) {
  add(4);
  QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, middle_of(3));
  QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::ControlModifier, middle_of(1));
  QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::ControlModifier, middle_of(0));
  QTest::keyClick(&list, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "0\n1\n3");
}

TEST_F(StatusListTest, SelectAllIsForCopying) {
  add(3);
  QTest::keyClick(&list, Qt::Key_A, Qt::ControlModifier);
  QTest::keyClick(&list, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "0\n1\n2");
}

TEST_F(StatusListTest, ContextMenuSelectsAllAndCopiesWhileOthersGoOn) {
  add(2);
  for (const char* command : {"Select &All", "&Copy"}) {
    QContextMenuEvent event(QContextMenuEvent::Keyboard, middle_of(1),
                            list.viewport()->mapToGlobal(middle_of(1)));
    QCoreApplication::sendEvent(list.viewport(), &event);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    for (QAction* action : menu->actions()) {
      if (action->text() == command) {
        action->trigger();
      }
    }
    menu->close();
  }
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "0\n1");
}

TEST_F(StatusListTest, ToolTipShowsTheWholeOfALineThatIsCutOff) {
  list.add_line("short");
  const QString whole = "<b>" + QString(80, 'x');
  list.add_line(whole);
  list.show_added_lines();
  show_tool_tip_of(0);
  EXPECT_EQ(QToolTip::text(), "");
  show_tool_tip_of(1);
  EXPECT_EQ(QToolTip::text(), plain_tool_tip(whole));
  EXPECT_TRUE(QToolTip::text().contains("&lt;b&gt;"));
  QToolTip::hideText();
}

TEST_F(StatusListTest, PaintsTheLinesThatAreSeen) {
  add(100000);
  const QImage last = list.viewport()->grab().toImage();
  list.scrollTo(list.model()->index(0, 0), QAbstractItemView::EnsureVisible);
  const QImage first = list.viewport()->grab().toImage();
  EXPECT_NE(first, last);
}

/// Gives away how the list's lines look.
class LookOfList : public StatusList {
 public:
  LookOfList() : StatusList(nullptr) { resize(300, 200); }

  QImage painted() { return viewport()->grab().toImage(); }

  /// The same lines as Qt paints the items of a list.
  QImage painted_as_items() {
    QPixmap pixmap(viewport()->size());
    pixmap.fill(palette().color(QPalette::Base));
    QPainter painter(&pixmap);
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    for (int row = 0; row < model()->rowCount(); ++row) {
      const QModelIndex index = model()->index(row, 0);
      option.rect = visualRect(index);
      option.state.setFlag(QStyle::State_Selected, selectionModel()->isSelected(index));
      option.state.setFlag(QStyle::State_HasFocus, hasFocus() && index == currentIndex());
      QStyledItemDelegate().paint(&painter, option, index);
    }
    painter.end();
    return pixmap.toImage();
  }
};

TEST(StatusListLook, LinesLookLikeItems) {
  LookOfList list;
  for (const char* line :
       {"Creating cube 'Sales & Costs'", "", "  &two blanks before, three behind   ",
        "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D abc 123", "\xE4\xB8\xAD\xE6\x96\x87 \xF0\x9F\x93\x88",
        "A line that is so long that it certainly does not fit into a list that is this narrow",
        "Creating cube 'Sales'"}) {
    list.add_line(QString::fromUtf8(line));
  }
  list.show_added_lines();
  list.show();
  static_cast<void>(QTest::qWaitForWindowActive(&list, 20000));
  EXPECT_EQ(list.painted(), list.painted_as_items());
  list.setFocus();
  ASSERT_TRUE(list.hasFocus());
  EXPECT_EQ(list.painted(), list.painted_as_items()) << "with the focus";
  list.set_horizontal_extent(500);
  list.show_added_lines();
  list.horizontalScrollBar()->setValue(50);
  EXPECT_EQ(list.painted(), list.painted_as_items()) << "scrolled to the right";
  list.setLayoutDirection(Qt::RightToLeft);
  EXPECT_EQ(list.painted(), list.painted_as_items()) << "from right to left";
  list.setEnabled(false);
  EXPECT_EQ(list.painted(), list.painted_as_items()) << "disabled";
}

TEST(SteadyScrollBar, IsPaintedOnlyWhenItsSliderMoves) {
  SteadyScrollBar bar(Qt::Vertical, nullptr);
  bar.resize(16, 200);
  bar.setPageStep(100);
  bar.setRange(0, 1'000'000);
  bar.setValue(bar.maximum());
  bar.show();
  static_cast<void>(QTest::qWaitForWindowExposed(&bar, 20000));
  bar.grab();
  QCoreApplication::processEvents();
  Paintings paintings(bar);
  bar.setMaximum(1'000'010);
  bar.setValue(bar.maximum());
  QCoreApplication::sendPostedEvents(&bar, QEvent::UpdateRequest);
  EXPECT_EQ(paintings.count, 0);
  bar.setValue(bar.maximum() / 2);
  QCoreApplication::sendPostedEvents(&bar, QEvent::UpdateRequest);
  EXPECT_EQ(paintings.count, 1);
}

}  // namespace
}  // namespace importkcd::testing
