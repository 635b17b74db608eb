#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <QWidget>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/import_error.h"
#include "frontend/window/main_window.h"
#include "servers/memory/memory_server.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// Dialogs that answer at once with what the test put there, and keep what they were asked.
class AnsweringDialogs : public Dialogs {
 public:
  void show_message(QWidget* /*owner*/, const MessageBox& box) override {
    boxes.push_back(box);
    if (on_message) {
      on_message();
    }
  }
  void show_notice(QWidget* /*owner*/, const MessageBox& box) override { notices.push_back(box); }
  bool ask_yes_no(QWidget* /*owner*/, const MessageBox& box) override {
    questions.push_back(box);
    return yes;
  }
  std::string open_file(QWidget* /*owner*/, const OpenFileRequest& request) override {
    file_requests.push_back(request);
    return file;
  }
  std::string browse_for_computer(QWidget* /*owner*/, const std::string& title) override {
    computer_titles.push_back(title);
    return computer;
  }
  std::optional<std::string> pick_database(QWidget* owner, const std::string& server) override {
    picked_servers.push_back(server);
    cursor_while_picking = owner->cursor().shape();
    return database;
  }
  void start_viewer(const std::string& file_name) override { viewed.push_back(file_name); }

  std::string file;
  std::string computer;
  std::optional<std::string> database;
  bool yes = false;
  std::function<void()> on_message;

  std::vector<MessageBox> boxes;
  std::vector<MessageBox> notices;
  std::vector<MessageBox> questions;
  std::vector<OpenFileRequest> file_requests;
  std::vector<std::string> computer_titles;
  std::vector<std::string> picked_servers;
  std::vector<std::string> viewed;
  Qt::CursorShape cursor_while_picking = Qt::ArrowCursor;
};

/// A labels server with two databases and two languages, which knows the label file "{G}" and the
/// label 1, "Verkoop".
class StubLabels : public LabelsConnection {
 public:
  using Table = std::vector<std::vector<std::string>>;

  class Rows : public LabelRows {
   public:
    explicit Rows(Table table) : table_(std::move(table)) {}
    bool next() override { return ++row_ <= table_.size(); }
    std::size_t column(std::string_view name) const override { return name == "Label" ? 1 : 0; }
    std::optional<std::string> text(std::size_t column) override {
      return table_[row_ - 1][column];
    }

   private:
    Table table_;
    std::size_t row_ = 0;
  };

  explicit StubLabels(int& open_connections) : open_connections_(open_connections) {
    ++open_connections_;
  }
  StubLabels(const StubLabels&) = delete;
  StubLabels& operator=(const StubLabels&) = delete;
  ~StubLabels() override { --open_connections_; }

  std::vector<std::string> catalogs() override { return {"labels", "master"}; }
  void use_database(const std::string& /*name*/) override {}
  std::unique_ptr<LabelRows> execute(const std::string& statement) override {
    if (statement.find("KCI_GUIDs") != std::string::npos) {
      return std::make_unique<Rows>(Table{{"{G}"}});
    }
    if (statement.find("LabelID") != std::string::npos) {
      return std::make_unique<Rows>(Table{{"1", "Verkoop"}});
    }
    return std::make_unique<Rows>(Table{{"Dutch"}, {"English"}});
  }

 private:
  int& open_connections_;
};

/// Counts how often a widget is painted.
class Paintings : public QObject {
 public:
  explicit Paintings(QWidget& widget) { widget.installEventFilter(this); }
  bool eventFilter(QObject* /*watched*/, QEvent* event) override {
    count += event->type() == QEvent::Paint ? 1 : 0;
    return false;
  }
  int count = 0;
};

/// A fresh main window over an in-memory server and a folder of its own. Controls are found by
/// their object names.
class WindowTest : public ::testing::Test {
 protected:
  WindowTest();
  ~WindowTest() override;

  /// Loads the window and shows it.
  void open(const std::string& command_line = "");
  /// The same without showing it.
  void load(const std::string& command_line = "");

  template <typename Kind = QWidget>
  Kind& get(ControlName name) {
    auto* found = window->findChild<QWidget*>(
        QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
    EXPECT_NE(found, nullptr) << name;
    return dynamic_cast<Kind&>(*found);
  }
  bool enabled(ControlName name) { return get(name).isEnabled(); }
  bool greyed(ControlName name);
  std::string text(ControlName name);
  bool checked(ControlName name);

  /// Clicks a control with the mouse, where people click it.
  void click(ControlName name);
  /// Types into whatever has the focus.
  static void type(const QString& text);
  static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
  /// Puts the focus into a box, replaces its text by typing, and stays there.
  void type_into(ControlName box, const QString& text);
  /// The same, and moves the focus on.
  void fill(ControlName box, const QString& text);
  void focus(ControlName name);
  /// The object name of the control that has the focus.
  static std::string focused();

  std::vector<std::string> status_lines();
  /// The databases on the in-memory server.
  std::vector<std::string> databases();
  /// Writes a document that imports and puts its name into the document box.
  std::string use_document(const std::string& name = "a.kcd");

  static bool wait_for(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, 20000);
  }

  TemporaryFolder folder;
  std::shared_ptr<MemoryStorage> store = make_memory_store();
  AnsweringDialogs dialogs;
  WindowServices services;
  std::unique_ptr<frmImportKCDMain> window;
  bool unloaded = false;
  /// Called when the importer opens its server, that is, in the middle of a run.
  std::function<void()> during_run;
  int servers_opened = 0;
  int labels_connections = 0;
  int open_labels_connections = 0;
  /// What the last connection to a labels server was asked for, and the pointer meanwhile.
  LabelsLogin labels_login;
  std::optional<Qt::CursorShape> pointer_while_connecting;
};

}  // namespace importkcd::testing
