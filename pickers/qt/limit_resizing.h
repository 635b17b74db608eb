#pragma once

#include <QObject>
#include <QPointer>
#include <QSize>
#include <QTimer>
#include <QWidget>
#include <QWindow>

namespace importkcd {

/// Keeps one window from being dragged smaller or larger than given. The limits are of the window's
/// outer size (its frame included) in the window's own pixels; they follow when the frame's size
/// becomes known or changes. A window that is maximised or fills the screen is left alone, as other
/// windows are. Does not own the window; a hooked window that is destroyed counts as unhooked.
class LimitResizing : public QObject {
 public:
  LimitResizing();
  LimitResizing(const LimitResizing&) = delete;
  LimitResizing& operator=(const LimitResizing&) = delete;
  /// Unhooks.
  ~LimitResizing() override;

  /// Puts the limits on a top-level window. Takes the place of an earlier hook: the same window
  /// gets the new limits, another one gets back those it had.
  void hook(QWidget& window, QSize minimum_outer, QSize maximum_outer);

  /// Gives the window back the limits that it had before it was hooked; does nothing for a window
  /// that is not hooked.
  void unhook(QWidget& window);

  bool is_hooked(const QWidget& window) const;

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void release();
  void watch_handle();
  void apply();
  void take_back_excess();
  QSize frame() const { return window_->frameGeometry().size() - window_->size(); }

  QPointer<QWidget> window_;
  /// The platform's side of the window, which may be made anew while the window lives.
  QPointer<QWindow> handle_;
  QSize minimum_outer_;
  QSize maximum_outer_;
  QSize previous_minimum_;
  QSize previous_maximum_;
  QTimer settled_;
};

}  // namespace importkcd
