#pragma once

#include <QFrame>

class QLabel;
class QLineEdit;

namespace importkcd {

class StatusList;

/// The search of the status list: a box that comes up over the list's last line when somebody asks
/// for it, and goes again with Escape. What is typed is looked for in all lines, without regard to
/// letter case; Enter and F3 go on to the next line that has it, with Shift to the one before,
/// round and round. The line found is the list's current one.
class StatusSearch : public QFrame {
 public:
  /// Belongs to the list, and is hidden.
  explicit StatusSearch(StatusList& list);

  /// Comes up with its text chosen, and takes the focus.
  void open();
  /// Goes to the next line that has the text (`step` 1) or the one before (-1); comes up when
  /// nothing was looked for yet.
  void go_on(int step);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void look_for_typed_text();
  /// Makes the first line with the text the current one, from `row` on in steps of `step`.
  void find_from(int row, int step);
  void show_place(int row);
  void close_box();
  void take_place();

  StatusList& list_;
  QLineEdit* text_;
  QLabel* found_;
};

}  // namespace importkcd
