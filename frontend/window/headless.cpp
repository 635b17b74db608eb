#include "frontend/window/headless.h"

#include <QGuiApplication>
#include <iostream>
#include <ostream>

#include "base/text.h"

namespace importkcd {
namespace {

constexpr const char* platform_variable = "QT_QPA_PLATFORM";
bool platform_was_chosen = false;

/// Keeps Qt's remarks about a missing desktop off standard error, which is for messages.
void drop_remarks_of_qt() {
  qInstallMessageHandler(
      [](QtMsgType type, const QMessageLogContext& /*context*/, const QString& message) {
        if (type == QtCriticalMsg || type == QtFatalMsg) {
          std::cerr << message.toStdString() << '\n' << std::flush;
        }
      });
}

}  // namespace

void choose_platform() {
  if (!qEnvironmentVariableIsEmpty(platform_variable)) {
    return;
  }
  QByteArray platforms = "offscreen";
  if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
    platforms.prepend("wayland;");
  }
  if (!qEnvironmentVariableIsEmpty("DISPLAY")) {
    platforms.prepend("xcb;");
  }
  platform_was_chosen = qputenv(platform_variable, platforms);
  if (platforms == "offscreen") {
    drop_remarks_of_qt();
  }
}

bool is_headless() {
  if (platform_was_chosen) {
    qunsetenv(platform_variable);
  }
  const QString platform = QGuiApplication::platformName();
  const bool headless =
      platform == QLatin1String("offscreen") || platform == QLatin1String("minimal");
  if (headless) {
    drop_remarks_of_qt();
  }
  return headless;
}

void HeadlessDialogs::show_message(QWidget* /*owner*/, const MessageBox& box) {
  errors_ << message_line(box) << '\n' << std::flush;
}

void HeadlessDialogs::show_notice(QWidget* owner, const MessageBox& box) {
  show_message(owner, box);
}

bool HeadlessDialogs::ask_yes_no(QWidget* /*owner*/, const MessageBox& box) {
  // The program asks one question only: whether a document may be overwritten.
  errors_ << message_line(box)
          << " (answered with No; 'kcd convert --overwrite' replaces the file)\n"
          << std::flush;
  return false;
}

std::string HeadlessDialogs::open_file(QWidget* /*owner*/, const OpenFileRequest& /*request*/) {
  return {};
}

std::string HeadlessDialogs::browse_for_computer(QWidget* /*owner*/, const std::string& /*title*/) {
  return {};
}

std::optional<std::string> HeadlessDialogs::pick_database(QWidget* /*owner*/,
                                                          const std::string& /*server*/) {
  return std::nullopt;
}

void HeadlessDialogs::start_viewer(const std::string& /*file_name*/) {}

std::string message_line(const MessageBox& box) {
  std::string text = box.text + (box.detail.empty() ? "" : " (" + box.detail + ")");
  // A pair of carriage return and line feed is one blank.
  std::erase(text, '\r');
  return printable(box.title + ": " + text);
}

}  // namespace importkcd
