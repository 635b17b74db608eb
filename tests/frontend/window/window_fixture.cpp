#include "tests/frontend/window/window_fixture.h"

#include <QAbstractButton>
#include <QCursor>
#include <QListView>
#include <QStyle>
#include <QStyleOptionButton>

#include "frontend/window/window_controls.h"

namespace importkcd::testing {

using namespace control;

WindowTest::WindowTest() {
  services.open_server = [this](std::string_view machine) -> std::unique_ptr<OlapServer> {
    ++servers_opened;
    if (during_run) {
      during_run();
    }
    if (machine != "memory:") {
      throw ImportError("no such server", error_source::olap_server);
    }
    return make_memory_server(store);
  };
  services.open_labels = [this](const LabelsLogin& login) -> std::unique_ptr<LabelsConnection> {
    ++labels_connections;
    labels_login = login;
    const QCursor* pointer = QApplication::overrideCursor();
    pointer_while_connecting = pointer == nullptr ? Qt::ArrowCursor : pointer->shape();
    if (login.server != "labels") {
      throw ImportError("no such server", error_source::labels_database);
    }
    return std::make_unique<StubLabels>(open_labels_connections);
  };
  services.computer_name = "HERE";
  services.time_stamp = [] { return std::string("NOW"); };
  services.today = [] {
    using namespace std::chrono;
    return year_month_day(year(2026), month(11), day(15));
  };
}

WindowTest::~WindowTest() = default;

void WindowTest::load(const std::string& command_line) {
  window = std::make_unique<frmImportKCDMain>(dialogs, services);
  window->unloaded = [this] { unloaded = true; };
  window->Form_Load(command_line);
}

void WindowTest::open(const std::string& command_line) {
  load(command_line);
  window->show();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window.get(), 20000));
}

bool WindowTest::greyed(ControlName name) { return is_greyed(get(name)); }

std::string WindowTest::text(ControlName name) {
  WindowControls controls;
  QWidget& widget = get(name);
  const QString object_name = widget.objectName();
  controls.add(name, widget);
  EXPECT_EQ(widget.objectName(), object_name);
  return controls.text(name);
}

bool WindowTest::checked(ControlName name) { return get<QAbstractButton>(name).isChecked(); }

void WindowTest::click(ControlName name) {
  QWidget& widget = get(name);
  // Check boxes and option buttons take clicks on their indicator and caption only.
  const bool at_left_end = widget.inherits("QCheckBox") || widget.inherits("QRadioButton");
  const QPoint place = at_left_end ? QPoint(8, widget.height() / 2) : widget.rect().center();
  QTest::mouseClick(&widget, Qt::LeftButton, Qt::NoModifier, place);
}

void WindowTest::type(const QString& text) { QTest::keyClicks(QApplication::focusWidget(), text); }

void WindowTest::press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
  QTest::keyClick(QApplication::focusWidget(), key, modifiers);
}

void WindowTest::focus(ControlName name) { get(name).setFocus(Qt::OtherFocusReason); }

void WindowTest::type_into(ControlName box, const QString& text) {
  focus(box);
  press(Qt::Key_A, Qt::ControlModifier);
  press(Qt::Key_Delete);
  type(text);
}

void WindowTest::fill(ControlName box, const QString& text) {
  type_into(box, text);
  press(Qt::Key_Tab);
}

std::string WindowTest::focused() {
  const QWidget* widget = QApplication::focusWidget();
  return widget == nullptr ? std::string() : widget->objectName().toStdString();
}

std::vector<std::string> WindowTest::status_lines() {
  std::vector<std::string> lines;
  const auto* model = get<QListView>(lstStatus).model();
  for (int row = 0; row < model->rowCount(); ++row) {
    lines.push_back(model->index(row, 0).data().toString().toStdString());
  }
  return lines;
}

std::vector<std::string> WindowTest::databases() {
  const auto server = make_memory_server(store);
  server->connect("memory:");
  std::vector<std::string> names;
  for (const auto& object : server->stored_objects()) {
    names.push_back(object.name);
  }
  return names;
}

std::string WindowTest::use_document(const std::string& name) {
  std::string path =
      folder.write(name, R"(<database version="1.0.1073" name="Sales" description="d"/>)");
  fill(txtKCDFilename, QString::fromStdString(path));
  return path;
}

}  // namespace importkcd::testing
