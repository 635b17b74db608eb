#include "frontend/window/status_list.h"

#include <QAction>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QMenu>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>
#include <algorithm>

#include "frontend/window/status_list_painting.h"
#include "frontend/window/window_controls.h"

namespace importkcd {

void StatusListModel::append(const QString& line, LineKind kind) {
  const auto row = static_cast<int>(lines_.size());
  beginInsertRows(QModelIndex(), row, row);
  lines_.push_back({line, kind});
  has_errors_ = has_errors_ || kind == LineKind::error;
  endInsertRows();
}

int StatusListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(lines_.size());
}

QVariant StatusListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) {
    return {};
  }
  const Line& line = lines_.at(static_cast<std::size_t>(index.row()));
  const bool is_error = line.kind == LineKind::error;
  switch (role) {
    case Qt::DisplayRole:
      return line.text;
    case error_role:
      return is_error;
    case Qt::AccessibleTextRole:
      // What the colour and the icon say to those who see them; some lines say it themselves.
      return is_error && !line.text.startsWith(QLatin1String("Error")) ? "Error: " + line.text
                                                                       : line.text;
    default:
      return {};
  }
}

StatusList::StatusList(QWidget* parent) : QListView(parent), lines_(this) {
  setVerticalScrollBar(new SteadyScrollBar(Qt::Vertical, this));
  setModel(&lines_);
  setItemDelegate(new StatusLineDelegate(this));
  setFrameShape(QFrame::NoFrame);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setSelectionMode(QAbstractItemView::ExtendedSelection);
  setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  setTextElideMode(Qt::ElideNone);
  setUniformItemSizes(true);
  add_command(tr("&Copy"), QKeySequence::Copy, &StatusList::copy_selected_lines);
  add_command(tr("Select &All"), QKeySequence::SelectAll, &StatusList::selectAll);
}

void StatusList::show_added_lines() {
  if (horizontal_extent_ != next_extent_) {
    horizontal_extent_ = next_extent_;
    updateGeometries();
    viewport()->update();
  }
  if (shown_lines_ == line_count()) {
    return;
  }
  shown_lines_ = line_count();
  updateGeometries();
  const QModelIndex last = lines_.index(line_count() - 1, 0);
  setCurrentIndex(last);
  // A key that is held down meanwhile must not make this an addition to the selection.
  selectionModel()->select(last, QItemSelectionModel::ClearAndSelect);
  viewport()->update();
}

void StatusList::add_command(const QString& caption, QKeySequence::StandardKey key,
                             void (StatusList::*run)()) {
  auto* action = new QAction(caption, this);
  action->setShortcut(key);
  action->setShortcutContext(Qt::WidgetShortcut);
  connect(action, &QAction::triggered, this, run);
  addAction(action);
}

void StatusList::copy_selected_lines() {
  QModelIndexList selected = selectionModel()->selectedRows();
  std::sort(selected.begin(), selected.end());
  QStringList texts;
  for (const QModelIndex& index : selected) {
    texts.append(index.data().toString());
  }
  if (!texts.isEmpty()) {
    QGuiApplication::clipboard()->setText(texts.join(QLatin1Char('\n')));
  }
}

bool StatusList::is_cut_off(const QModelIndex& line) const {
  const int icon = line.data(StatusListModel::error_role).toBool() ? error_icon_width(*this) : 0;
  return icon + fontMetrics().horizontalAdvance(line.data().toString()) > viewport()->width();
}

bool StatusList::viewportEvent(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    const auto& help = dynamic_cast<const QHelpEvent&>(*event);
    const QModelIndex line = indexAt(help.pos());
    if (line.isValid() && is_cut_off(line)) {
      QToolTip::showText(help.globalPos(), plain_tool_tip(line.data().toString()), viewport(),
                         visualRect(line));
      return true;
    }
  }
  return QListView::viewportEvent(event);
}

void StatusList::contextMenuEvent(QContextMenuEvent* event) {
  // Not executed but shown: a run goes on under it.
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->addActions(actions());
  menu->popup(event->globalPos());
}

void StatusList::set_top_band(int pixels) {
  top_band_ = pixels;
  setViewportMargins(0, pixels, 0, 0);
  // The scroll bar would reach into the band.
  auto* spacer = new QWidget(this);
  spacer->setFixedHeight(pixels);
  addScrollBarWidget(spacer, Qt::AlignTop);
}

void StatusList::show_summary(const QString& text) {
  if (summary_ == nullptr) {
    summary_ = new QLabel(parentWidget());
    summary_->setObjectName(QStringLiteral("lblRunSummary"));
    summary_->setTextFormat(Qt::PlainText);
    summary_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  }
  summary_->setText(text);
  summary_->setVisible(!text.isEmpty());
  setAccessibleDescription(text);
  place_summary();
}

void StatusList::place_summary() {
  if (summary_ != nullptr) {
    // In line with the caption, which begins above the list.
    const int height = y() + top_band_;
    const int width = std::min(summary_->sizeHint().width(), this->width() / 2);
    summary_->setGeometry(geometry().right() + 1 - width, 0, width, height);
  }
}

int StatusList::scrolled_width() const {
  return horizontal_extent_ == 0 || !lines_.has_errors()
             ? horizontal_extent_
             : horizontal_extent_ + error_icon_width(*this);
}

int StatusList::line_height() const { return fontMetrics().height() + 2; }

QRect StatusList::visualRect(const QModelIndex& index) const {
  if (!index.isValid()) {
    return {};
  }
  return {-horizontalOffset(), index.row() * line_height() - verticalOffset(),
          std::max(scrolled_width(), viewport()->width()), line_height()};
}

QModelIndex StatusList::indexAt(const QPoint& point) const {
  return lines_.index(row_at(point.y()), 0);
}

void StatusList::scrollTo(const QModelIndex& index, ScrollHint /*hint*/) {
  const QRect line = visualRect(index);
  auto* bar = verticalScrollBar();
  if (line.top() < 0) {
    bar->setValue(bar->value() + line.top());
  } else if (line.bottom() >= viewport()->height()) {
    bar->setValue(bar->value() + line.bottom() + 1 - viewport()->height());
  }
}

// QListView lays out every line whenever one is added; its base leaves the places of lines to this
// class, which computes them.
// NOLINTBEGIN(bugprone-parent-virtual-call)
void StatusList::doItemsLayout() { QAbstractItemView::doItemsLayout(); }

void StatusList::rowsInserted(const QModelIndex& parent, int start, int end) {
  QAbstractItemView::rowsInserted(parent, start, end);
}
// NOLINTEND(bugprone-parent-virtual-call)

void StatusList::updateGeometries() {
  const QSize page = viewport()->size();
  auto* rows = verticalScrollBar();
  rows->setSingleStep(line_height());
  rows->setPageStep(page.height());
  rows->setRange(0, std::max(0, line_count() * line_height() - page.height()));
  auto* columns = horizontalScrollBar();
  columns->setSingleStep(line_height());
  columns->setPageStep(page.width());
  columns->setRange(0, std::max(0, scrolled_width() - page.width()));
}

void StatusList::resizeEvent(QResizeEvent* event) {
  QAbstractItemView::resizeEvent(event);  // NOLINT(bugprone-parent-virtual-call): as above
  updateGeometries();
  place_summary();
}

void StatusList::paintEvent(QPaintEvent* event) {
  QPainter painter(viewport());
  QStyleOptionViewItem option;
  initViewItemOption(&option);
  const int last = std::min(row_at(event->rect().bottom()), line_count() - 1);
  for (int row = row_at(event->rect().top()); row <= last; ++row) {
    const QModelIndex index = lines_.index(row, 0);
    QStyleOptionViewItem line = option;
    line.rect = visualRect(index);
    line.state.setFlag(QStyle::State_Selected, selectionModel()->isSelected(index));
    line.state.setFlag(QStyle::State_HasFocus, hasFocus() && index == currentIndex());
    itemDelegateForIndex(index)->paint(&painter, line, index);
  }
}

void StatusList::scrollContentsBy(int dx, int dy) { viewport()->scroll(dx, dy); }

int StatusList::horizontalOffset() const { return horizontalScrollBar()->value(); }

int StatusList::verticalOffset() const { return verticalScrollBar()->value(); }

QModelIndex StatusList::moveCursor(CursorAction action, Qt::KeyboardModifiers /*modifiers*/) {
  const int page = std::max(1, viewport()->height() / line_height() - 1);
  const int current = currentIndex().isValid() ? currentIndex().row() : 0;
  auto* columns = horizontalScrollBar();
  int row = current;
  switch (action) {
    case MoveUp:
    case MovePrevious:
      row = current - 1;
      break;
    case MoveDown:
    case MoveNext:
      row = current + 1;
      break;
    case MovePageUp:
      row = current - page;
      break;
    case MovePageDown:
      row = current + page;
      break;
    case MoveHome:
      row = 0;
      break;
    case MoveEnd:
      row = line_count() - 1;
      break;
    case MoveLeft:
      columns->triggerAction(QAbstractSlider::SliderSingleStepSub);
      break;
    case MoveRight:
      columns->triggerAction(QAbstractSlider::SliderSingleStepAdd);
      break;
  }
  return lines_.index(std::clamp(row, 0, std::max(0, line_count() - 1)), 0);
}

void StatusList::setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) {
  const QRect lines = rect.normalized();
  const int first = std::max(row_at(lines.top()), 0);
  const int last = std::min(row_at(lines.bottom()), line_count() - 1);
  QItemSelection selection;
  if (first <= last) {
    selection.select(lines_.index(first, 0), lines_.index(last, 0));
  }
  selectionModel()->select(selection, command);
}

QRegion StatusList::visualRegionForSelection(const QItemSelection& selection) const {
  QRegion region;
  for (const QItemSelectionRange& range : selection) {
    region += visualRect(range.topLeft()).united(visualRect(range.bottomRight()));
  }
  return region & viewport()->rect();
}

}  // namespace importkcd
