#include "frontend/window/status_line_delegate.h"

#include <QPainter>
#include <QTextLayout>
#include <QWidget>

namespace importkcd {
namespace {

bool is_selected(const QStyleOptionViewItem& option) {
  return option.state.testFlag(QStyle::State_Selected);
}

QRect place_of_text(const QStyleOptionViewItem& option) {
  const QStyle& style = *option.widget->style();
  const int margin = style.pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, option.widget) + 1;
  return style.subElementRect(QStyle::SE_ItemViewItemText, &option, option.widget)
      .adjusted(margin, 0, -margin, 0);
}

void paint_text(QPainter& painter, const QStyleOptionViewItem& option, const QString& line) {
  const QRect place = place_of_text(option);
  QTextOption direction(QStyle::visualAlignment(option.direction, option.displayAlignment));
  direction.setTextDirection(option.direction);
  direction.setWrapMode(QTextOption::ManualWrap);
  QTextLayout text(line, option.font);
  text.setTextOption(direction);
  text.setCacheEnabled(true);  // or it would be shaped again to be drawn
  text.beginLayout();
  text.createLine().setLineWidth(place.width());
  text.endLayout();
  const QSize size = text.boundingRect().size().toSize();
  const QRect aligned = QStyle::alignedRect(option.direction, option.displayAlignment, size, place);
  painter.setPen(
      option.palette.color(is_selected(option) ? QPalette::HighlightedText : QPalette::Text));
  text.draw(&painter, QPointF(place.left(), aligned.top()));
}

void paint_focus(QPainter& painter, const QStyleOptionViewItem& option) {
  const QStyle& style = *option.widget->style();
  QStyleOptionFocusRect frame;
  frame.QStyleOption::operator=(option);
  frame.rect = style.subElementRect(QStyle::SE_ItemViewItemFocusRect, &option, option.widget);
  frame.state |= QStyle::State_KeyboardFocusChange | QStyle::State_Item;
  frame.backgroundColor =
      option.palette.color(is_selected(option) ? QPalette::Highlight : QPalette::Window);
  style.drawPrimitive(QStyle::PE_FrameFocusRect, &frame, &painter, option.widget);
}

}  // namespace

void StatusLineDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
  // It says that there is a text, for the style to leave room, and not which, for it to lay out.
  QStyleOptionViewItem item = option;
  item.features |= QStyleOptionViewItem::HasDisplay;
  painter->save();
  painter->setClipRect(item.rect);
  item.widget->style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &item, painter, item.widget);
  paint_text(*painter, item, index.data().toString());
  if (item.state.testFlag(QStyle::State_HasFocus)) {
    paint_focus(*painter, item);
  }
  painter->restore();
}

}  // namespace importkcd
