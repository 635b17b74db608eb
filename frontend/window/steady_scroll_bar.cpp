#include "frontend/window/steady_scroll_bar.h"

#include <QStyle>
#include <QStyleOptionSlider>

namespace importkcd {

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
