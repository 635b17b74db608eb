// Adds status lines and ends.
//
//   status_lines window COUNT    to the main window, which paints them at the display's rate
//   status_lines view COUNT      to a list model that a plain list view shows, its events run after
//                                each; the view lays all lines out anew with each, a hundred at a
//                                time, and so paints far from every line
//   status_lines model COUNT     to a list model that nothing shows

#include <QApplication>
#include <QListView>
#include <QStringListModel>
#include <cstdlib>
#include <iostream>
#include <string>

#include "bench/unserved_window.h"
#include "frontend/window/headless.h"

namespace importkcd {
namespace {

std::string line_of(int number) { return "Creating cube 'Cube " + std::to_string(number) + "'"; }

void add_to_window(int line_count) {
  HeadlessDialogs dialogs(std::cerr);
  frmImportKCDMain window(dialogs, no_services());
  window.Form_Load("");
  window.show();
  QCoreApplication::processEvents();
  for (int line = 0; line < line_count; ++line) {
    window.PutProgressMsg(line_of(line));
  }
}

void add_to_model(QStringListModel& model, int line) {
  model.insertRow(line);
  model.setData(model.index(line), QString::fromStdString(line_of(line)));
}

void add_to_view(int line_count) {
  QStringListModel model;
  QListView view;
  view.setUniformItemSizes(true);
  view.setLayoutMode(QListView::Batched);
  view.setModel(&model);
  view.show();
  QCoreApplication::processEvents();
  for (int line = 0; line < line_count; ++line) {
    add_to_model(model, line);
    view.setCurrentIndex(model.index(line));
    QCoreApplication::sendPostedEvents(&view, QEvent::UpdateRequest);
    QCoreApplication::processEvents();
  }
}

void add_to_model_alone(int line_count) {
  QStringListModel model;
  for (int line = 0; line < line_count; ++line) {
    add_to_model(model, line);
  }
}

}  // namespace
}  // namespace importkcd

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  const std::string_view way = argc == 3 ? argv[1] : "";
  const int line_count = argc == 3 ? static_cast<int>(std::strtol(argv[2], nullptr, 10)) : 0;
  if (way == "window") {
    importkcd::add_to_window(line_count);
  } else if (way == "view") {
    importkcd::add_to_view(line_count);
  } else if (way == "model") {
    importkcd::add_to_model_alone(line_count);
  } else {
    std::cerr << "usage: status_lines window|view|model COUNT\n";
    return 2;
  }
  return 0;
}
