#include "pickers/qt/shangle.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>
#include <QPalette>
#include <QWindow>
#include <algorithm>

namespace importkcd {
namespace {

/// The pattern is drawn on a grid of this many units: three diagonals, each one unit of light and
/// two units of shadow, with one unit between them.
constexpr double grid = 13.0;
constexpr int diagonals = 3;
constexpr double diagonal_step = 4.0;

/// Draws one colour of each diagonal; `distance` and `width` are in units, the distance from the
/// bottom-right corner along an edge.
void draw_diagonals(QPainter& painter, int side, const QColor& colour, double distance,
                    double width) {
  const double unit = side / grid;
  // The width is measured along an edge, a pen's across its line.
  constexpr double half_root_of_two = 0.70710678118654752;
  painter.setPen(QPen(colour, width * unit * half_root_of_two, Qt::SolidLine, Qt::SquareCap));
  for (int i = 0; i < diagonals; ++i) {
    const double reach = (distance + i * diagonal_step) * unit;
    painter.drawLine(QPointF(side - reach, side), QPointF(side, side - reach));
  }
}

}  // namespace

Shangle::Shangle(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("Shangle"));
  setAccessibleName(tr("Size grip"));
  setAccessibleDescription(tr("Drag to resize the window"));
  setCursor(Qt::SizeFDiagCursor);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  make_square();
}

QSize Shangle::sizeHint() const { return {side(), side()}; }

QSize Shangle::minimumSizeHint() const { return sizeHint(); }

bool Shangle::start_system_resize(QWindow& window) {
  return window.startSystemResize(Qt::RightEdge | Qt::BottomEdge);
}

void Shangle::mousePressEvent(QMouseEvent* event) {
  event->accept();
  QWindow* handle = window()->windowHandle();
  if (drag_button_ != Qt::NoButton || (handle != nullptr && start_system_resize(*handle))) {
    return;
  }
  drag_button_ = event->button();
  drag_start_ = event->globalPosition().toPoint();
  size_at_start_ = window()->size();
}

void Shangle::mouseMoveEvent(QMouseEvent* event) {
  event->accept();
  if (drag_button_ != Qt::NoButton) {
    const QPoint way = event->globalPosition().toPoint() - drag_start_;
    window()->resize((size_at_start_ + QSize(way.x(), way.y())).expandedTo({1, 1}));
  }
}

void Shangle::mouseReleaseEvent(QMouseEvent* event) {
  event->accept();
  if (event->button() == drag_button_) {
    drag_button_ = Qt::NoButton;
  }
}

void Shangle::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  make_square();
}

void Shangle::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::FontChange) {
    updateGeometry();
    make_square();
  }
}

void Shangle::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  constexpr double light_distance = 3.5;
  constexpr double shadow_distance = 2.0;
  draw_diagonals(painter, width(), palette().color(QPalette::Light), light_distance, 1.0);
  draw_diagonals(painter, width(), palette().color(QPalette::Dark), shadow_distance, 2.0);
}

int Shangle::side() const {
  return std::max(1, qRound(QFontMetricsF(font()).horizontalAdvance(QStringLiteral("op"))));
}

void Shangle::make_square() {
  if (resizing_) {
    return;
  }
  resizing_ = true;
  resize(side(), side());
  resizing_ = false;
}

}  // namespace importkcd
