#pragma once

#include <QScrollBar>
#include <QStyledItemDelegate>

namespace importkcd {

/// The room that the icon in front of a line that tells an error takes, in pixels.
int error_icon_width(const QWidget& list);

/// Paints an item as the style paints one of nothing but text, but lays the text out once rather
/// than three times: that is most of what a line costs in a list that grows line by line.
class StatusLineDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  /// `option` names the widget that the item is painted in.
  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
};

/// A scroll bar that is painted again only when its slider has moved by more than a pixel (by one
/// it jumps to and fro while range and value are set one after the other). Qt paints it anew
/// whenever a number changes, which in a list that grows line by line costs more than the lines.
class SteadyScrollBar : public QScrollBar {
 public:
  SteadyScrollBar(Qt::Orientation orientation, QWidget* parent) : QScrollBar(orientation, parent) {}

 protected:
  void sliderChange(SliderChange change) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  /// All that a person sees of the numbers.
  struct Look {
    QRect slider;
    bool can_scroll = false;
  };

  Look look() const;
  static bool differs(const Look& left, const Look& right);

  Look painted_;
};

}  // namespace importkcd
