#pragma once

#include <string>
#include <vector>

namespace importkcd {

/// Receives the one-line progress messages of a run, in order. Messages are UTF-8 without a line
/// end; names in them may hold control characters, which whoever shows a message replaces by
/// blanks.
class ProgressSink {
 public:
  virtual ~ProgressSink() = default;
  virtual void put_progres_message(const std::string& message) = 0;
};

/// Receives the rare messages that ask for a person's attention without ending the run; a window
/// shows them as a message box.
class NotificationSink {
 public:
  virtual ~NotificationSink() = default;
  virtual void show_message(const std::string& text) = 0;
  /// Several at once, in order: a window may show them together.
  virtual void show_messages(const std::vector<std::string>& texts) {
    for (const auto& text : texts) {
      show_message(text);
    }
  }
};

}  // namespace importkcd
