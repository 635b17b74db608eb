#include "frontend/window/status_list_painting.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionSlider>
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
  text.setCacheEnabled(true);  // else drawing shapes the text a second time
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
  // The style leaves room for a text that it does not know, and so does not lay out.
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

void SteadyScrollBar::sliderChange(SliderChange change) {
  const bool numbers_alone = change == SliderRangeChange || change == SliderValueChange;
  if (!numbers_alone || differs(look(), painted_)) {
    QScrollBar::sliderChange(change);
  }
}

bool SteadyScrollBar::differs(const Look& left, const Look& right) {
  return left.can_scroll != right.can_scroll ||
         (left.slider.topLeft() - right.slider.topLeft()).manhattanLength() > 1 ||
         (left.slider.bottomRight() - right.slider.bottomRight()).manhattanLength() > 1;
}

void SteadyScrollBar::paintEvent(QPaintEvent* event) {
  QScrollBar::paintEvent(event);
  painted_ = look();
}

SteadyScrollBar::Look SteadyScrollBar::look() const {
  QStyleOptionSlider option;
  initStyleOption(&option);
  return {style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this),
          minimum() != maximum()};
}

}  // namespace importkcd
