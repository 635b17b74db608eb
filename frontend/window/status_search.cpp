#include "frontend/window/status_search.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>

#include "frontend/window/status_list.h"

namespace importkcd {

StatusSearch::StatusSearch(StatusList& list)
    : QFrame(&list), list_(list), text_(new QLineEdit(this)), found_(new QLabel(this)) {
  setObjectName(QStringLiteral("statusSearch"));
  setFrameShape(QFrame::StyledPanel);
  setAutoFillBackground(true);
  text_->setObjectName(QStringLiteral("txtStatusSearch"));
  text_->setAccessibleName(QStringLiteral("Find in status list"));
  text_->setPlaceholderText(QStringLiteral("Find in status list"));
  text_->setClearButtonEnabled(true);
  found_->setObjectName(QStringLiteral("lblStatusSearch"));
  found_->setTextFormat(Qt::PlainText);
  auto* close = new QToolButton(this);
  close->setText(QStringLiteral("\u00d7"));
  close->setAutoRaise(true);
  close->setAccessibleName(QStringLiteral("Close search"));
  close->setToolTip(QStringLiteral("Close search (Esc)"));
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(2, 0, 2, 0);
  row->addWidget(text_, 1);
  row->addWidget(found_);
  row->addWidget(close);
  connect(text_, &QLineEdit::textChanged, this, [this] { look_for_typed_text(); });
  connect(close, &QToolButton::clicked, this, [this] { close_box(); });
  text_->installEventFilter(this);
  list_.installEventFilter(this);
  hide();
}

void StatusSearch::open() {
  take_place();
  show();
  raise();
  text_->selectAll();
  text_->setFocus(Qt::ShortcutFocusReason);
}

void StatusSearch::go_on(int step) {
  if (text_->text().isEmpty()) {
    open();
    return;
  }
  find_from(list_.currentIndex().row() + step, step);
}

bool StatusSearch::eventFilter(QObject* watched, QEvent* event) {
  if (watched == &list_) {
    if (event->type() == QEvent::Resize && isVisible()) {
      take_place();
    }
    return false;
  }
  if (event->type() != QEvent::KeyPress) {
    return false;
  }
  // The window would take these for Import and Cancel.
  const auto& key = dynamic_cast<const QKeyEvent&>(*event);
  switch (key.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      go_on(key.modifiers().testFlag(Qt::ShiftModifier) ? -1 : 1);
      return true;
    case Qt::Key_Escape:
      close_box();
      return true;
    default:
      return false;
  }
}

void StatusSearch::look_for_typed_text() {
  found_->clear();
  if (!text_->text().isEmpty()) {
    find_from(std::max(0, list_.currentIndex().row()), 1);
  }
}

void StatusSearch::find_from(int row, int step) {
  const QAbstractItemModel& lines = *list_.model();
  const int count = lines.rowCount();
  for (int looked_at = 0; looked_at < count; ++looked_at, row += step) {
    row = (row + count) % count;
    if (lines.index(row, 0).data().toString().contains(text_->text(), Qt::CaseInsensitive)) {
      show_place(row);
      return;
    }
  }
  found_->setText(QStringLiteral("not found"));
  text_->setAccessibleDescription(found_->text());
}

void StatusSearch::show_place(int row) {
  const QModelIndex line = list_.model()->index(row, 0);
  list_.setCurrentIndex(line);
  list_.selectionModel()->select(line, QItemSelectionModel::ClearAndSelect);
  list_.scrollTo(line, QAbstractItemView::EnsureVisible);
  // The box covers what is under it.
  const int covered = list_.visualRect(line).bottom() + 1 - (list_.viewport()->height() - height());
  if (isVisible() && covered > 0 && row + 1 < list_.model()->rowCount()) {
    list_.scrollTo(list_.model()->index(row + 1, 0), QAbstractItemView::EnsureVisible);
  }
  found_->setText(QStringLiteral("line %1 of %2").arg(row + 1).arg(list_.model()->rowCount()));
  text_->setAccessibleDescription(found_->text());
}

void StatusSearch::close_box() {
  hide();
  list_.setFocus(Qt::OtherFocusReason);
}

void StatusSearch::take_place() {
  const QRect lines = list_.viewport()->geometry();
  const int width = std::min(lines.width(), 40 * list_.fontMetrics().averageCharWidth());
  const int height = std::min(lines.height(), sizeHint().height());
  setGeometry(lines.right() + 1 - width, lines.top(), width, height);
}

}  // namespace importkcd
