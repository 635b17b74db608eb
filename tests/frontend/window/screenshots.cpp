// Writes pictures of the main window and its dialogs: window_screenshots FOLDER SUFFIX

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QTest>
#include <QTimer>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <string>

#include "base/import_error.h"
#include "frontend/controls.h"
#include "frontend/window/main_window.h"
#include "frontend/window/qt_dialogs.h"
#include "servers/memory/memory_server.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

using namespace control;

class Photographer {
 public:
  Photographer(QString folder, QString suffix)
      : folder_(std::move(folder)), suffix_(std::move(suffix)) {}

  void take(QWidget& widget, const char* name) const {
    QCoreApplication::processEvents();
    const QString file = folder_ + "/" + name + suffix_ + ".png";
    if (!widget.grab().save(file)) {
      std::cerr << "cannot write " << file.toStdString() << '\n';
    }
  }

  /// Takes the dialog that `show` shows, and closes it.
  void take_dialog(const char* name, const std::function<void()>& show) const {
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [this, &timer, name] {
      QWidget* dialog = QApplication::activeModalWidget();
      if (dialog == nullptr) {
        return;
      }
      timer.stop();
      take(*dialog, name);
      dialog->close();
    });
    timer.start(300);
    show();
  }

 private:
  QString folder_;
  QString suffix_;
};

class Album {
 public:
  explicit Album(const Photographer& photographer) : photographer_(photographer) {
    services_.open_server = [this](std::string_view machine) -> std::unique_ptr<OlapServer> {
      if (machine == "nowhere") {
        throw ImportError("The machine 'nowhere' is not reachable", error_source::olap_server);
      }
      if (during_run_) {
        during_run_();
      }
      return make_memory_server(store_);
    };
    services_.open_labels = open_labels_connection;
    services_.computer_name = "harbour";
    services_.time_stamp = [] { return std::string("2026-11-15 12:00:00"); };
    services_.today = [] {
      using namespace std::chrono;
      return year_month_day(year(2026), month(11), day(15));
    };
  }

  void take_all() {
    window();
    greyed();
    run();
    dialogs();
  }

 private:
  std::unique_ptr<frmImportKCDMain> open(const std::string& command_line = "") {
    auto opened = std::make_unique<frmImportKCDMain>(dialogs_, services_);
    opened->Form_Load(command_line);
    opened->show();
    static_cast<void>(QTest::qWaitForWindowActive(opened.get()));
    return opened;
  }
  static QWidget& get(QWidget& window, ControlName name) {
    return *window.findChild<QWidget*>(
        QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
  }
  static void set(QWidget& window, ControlName box, const QString& text) {
    qobject_cast<QLineEdit*>(&get(window, box))->setText(text);
  }
  static void click(QWidget& window, ControlName button) {
    qobject_cast<QAbstractButton*>(&get(window, button))->click();
  }

  void window() {
    const auto opened = open();
    photographer_.take(*opened, "window-as-started");
    set(*opened, txtKCDFilename, "/home/ann/cubes/SalesSC.kci");
    set(*opened, txtOLAPDatabase, "Sales 2026");
    set(*opened, txtDatawarehouseServer, "warehouse");
    set(*opened, txtSQLUsername, "labels");
    set(*opened, txtSQLPassword, "secret");
    get(*opened, txtKCDFilename).setFocus();
    click(*opened, cbAltOLAPDatabase);
    click(*opened, cbAltDWServer);
    click(*opened, cbImportCubePartitionDefs);
    get(*opened, txtOLAPServer).setFocus();
    set(*opened, txtReplacePatternTo, "North");
    photographer_.take(*opened, "window-filled");
    opened->resize(opened->width() + 240, opened->height() + 120);
    photographer_.take(*opened, "window-widened");
  }

  void greyed() {
    const auto opened = open();
    click(*opened, cbOutputFile);
    click(*opened, cbAltOLAPDatabase);
    click(*opened, cbAltOLAPDatabase);
    photographer_.take(*opened, "window-greyed");
  }

  /// Takes what F1 shows, and closes it.
  void side_dialog(QWidget& window, const char* name, Qt::KeyboardModifiers keys,
                   const char* picture) const {
    static_cast<void>(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_F1, keys);
    auto* dialog = window.findChild<QDialog*>(name);
    photographer_.take(*dialog, picture);
    dialog->close();
    window.activateWindow();
  }

  void run() {
    std::ofstream("shop.kcd") << whole_document();
    const auto opened = open();
    set(*opened, txtOLAPServer, "memory:");
    get(*opened, txtKCDFilename).setFocus();
    set(*opened, txtKCDFilename, "shop.kcd");
    during_run_ = [&] { photographer_.take(*opened, "window-during-a-run"); };
    click(*opened, cmdImport);
    during_run_ = nullptr;
    photographer_.take(*opened, "window-after-a-run");
    QTest::keyClick(opened.get(), Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), "cube");
    photographer_.take(*opened, "window-searched");
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    side_dialog(*opened, "dlgHelp", {}, "dialog-help");
    side_dialog(*opened, "dlgAbout", Qt::ShiftModifier, "dialog-about");
    set(*opened, txtOLAPServer, "nowhere");
    click(*opened, cmdImport);
    photographer_.take(*opened, "window-after-a-failed-run");
  }

  void dialogs() {
    const auto opened = open();
    photographer_.take_dialog("dialog-field-error", [&] { click(*opened, cmdImport); });
    photographer_.take_dialog("dialog-open-document", [&] { click(*opened, cmdBrowseKCD); });
    photographer_.take_dialog("dialog-open-output-file",
                              [&] { click(*opened, cmdBrowseOutputFile); });
    photographer_.take_dialog("dialog-computers", [&] { click(*opened, cmdBrowseOLAPServer); });
    click(*opened, cbAltOLAPDatabase);
    set(*opened, txtOLAPServer, "memory:");
    photographer_.take_dialog("dialog-databases", [&] { click(*opened, cmdBrowseOLAPDatabase); });
    set(*opened, txtOLAPServer, "nowhere");
    photographer_.take_dialog("dialog-no-databases",
                              [&] { click(*opened, cmdBrowseOLAPDatabase); });
    photographer_.take_dialog("dialog-question", [&] {
      dialogs_.ask_yes_no(opened.get(),
                          {MessageIcon::exclamation, "Create KCD file",
                           "File /home/ann/cubes/sales.kcd already exists; overwrite ?"});
    });
  }

  const Photographer& photographer_;
  std::shared_ptr<MemoryStorage> store_ = make_memory_store();
  std::function<void()> during_run_;
  WindowServices services_;
  QtDialogs dialogs_{[this](std::string_view machine) { return services_.open_server(machine); }};
};

}  // namespace
}  // namespace importkcd::testing

int main(int argument_count, char** arguments) {
  if (argument_count < 2) {
    std::cerr << "usage: window_screenshots FOLDER [SUFFIX]\n";
    return 2;
  }
  const importkcd::testing::TemporaryFolder home;
  const std::string screen =
      home.write("screen.json", R"({"screens": [{"name": "one", "x": 0, "y": 0, "width": 2400,
                 "height": 1800, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
  qputenv("QT_QPA_PLATFORM", QByteArray("offscreen:configfile=") + screen.c_str());
  qputenv("XDG_RUNTIME_DIR", home.path().c_str());
  qputenv("XDG_DATA_HOME", home.path().c_str());
  qputenv("HOME", home.path().c_str());
  int program_name_only = 1;
  // The offscreen platform remarks on every dialog.
  qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
  const QApplication application(program_name_only, arguments);
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication::setFont(
      QFont(QStringLiteral("DejaVu Sans"), qEnvironmentVariableIntValue("SCREENSHOT_POINTS") > 0
                                               ? qEnvironmentVariableIntValue("SCREENSHOT_POINTS")
                                               : 10));
  const QString folder = QFileInfo(QString::fromUtf8(arguments[1])).absoluteFilePath();
  const QString suffix = argument_count > 2 ? QString::fromUtf8(arguments[2]) : QString();
  QDir().mkpath(folder);
  QDir::setCurrent(QString::fromStdString(home.path().string()));
  const importkcd::testing::Photographer photographer(folder, suffix);
  importkcd::testing::Album(photographer).take_all();
  return 0;
}
