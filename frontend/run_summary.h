#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace importkcd {

/// Follows a run's status lines: tells which of them speak of an error, and sums up at the end.
class RunSummary {
 public:
  /// Whether this line, the next one of the run, tells an error: it says so itself, or it is the
  /// reason that follows the line "Import not succeeded due to error".
  bool take(std::string_view line);

  /// "61 messages, 2 errors, 0.25 s", the errors only when there are any. `since` is what this
  /// was when the run began, `duration` how long it took.
  std::string text(const RunSummary& since, std::chrono::duration<double> duration) const;

 private:
  std::size_t messages_ = 0;
  std::size_t errors_ = 0;
  bool reason_follows_ = false;
};

}  // namespace importkcd
