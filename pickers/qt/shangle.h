#pragma once

#include <QPoint>
#include <QSize>
#include <QWidget>

class QWindow;

namespace importkcd {

/// A size grip for the bottom-right corner of a resizable window: a square as wide as two letters
/// of its font, with the classic pattern of light and dark diagonals. A press of any mouse button
/// starts the desktop's own resize drag of the grip's window from its bottom-right corner; where
/// the platform has none the grip follows the mouse itself.
class Shangle : public QWidget {
 public:
  explicit Shangle(QWidget* parent = nullptr);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  /// Asks the desktop for its resize drag of the window; false when there is none.
  virtual bool start_system_resize(QWindow& window);

  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  int side() const;
  void make_square();

  bool resizing_ = false;
  /// The own drag: the button that holds it, where it began and how large the window was then.
  Qt::MouseButton drag_button_ = Qt::NoButton;
  QPoint drag_start_;
  QSize size_at_start_;
};

}  // namespace importkcd
