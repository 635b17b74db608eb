#pragma once

#include <QComboBox>
#include <functional>

namespace importkcd {

/// A box with a list of choices that takes any text, and that may be filled when its list is
/// opened.
class DropDownList : public QComboBox {
 public:
  explicit DropDownList(QWidget* parent);

  /// Called before each opening of the list.
  std::function<void()> opening;

  void showPopup() override;
};

}  // namespace importkcd
