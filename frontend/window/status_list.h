#pragma once

#include <QAbstractListModel>
#include <QKeySequence>
#include <QListView>
#include <QString>
#include <vector>

#include "frontend/run_view.h"

class QLabel;

namespace importkcd {

/// The lines of the status list. Lines are only ever added, at a cost that does not depend on how
/// many there are.
class StatusListModel : public QAbstractListModel {
 public:
  /// Of a line's data: whether the line tells an error.
  static constexpr int error_role = Qt::UserRole;

  using QAbstractListModel::QAbstractListModel;

  void append(const QString& line, LineKind kind);
  bool has_errors() const { return has_errors_; }

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  struct Line {
    QString text;
    LineKind kind;
  };

  std::vector<Line> lines_;
  bool has_errors_ = false;
};

/// The list of status lines, built for very long runs: all lines have one height, so that neither
/// adding a line nor painting depends on how many lines there are. (QListView itself lays out all
/// of its items whenever one is added.) Lines can be selected and copied as in other lists, by keys
/// and by the context menu; the tool tip of a line that is cut off shows all of it. A line that
/// tells an error has another colour and an icon in front of it, and is announced as an error.
class StatusList : public QListView {
 public:
  explicit StatusList(QWidget* parent);

  /// Appends a line. What is seen stays as it is until show_added_lines.
  void add_line(const QString& line, LineKind kind = LineKind::message) {
    lines_.append(line, kind);
  }
  /// Sets how far the list scrolls to the right, in pixels, from the next show_added_lines on. What
  /// is wider cannot be seen whole.
  void set_horizontal_extent(int pixels) { next_extent_ = pixels; }
  /// Selects the last line and scrolls to it, when lines were added since the last call.
  void show_added_lines();
  /// Leaves a band free above the lines, for the caption of the frame behind the list. Called once.
  void set_top_band(int pixels);
  /// Shows a text at the right end of the frame's caption, and describes the list by it to screen
  /// readers. Only for a list in a frame.
  void show_summary(const QString& text);

  int line_height() const;

  QRect visualRect(const QModelIndex& index) const override;
  QModelIndex indexAt(const QPoint& point) const override;
  void scrollTo(const QModelIndex& index, ScrollHint hint) override;
  void doItemsLayout() override;

 protected:
  void rowsInserted(const QModelIndex& parent, int start, int end) override;
  void updateGeometries() override;
  bool viewportEvent(QEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
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
  int row_at(int y) const { return (y + verticalOffset()) / line_height(); }
  void add_command(const QString& caption, QKeySequence::StandardKey key,
                   void (StatusList::*run)());
  void copy_selected_lines();
  bool is_cut_off(const QModelIndex& line) const;
  void place_summary();
  /// How far the list scrolls to the right: as far as it was told, and room for the errors' icon.
  int scrolled_width() const;

  StatusListModel lines_;
  /// Belongs to the frame; null until there is something to show.
  QLabel* summary_ = nullptr;
  int top_band_ = 0;
  int shown_lines_ = 0;
  int horizontal_extent_ = 0;
  int next_extent_ = 0;
};

}  // namespace importkcd
