#include "frontend/run_summary.h"

#include <iomanip>
#include <locale>
#include <sstream>

#include "base/text.h"

namespace importkcd {

bool RunSummary::take(std::string_view line) {
  ++messages_;
  const bool is_reason = reason_follows_;
  reason_follows_ = line == "Import not succeeded due to error";
  if (is_reason || (!reason_follows_ && !line.starts_with("Error "))) {
    // The reason belongs to an error that was counted.
    return is_reason;
  }
  ++errors_;
  return true;
}

std::string RunSummary::text(const RunSummary& since,
                             std::chrono::duration<double> duration) const {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << counted(messages_ - since.messages_, "message") << ", ";
  if (errors_ > since.errors_) {
    text << counted(errors_ - since.errors_, "error") << ", ";
  }
  text << std::fixed << std::setprecision(2) << duration.count() << " s";
  return text.str();
}

}  // namespace importkcd
