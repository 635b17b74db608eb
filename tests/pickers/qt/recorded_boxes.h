#pragma once

#include <string>
#include <vector>

#include "pickers/qt/dialog_parts.h"

namespace importkcd::testing {

/// Error boxes that are noted down instead of shown.
struct RecordedBoxes {
  struct Box {
    QWidget* owner;
    std::string title;
    std::string text;
    bool operator==(const Box&) const = default;
  };
  std::vector<Box> boxes;

  ErrorBox box() {
    return [this](QWidget* owner, const std::string& title, const std::string& text) {
      boxes.push_back({owner, title, text});
    };
  }
};

}  // namespace importkcd::testing
