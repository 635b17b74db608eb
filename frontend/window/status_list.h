#pragma once

#include <QAbstractListModel>
#include <QListView>
#include <QString>
#include <vector>

namespace importkcd {

/// The lines of the status list. Lines are only ever added, at a cost that does not depend on how
/// many there are.
class StatusListModel : public QAbstractListModel {
 public:
  using QAbstractListModel::QAbstractListModel;

  void append(const QString& line);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  std::vector<QString> lines_;
};

/// The list of status lines, built for very long runs: all lines have one height, so that neither
/// adding a line nor painting depends on how many lines there are. (QListView itself lays out all
/// of its items whenever one is added.)
class StatusList : public QListView {
 public:
  explicit StatusList(QWidget* parent);

  /// Appends a line, selects it and scrolls to it.
  void add_line(const QString& line);
  /// Sets how far the list scrolls to the right, in pixels. What is wider cannot be seen whole.
  void set_horizontal_extent(int pixels);
  /// Leaves a band free above the lines, for the caption of the frame behind the list. Called once.
  void set_top_band(int pixels);

  int line_height() const;

  QRect visualRect(const QModelIndex& index) const override;
  QModelIndex indexAt(const QPoint& point) const override;
  void scrollTo(const QModelIndex& index, ScrollHint hint) override;
  void doItemsLayout() override;

 protected:
  void rowsInserted(const QModelIndex& parent, int start, int end) override;
  void updateGeometries() override;
  void resizeEvent(QResizeEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  int horizontalOffset() const override;
  int verticalOffset() const override;
  QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
  void setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) override;
  QRegion visualRegionForSelection(const QItemSelection& selection) const override;

 private:
  int line_count() const { return lines_.rowCount(); }

  StatusListModel lines_;
  int horizontal_extent_ = 0;
};

}  // namespace importkcd
