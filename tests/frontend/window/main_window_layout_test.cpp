#include <QFont>
#include <QPushButton>
#include <array>
#include <map>

#include "tests/frontend/window/window_fixture.h"

namespace importkcd::testing {
namespace {

using namespace control;

constexpr std::array fields{txtKCDFilename, txtOLAPServer, txtOLAPDatabase, txtDatawarehouseServer,
                            txtOutputFile};
constexpr std::array frames{frmImportFile, frmDestination, frmModification, frmImportOptions,
                            frmOutput};
constexpr std::array moving{cmdBrowseKCD,      cmdBrowseOLAPServer, cmdBrowseOLAPDatabase,
                            cmdBrowseDWServer, cmdBrowseOutputFile, cmdImport,
                            cmdCancel,         fraLabelsDB};

class WindowLayout : public WindowTest {
 protected:
  void SetUp() override {
    open();
    remember();
  }
  void remember() {
    before.clear();
    for (const auto* control : window->findChildren<QWidget*>()) {
      before[control] = control->geometry();
    }
  }
  QRect old(ControlName name) { return before.at(&get(name)); }
  void resize_by(int width, int height) {
    window->resize(window->width() + width, window->height() + height);
    QCoreApplication::processEvents();
  }
  void expect_nothing_moved() {
    for (const auto& [control, geometry] : before) {
      EXPECT_EQ(control->geometry(), geometry) << control->objectName().toStdString();
    }
  }

  std::map<const QWidget*, QRect> before;
};

TEST_F(WindowLayout, Widening600TwipsWidensFieldsAndFramesAndMovesButtons) {
  constexpr int pixels = 40;
  resize_by(pixels, 0);
  for (const ControlName name : fields) {
    EXPECT_EQ(get(name).width(), old(name).width() + pixels) << name;
  }
  for (const ControlName name : frames) {
    EXPECT_EQ(get(name).width(), old(name).width() + pixels) << name;
  }
  for (const ControlName name : moving) {
    EXPECT_EQ(get(name).x(), old(name).x() + pixels) << name;
    EXPECT_EQ(get(name).size(), old(name).size()) << name;
  }
  EXPECT_EQ(get(frmStatus).width(), old(frmStatus).width() + pixels);
  EXPECT_EQ(get(lstStatus).width(), get(frmStatus).width() - 9);
}

TEST_F(WindowLayout, HeighteningGivesTheSurplusToTheStatusList) {
  resize_by(0, 100);
  EXPECT_EQ(get(lstStatus).height(), old(lstStatus).height() + 100);
  EXPECT_EQ(get(frmStatus).height(), old(frmStatus).height() + 100);
  EXPECT_EQ(get(frmOutput).geometry(), old(frmOutput));
}

TEST_F(WindowLayout, StatusFrameIs250TwipsHigherThanItsList) {
  EXPECT_EQ(get(frmStatus).height(), get(lstStatus).height() + 17);
}

TEST_F(WindowLayout, WindowCannotBeMadeSmallerThanDesigned) {
  const QSize designed = window->size();
  resize_by(-20, -20);
  EXPECT_EQ(window->size(), designed);
  expect_nothing_moved();
}

TEST_F(WindowLayout, WindowWithoutItsMinimumSnapsBackWhenMade300TwipsNarrower) {
  click(cmdImport);
  ASSERT_EQ(window->minimumSize(), QSize(0, 0));
  const QSize designed = window->size();
  resize_by(-20, 0);
  EXPECT_EQ(window->size(), designed);
  resize_by(0, -20);
  EXPECT_EQ(window->size(), designed);
  expect_nothing_moved();
}

TEST_F(WindowLayout, WideningAndNarrowingComesBackToTheDesign) {
  resize_by(100, 100);
  resize_by(-100, -100);
  expect_nothing_moved();
}

TEST_F(WindowLayout, MinimisingChangesNoControl) {
  window->setWindowState(Qt::WindowMinimized);
  QCoreApplication::processEvents();
  expect_nothing_moved();
}

TEST_F(WindowLayout, FitsOnALaptopScreenAtFiveQuarters) {
  // 1366x768 at 125 % are 614 lines, less those of a panel and of the window's frame.
  EXPECT_LE(window->height(), 614 - 40 - 30);
  EXPECT_LE(window->width(), 1092);
}

std::string name_of(const QWidget& control) { return control.objectName().toStdString(); }

/// The width without which a control's text would be cut.
int needed_width(const QWidget& control) {
  if (const auto* button = qobject_cast<const QPushButton*>(&control)) {
    return button->fontMetrics().horizontalAdvance(button->text()) + 12;
  }
  return control.minimumSizeHint().width();
}

/// Every visible control stands within what holds it, and no two siblings overlap.
void expect_tidy(const QWidget& window, const std::string& about) {
  for (const auto* control : window.findChildren<QWidget*>()) {
    const bool is_control =
        control->parentWidget() == &window || control->parentWidget()->inherits("QGroupBox");
    if (!is_control || control->isHidden()) {
      continue;
    }
    EXPECT_TRUE(control->parentWidget()->rect().contains(control->geometry()))
        << about << name_of(*control);
    EXPECT_GE(control->width(), needed_width(*control)) << about << name_of(*control);
    EXPECT_GE(control->height(), control->minimumSizeHint().height()) << about << name_of(*control);
    for (const QObject* sibling : control->parentWidget()->children()) {
      const auto* other = qobject_cast<const QWidget*>(sibling);
      if (other != nullptr && other != control && !other->isHidden()) {
        EXPECT_FALSE(control->geometry().intersects(other->geometry()))
            << about << name_of(*control) << " and " << name_of(*other);
      }
    }
  }
}

TEST_F(WindowLayout, NothingIsClippedOrOverlapsWhateverTheFont) {
  const QFont usual = QApplication::font();
  for (const int points : {7, 10, 14, 20, 28, 32}) {
    QFont font = usual;
    font.setPointSize(points);
    QApplication::setFont(font);
    window.reset();
    open();
    const std::string about = std::to_string(points) + " points, ";
    EXPECT_LE(window->width() * 15, 32767) << about << "the width must be recordable";
    expect_tidy(*window, about);
    resize_by(200, 100);
    expect_tidy(*window, about + "widened, ");
  }
  QApplication::setFont(usual);
}

using GreyedBoxes = WindowTest;

TEST_F(GreyedBoxes, HaveTheBackgroundOfTheWindowAroundThem) {
  open();
  const auto background = [this](ControlName name) {
    return get(name).palette().color(QPalette::Active, QPalette::Base);
  };
  const QPalette palette = QGuiApplication::palette();
  EXPECT_EQ(background(txtOLAPDatabase), palette.color(QPalette::Active, QPalette::Window));
  click(cbAltOLAPDatabase);
  EXPECT_EQ(background(txtOLAPDatabase), palette.color(QPalette::Active, QPalette::Base));
}

TEST_F(GreyedBoxes, FollowAChangeOfTheColours) {
  open();
  const QPalette usual = QApplication::palette();
  QPalette dark = usual;
  dark.setColor(QPalette::All, QPalette::Window, QColor(10, 20, 30));
  QApplication::setPalette(dark);
  QCoreApplication::processEvents();
  EXPECT_EQ(get(txtOLAPDatabase).palette().color(QPalette::Active, QPalette::Base),
            QColor(10, 20, 30));
  EXPECT_NE(get(txtKCDFilename).palette().color(QPalette::Active, QPalette::Base),
            QColor(10, 20, 30));
  QApplication::setPalette(usual);
}

}  // namespace
}  // namespace importkcd::testing
