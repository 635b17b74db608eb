#include "frontend/window/status_list_painting.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QTextLayout>
#include <QWidget>

#include "frontend/window/status_list.h"

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

/// Red that can be read on the list's background, light or dark.
QColor color_of_text(const QStyleOptionViewItem& option, bool is_error) {
  if (is_selected(option)) {
    return option.palette.color(QPalette::HighlightedText);
  }
  constexpr int half_light = 128;
  const bool is_dark = option.palette.color(QPalette::Base).lightness() < half_light;
  return is_error ? QColor(is_dark ? 0xffff8a80 : 0xffb00020)
                  : option.palette.color(QPalette::Text);
}

/// A red disc with a white cross: seen by those, too, who do not tell red from green.
void paint_error_icon(QPainter& painter, const QRect& place) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0xffc62828));
  painter.drawEllipse(QRectF(place));
  painter.setPen(QPen(Qt::white, place.width() / 7.0, Qt::SolidLine, Qt::RoundCap));
  const qreal inset = place.width() * 0.32;
  const QRectF cross = QRectF(place).adjusted(inset, inset, -inset, -inset);
  painter.drawLine(cross.topLeft(), cross.bottomRight());
  painter.drawLine(cross.topRight(), cross.bottomLeft());
  painter.restore();
}

void paint_text(QPainter& painter, const QStyleOptionViewItem& option, const QString& line,
                bool is_error) {
  QRect place = place_of_text(option);
  if (is_error) {
    const int room = error_icon_width(*option.widget);
    const int size = room * 4 / 5;
    const QRect icon(place.left(), place.center().y() - size / 2, size, size);
    paint_error_icon(painter, QStyle::visualRect(option.direction, place, icon));
    place = QStyle::visualRect(option.direction, place, place.adjusted(room, 0, 0, 0));
  }
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
  painter.setPen(color_of_text(option, is_error));
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

int error_icon_width(const QWidget& list) { return list.fontMetrics().height(); }

void StatusLineDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
  // The style leaves room for a text that it does not know, and so does not lay out.
  QStyleOptionViewItem item = option;
  item.features |= QStyleOptionViewItem::HasDisplay;
  painter->save();
  painter->setClipRect(item.rect);
  item.widget->style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &item, painter, item.widget);
  paint_text(*painter, item, index.data().toString(),
             index.data(StatusListModel::error_role).toBool());
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
