#include "pickers/qt/limit_resizing.h"

#include <QEvent>

namespace importkcd {
namespace {

/// Whether the event may tell of another size of the window or of its frame.
bool concerns_the_size(QEvent::Type type) {
  switch (type) {
    case QEvent::Expose:
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::Show:
    case QEvent::WindowActivate:
    case QEvent::WindowStateChange:
      return true;
    default:
      return false;
  }
}

/// Whether the desktop chooses the window's size.
bool fills_screen(const QWidget& window) {
  return window.isMaximized() || window.isFullScreen() || window.isMinimized();
}

/// Milliseconds after which a window that became larger is known to be maximised or not: desktops
/// tell the size and the state one after the other.
constexpr int settling_time = 100;

}  // namespace

LimitResizing::LimitResizing() {
  settled_.setSingleShot(true);
  settled_.setInterval(settling_time);
  connect(&settled_, &QTimer::timeout, this, &LimitResizing::take_back_excess);
}

LimitResizing::~LimitResizing() { release(); }

void LimitResizing::hook(QWidget& window, QSize minimum_outer, QSize maximum_outer) {
  if (!is_hooked(window)) {
    release();
    window_ = &window;
    previous_minimum_ = window.minimumSize();
    previous_maximum_ = window.maximumSize();
    window.installEventFilter(this);
  }
  minimum_outer_ = minimum_outer;
  maximum_outer_ = maximum_outer;
  watch_handle();
  apply();
}

void LimitResizing::unhook(QWidget& window) {
  if (is_hooked(window)) {
    release();
  }
}

bool LimitResizing::is_hooked(const QWidget& window) const { return window_ == &window; }

bool LimitResizing::eventFilter(QObject* watched, QEvent* event) {
  // A window that is being destroyed still sends events after window_ has been cleared.
  if (!window_.isNull() && (watched == window_ || watched == handle_) &&
      concerns_the_size(event->type())) {
    watch_handle();
    apply();
  }
  return QObject::eventFilter(watched, event);
}

void LimitResizing::release() {
  if (window_.isNull()) {
    return;
  }
  settled_.stop();
  window_->removeEventFilter(this);
  if (!handle_.isNull()) {
    handle_->removeEventFilter(this);
    handle_.clear();
  }
  window_->setMaximumSize(previous_maximum_);
  window_->setMinimumSize(previous_minimum_);
  window_.clear();
}

void LimitResizing::watch_handle() {
  if (handle_ == window_->windowHandle()) {
    return;
  }
  if (!handle_.isNull()) {
    handle_->removeEventFilter(this);
  }
  handle_ = window_->windowHandle();
  if (!handle_.isNull()) {
    handle_->installEventFilter(this);
  }
}

void LimitResizing::apply() {
  // The frame's size is known once the window is on the screen; limits without it would be too
  // large, and the window would grow.
  if (handle_.isNull() || !handle_->isExposed() || fills_screen(*window_)) {
    return;
  }
  const QSize minimum = (minimum_outer_ - frame()).expandedTo({0, 0});
  // The desktop is told the maximum without the frame taken off: a maximised window has another
  // frame or none, and a smaller limit would shrink it or undo the maximising.
  const QSize maximum =
      maximum_outer_.expandedTo(minimum).boundedTo({QWIDGETSIZE_MAX, QWIDGETSIZE_MAX});
  // Setting a limit may resize the window, which comes back here.
  if (window_->maximumSize() != maximum) {
    window_->setMaximumSize(maximum);
  }
  if (window_->minimumSize() != minimum) {
    window_->setMinimumSize(minimum);
  }
  settled_.start();
}

void LimitResizing::take_back_excess() {
  if (window_.isNull() || handle_.isNull() || fills_screen(*window_)) {
    return;
  }
  const QSize allowed = (maximum_outer_ - frame()).expandedTo(window_->minimumSize());
  if (window_->size() != window_->size().boundedTo(allowed)) {
    window_->resize(window_->size().boundedTo(allowed));
  }
}

}  // namespace importkcd
