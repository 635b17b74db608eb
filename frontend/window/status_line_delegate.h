#pragma once

#include <QStyledItemDelegate>

namespace importkcd {

/// Paints an item as the style paints one of nothing but text, but lays the text out once rather
/// than three times: that is most of what a line costs in a list that grows line by line.
class StatusLineDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  /// `option` names the widget that the item is painted in.
  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
};

}  // namespace importkcd
