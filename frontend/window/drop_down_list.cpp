#include "frontend/window/drop_down_list.h"

#include <QLineEdit>

namespace importkcd {

DropDownList::DropDownList(QWidget* parent) : QComboBox(parent) {
  // What setEditable() does, but that it makes the list that drops down at once.
  setLineEdit(new QLineEdit(this));
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
