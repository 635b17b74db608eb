#include "frontend/window/qt_dialogs.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QUrl>
#include <functional>

#include "base/import_error.h"
#include "servers/memory/memory_server.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {
namespace {

class QtDialogsTest : public ::testing::Test {
 protected:
  /// Plays the person in front of the next dialog.
  void in_dialog(std::function<void(QWidget&)> act) {
    person = std::move(act);
    QObject::connect(&timer, &QTimer::timeout, [this] {
      if (QWidget* dialog = QApplication::activeModalWidget()) {
        timer.stop();
        person(*dialog);
      }
    });
    timer.start(10);
  }

  QTimer timer;
  std::function<void(QWidget&)> person;
  QtDialogs dialogs{[](std::string_view machine) -> std::unique_ptr<OlapServer> {
    if (machine != "memory:") {
      throw ImportError("no such server", error_source::olap_server);
    }
    return make_memory_server();
  }};
};

TEST_F(QtDialogsTest, MessageBoxShowsPlainTextAndOneButton) {
  QMessageBox::Icon icon = QMessageBox::NoIcon;
  QString text;
  QString title;
  qsizetype buttons = 0;
  Qt::CursorShape pointer = Qt::WaitCursor;
  QApplication::setOverrideCursor(Qt::WaitCursor);
  in_dialog([&](QWidget& dialog) {
    auto& box = dynamic_cast<QMessageBox&>(dialog);
    icon = box.icon();
    text = box.text();
    title = box.windowTitle();
    buttons = box.buttons().size();
    pointer = QApplication::overrideCursor()->shape();
    EXPECT_EQ(box.textFormat(), Qt::PlainText);
    QTest::keyClick(&box, Qt::Key_Return);
  });
  dialogs.show_message(nullptr, {MessageIcon::exclamation, "T", "<b>a</b>\r\nb"});
  EXPECT_EQ(icon, QMessageBox::Warning);
  EXPECT_EQ(text, "<b>a</b>\nb");
  EXPECT_EQ(title, "T");
  EXPECT_EQ(buttons, 1);
  EXPECT_EQ(pointer, Qt::ArrowCursor);
  EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
  QApplication::restoreOverrideCursor();
}

TEST_F(QtDialogsTest, BoxesHaveTheirIcons) {
  for (const auto& [icon, shown] : {std::pair(MessageIcon::none, QMessageBox::NoIcon),
                                    std::pair(MessageIcon::exclamation, QMessageBox::Warning),
                                    std::pair(MessageIcon::critical, QMessageBox::Critical)}) {
    QMessageBox::Icon seen = QMessageBox::Question;
    in_dialog([&](QWidget& dialog) {
      seen = dynamic_cast<QMessageBox&>(dialog).icon();
      dialog.close();
    });
    dialogs.show_message(nullptr, {icon, "T", "x"});
    EXPECT_EQ(seen, shown);
  }
}

TEST_F(QtDialogsTest, DetailIsShownOnDemand) {
  QString detail;
  in_dialog([&](QWidget& dialog) {
    detail = dynamic_cast<QMessageBox&>(dialog).detailedText();
    dialog.close();
  });
  dialogs.show_message(nullptr, {MessageIcon::critical, "T", "x", "no such\r\nserver"});
  EXPECT_EQ(detail, "no such\nserver");
}

TEST_F(QtDialogsTest, NoticeWaitsForNobodyAndEndsWithItsOwner) {
  QPointer<QMessageBox> box;
  {
    QWidget owner;
    dialogs.show_notice(&owner, {MessageIcon::none, "T", "<b>x"});
    box = owner.findChild<QMessageBox*>();
    ASSERT_NE(box, nullptr);
    EXPECT_TRUE(box->isVisible());
    EXPECT_FALSE(box->isModal());
    EXPECT_EQ(box->text(), "<b>x");
    EXPECT_EQ(box->textFormat(), Qt::PlainText);
    box->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(box, nullptr) << "a closed notice is gone";
    dialogs.show_notice(&owner, {MessageIcon::none, "T", "x"});
    box = owner.findChild<QMessageBox*>();
    ASSERT_NE(box, nullptr);
  }
  EXPECT_EQ(box, nullptr);
}

TEST_F(QtDialogsTest, FileDialogLeavesNoHistory) {
  const TemporaryFolder folder;
  const QString file = QString::fromStdString(folder.write("a.kcd", ""));
  in_dialog([&](QWidget& dialog) {
    dialog.findChild<QLineEdit*>("fileNameEdit")->setText(file);
    QTest::keyClick(dialog.findChild<QLineEdit*>("fileNameEdit"), Qt::Key_Return);
  });
  EXPECT_EQ(dialogs.open_file(nullptr, {.title = "T",
                                        .filter = "Text (*.kcd)|*.kcd",
                                        .default_suffix = "kcd",
                                        .must_exist = true,
                                        .start = folder.file("b.kcd")}),
            file.toStdString());
  const QString settings = qEnvironmentVariable("XDG_CONFIG_HOME");
  ASSERT_FALSE(settings.isEmpty());
  EXPECT_FALSE(QFile::exists(settings + "/QtProject.conf"));
}

TEST_F(QtDialogsTest, ComputerBrowserGivesTheTypedName) {
  in_dialog([](QWidget& dialog) {
    EXPECT_EQ(dialog.windowTitle(), "Search your OLAP Server...");
    dialog.findChild<QLineEdit*>("txtComputer")->setText("SRV");
    dialog.findChild<QPushButton*>("cmdOk")->click();
  });
  EXPECT_EQ(dialogs.browse_for_computer(nullptr, "Search your OLAP Server..."), "SRV");
}

/// Takes the place of the desktop's viewer.
class Viewer : public QObject {
  Q_OBJECT
 public:
  Viewer() { QDesktopServices::setUrlHandler("file", this, "view"); }
  Viewer(const Viewer&) = delete;
  Viewer& operator=(const Viewer&) = delete;
  ~Viewer() override { QDesktopServices::unsetUrlHandler("file"); }
  QList<QUrl> viewed;
 public Q_SLOTS:  // NOLINT(readability-redundant-access-specifiers)
  void view(const QUrl& url) { viewed.append(url); }
};

TEST_F(QtDialogsTest, ViewerGetsAnAbsoluteName) {
  Viewer viewer;
  dialogs.start_viewer("out put.txt");
  EXPECT_EQ(viewer.viewed,
            QList<QUrl>{QUrl::fromLocalFile(QDir::current().filePath("out put.txt"))});
}

TEST_F(QtDialogsTest, QuestionIsAnsweredWithNoByReturnAndEscape) {
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
    in_dialog([&](QWidget& dialog) { QTest::keyClick(&dialog, key); });
    EXPECT_FALSE(dialogs.ask_yes_no(nullptr, {MessageIcon::exclamation, "T", "Q"}));
  }
}

TEST_F(QtDialogsTest, QuestionIsAnsweredWithYesByItsButton) {
  in_dialog([](QWidget& dialog) {
    dynamic_cast<QMessageBox&>(dialog).button(QMessageBox::Yes)->click();
  });
  EXPECT_TRUE(dialogs.ask_yes_no(nullptr, {MessageIcon::exclamation, "T", "Q"}));
}

TEST_F(QtDialogsTest, FileDialogHasTitleFilterAndSuffix) {
  const TemporaryFolder folder;
  const std::string file = folder.write("a.kcd", "");
  in_dialog([&](QWidget& widget) {
    auto& dialog = dynamic_cast<QFileDialog&>(widget);
    EXPECT_EQ(dialog.windowTitle(), "Select KCD File  ");
    EXPECT_EQ(dialog.defaultSuffix(), "kcd");
    EXPECT_EQ(dialog.nameFilters(),
              QStringList{"KCD Files (*.kcd), KCI Files (*.kci) (*.kcd *.kci)"});
    EXPECT_EQ(dialog.acceptMode(), QFileDialog::AcceptOpen);
    EXPECT_EQ(dialog.directory().absolutePath().toStdString(), folder.path().string());
    dialog.findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(file));
    QTest::keyClick(dialog.findChild<QLineEdit*>("fileNameEdit"), Qt::Key_Return);
  });
  EXPECT_EQ(dialogs.open_file(nullptr, {.title = "Select KCD File  ",
                                        .filter = "KCD Files (*.kcd), KCI Files (*.kci)|*.kcd; "
                                                  "*.kci",
                                        .default_suffix = "kcd",
                                        .must_exist = true,
                                        .start = folder.file("b.kcd")}),
            file);
}

TEST_F(QtDialogsTest, CancelledFileDialogGivesTheEmptyText) {
  in_dialog([](QWidget& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
  EXPECT_EQ(dialogs.open_file(nullptr, {.title = "T",
                                        .filter = "Text (*.txt)|*.txt",
                                        .default_suffix = "kcd",
                                        .must_exist = false,
                                        .start = ""}),
            "");
}

TEST_F(QtDialogsTest, DatabasePickerGivesNothingWhenCancelled) {
  in_dialog([](QWidget& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
  EXPECT_EQ(dialogs.pick_database(nullptr, "memory:"), std::nullopt);
}

TEST_F(QtDialogsTest, DatabasePickerGivesAnEmptyNameWithoutASelection) {
  in_dialog([](QWidget& dialog) { dialog.findChild<QPushButton*>("cmdOk")->click(); });
  EXPECT_EQ(dialogs.pick_database(nullptr, "memory:"), "");
}

TEST(QtNameFilter, PatternsStandInParentheses) {
  EXPECT_EQ(qt_name_filter("Text (*.txt)|*.txt"), "Text (*.txt) (*.txt)");
  EXPECT_EQ(qt_name_filter("All"), "All");
}

}  // namespace
}  // namespace importkcd::testing

#include "qt_dialogs_test.moc"
