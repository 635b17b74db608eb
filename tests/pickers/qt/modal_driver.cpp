#include "tests/pickers/qt/modal_driver.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <utility>

namespace importkcd::testing {

ModalDriver::ModalDriver(Action action) : action_(std::move(action)) {
  QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { look(); });
  timer_.start(0);
}

void ModalDriver::look() {
  auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
  if (dialog == nullptr || !dialog->isVisible()) {
    return;
  }
  timer_.stop();
  acted_ = true;
  try {
    action_(*dialog);
  } catch (const std::exception& error) {
    ADD_FAILURE() << error.what();
  }
  if (dialog->isVisible()) {
    ADD_FAILURE() << "the dialog was left open";
    dialog->reject();
  }
}

std::vector<std::string> entries(const QListWidget& list) {
  std::vector<std::string> texts;
  texts.reserve(static_cast<std::size_t>(list.count()));
  for (int row = 0; row < list.count(); ++row) {
    texts.push_back(list.item(row)->text().toStdString());
  }
  return texts;
}

namespace {

QPoint middle_of_entry(QListWidget& list, int row) {
  return list.visualItemRect(list.item(row)).center();
}

}  // namespace

void click_entry(QListWidget& list, int row) {
  QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, middle_of_entry(list, row));
}

void double_click_entry(QListWidget& list, int row) {
  // A desktop sends the click before the double click.
  click_entry(list, row);
  QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, middle_of_entry(list, row));
}

}  // namespace importkcd::testing
