#include "frontend/window/drop_down_list.h"

namespace importkcd {

DropDownList::DropDownList(QWidget* parent) : QComboBox(parent) {
  setEditable(true);
  setInsertPolicy(QComboBox::NoInsert);
  // Completion would change what was typed into the name of something else.
  setCompleter(nullptr);
}

void DropDownList::showPopup() {
  if (opening) {
    opening();
  }
  QComboBox::showPopup();
}

}  // namespace importkcd
