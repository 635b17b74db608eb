#include <QAbstractItemView>
#include <QComboBox>
#include <QDir>
#include <QDragEnterEvent>
#include <QHelpEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QToolTip>
#include <QUrl>

#include "frontend/window/document_box.h"
#include "tests/frontend/window/window_fixture.h"

namespace importkcd::testing {
namespace {

using namespace control;

TEST(LocalFileName, AddressesOfThisComputerBecomePaths) {
  EXPECT_EQ(local_file_name("file:///cubes/my%20sales.kcd"), "/cubes/my sales.kcd");
  EXPECT_EQ(local_file_name("file://localhost/cubes/a.kcd"), "/cubes/a.kcd");
  EXPECT_EQ(local_file_name("file://elsewhere/a.kcd"), "file://elsewhere/a.kcd");
  EXPECT_EQ(local_file_name("http://localhost/a.kcd"), "http://localhost/a.kcd");
}

TEST(LocalFileName, ATildeIsTheHomeFolder) {
  const std::string home = QDir::homePath().toStdString();
  EXPECT_EQ(local_file_name("~"), home);
  EXPECT_EQ(local_file_name("~/a.kcd"), home + "/a.kcd");
  EXPECT_EQ(local_file_name("~a.kcd"), "~a.kcd");
  EXPECT_EQ(local_file_name("/x/~/a.kcd"), "/x/~/a.kcd");
}

TEST(LocalFileName, OtherTextsStayAsTheyAre) {
  for (const char* text : {"", " a.kcd ", "C:\\cubes\\a.kcd", "50%20.kcd"}) {
    EXPECT_EQ(local_file_name(text), text);
  }
}

class WindowFiles : public WindowTest {
 protected:
  bool drop(QWidget& widget, const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    const QPoint place = widget.rect().center();
    QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&widget, &enter);
    if (!enter.isAccepted()) {
      return false;
    }
    QDropEvent dropped(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&widget, &dropped);
    return dropped.isAccepted();
  }
  QString tool_tip_shown_by(QWidget& widget) {
    QToolTip::hideText();
    QHelpEvent event(QEvent::ToolTip, QPoint(3, 3), widget.mapToGlobal(QPoint(3, 3)));
    QApplication::sendEvent(&widget, &event);
    QString text = QToolTip::text();
    QToolTip::hideText();
    return text;
  }
};

TEST_F(WindowFiles, AnAddressInTheDocumentBoxBecomesAPathWhenTheBoxIsLeft) {
  open();
  fill(txtKCDFilename, "file:///cubes/SalesSC.kci");
  EXPECT_EQ(text(txtKCDFilename), "/cubes/SalesSC.kci");
  EXPECT_EQ(text(txtOutputFile), "/cubes/SalesSC_Out_20261115.txt");
  EXPECT_TRUE(checked(cbReplacePattern));
  EXPECT_TRUE(enabled(txtServer));
}

TEST_F(WindowFiles, ATildeInTheOutputFileBoxBecomesTheHomeFolderWhenTheBoxIsLeft) {
  open();
  fill(txtOutputFile, "~/out.txt");
  EXPECT_EQ(text(txtOutputFile), QDir::homePath().toStdString() + "/out.txt");
}

TEST_F(WindowFiles, ADroppedFileFillsTheDocumentBoxWhichCountsAsLeft) {
  open();
  EXPECT_TRUE(drop(*window, {QUrl::fromLocalFile("/cubes/my Sales.kci")}));
  EXPECT_EQ(text(txtKCDFilename), "/cubes/my Sales.kci");
  EXPECT_EQ(text(txtOutputFile), "/cubes/my Sales_Out_20261115.txt");
  EXPECT_TRUE(enabled(txtServer));
}

TEST_F(WindowFiles, BoxesLeaveDroppedFilesToTheWindowAndTakeText) {
  open();
  EXPECT_TRUE(drop(get(txtOLAPServer), {QUrl::fromLocalFile("/cubes/a.kcd")}));
  EXPECT_EQ(text(txtOLAPServer), "HERE");
  EXPECT_EQ(text(txtKCDFilename), "/cubes/a.kcd");
  QMimeData data;
  data.setText("srv");
  QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&get(txtOLAPServer), &enter);
  EXPECT_TRUE(enter.isAccepted());
}

TEST_F(WindowFiles, OnlyASingleLocalFileMayBeDroppedAndOnlyWhileTheBoxIsOpen) {
  open();
  EXPECT_FALSE(drop(*window, {}));
  EXPECT_FALSE(drop(*window, {QUrl("http://x/a.kcd")}));
  EXPECT_FALSE(drop(*window, {QUrl::fromLocalFile("/a.kcd"), QUrl::fromLocalFile("/b.kcd")}));
  get(txtKCDFilename).setEnabled(false);
  EXPECT_FALSE(drop(*window, {QUrl::fromLocalFile("/a.kcd")}));
  EXPECT_EQ(text(txtKCDFilename), "");
}

TEST_F(WindowFiles, APathThatIsCutOffIsShownWholeAsToolTip) {
  open();
  auto& box = get<QLineEdit>(txtKCDFilename);
  box.setText("/a.kcd");
  EXPECT_EQ(tool_tip_shown_by(box), "Enter a KCD or KCI-filename to import here ...");
  const QString path = "/<i>" + QString(200, 'x') + "/a.kcd";
  box.setText(path);
  EXPECT_EQ(tool_tip_shown_by(box), plain_tool_tip(path));
}

TEST_F(WindowFiles, APasswordIsNoToolTip) {
  open();
  auto& box = get<QLineEdit>(txtSQLPassword);
  box.setText(QString(200, 'x'));
  EXPECT_EQ(tool_tip_shown_by(box), "");
}

TEST_F(WindowFiles, TheBoxesInsideOfListsHaveTheListsAccessibleNames) {
  open();
  EXPECT_EQ(get<QComboBox>(cmbDB).lineEdit()->accessibleName(), "Labels Database");
  EXPECT_EQ(get<QComboBox>(cmbLanguage).lineEdit()->accessibleName(), "Language");
  fill(txtKCDFilename, "a.kci");
  fill(txtServer, "labels");
  get<QComboBox>(cmbDB).showPopup();
  EXPECT_EQ(get<QComboBox>(cmbDB).view()->accessibleName(), "Labels Database");
  get<QComboBox>(cmbDB).hidePopup();
}

}  // namespace
}  // namespace importkcd::testing
