#include "cli/import_log.h"

#include <algorithm>
#include <ctime>
#include <iomanip>
#include <locale>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <string_view>

#include "base/text.h"

namespace importkcd {
namespace {

constexpr const char* no_object = "";

const char* action_word(ObjectAction action) {
  switch (action) {
    case ObjectAction::searching:
      return "search";
    case ObjectAction::creating:
      return "create";
    case ObjectAction::skipping:
      return "skip";
    case ObjectAction::updating:
      return "update";
    case ObjectAction::refusing:
      return "refuse";
    case ObjectAction::canceling:
      return "cancel";
    case ObjectAction::removing:
      break;
  }
  return "remove";
}

/// The time of day as RFC 3339 writes it, in UTC.
std::string now_in_utc() {
  using std::chrono::milliseconds;
  const auto now = std::chrono::system_clock::now();
  const auto seconds = std::chrono::system_clock::to_time_t(now);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  const auto fraction =
      std::chrono::duration_cast<milliseconds>(now.time_since_epoch()) % std::chrono::seconds(1);
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << std::put_time(&parts, "%Y-%m-%dT%H:%M:%S.") << std::setfill('0') << std::setw(3)
       << fraction.count() << 'Z';
  return text.str();
}

}  // namespace

ImportLog::ImportLog(const CommandEnvironment& environment, Form form)
    : out_(environment.out),
      err_(environment.err),
      form_(form),
      has_bar_(environment.err_is_terminal && !form.json && !form.quiet),
      begin_(std::chrono::steady_clock::now()) {}

ImportLog::~ImportLog() { hide_bar(); }

void ImportLog::put_progres_message(const std::string& message) {
  put({"message", no_object, no_object, message});
}

void ImportLog::put_object_message(const std::string& message, const ObjectEvent& event) {
  count(event);
  put({action_word(event.action), std::string(event.kind), std::string(event.name), message});
}

void ImportLog::count(const ObjectEvent& event) {
  if (event.kind != "cube" && event.kind != "virtual cube") {
    return;
  }
  cubes_.created += event.action == ObjectAction::creating ? 1 : 0;
  cubes_.updated += event.action == ObjectAction::updating ? 1 : 0;
  cubes_.removed += event.action == ObjectAction::removing ? 1 : 0;
  cubes_.skipped += event.action == ObjectAction::skipping ? 1 : 0;
  if (event.action == ObjectAction::canceling) {
    // Its update was told before.
    --cubes_.updated;
    ++cubes_.skipped;
  }
}

void ImportLog::expect_objects(std::size_t count) {
  expected_objects_ = count;
  objects_ = 0;
}

void ImportLog::next_object() {
  ++objects_;
  show_bar();
}

void ImportLog::show_message(const std::string& text) {
  hide_bar();
  write(err_, {"notice", no_object, no_object, text});
  show_bar();
}

void ImportLog::put(const Line& line) {
  ++messages_;
  if (form_.quiet) {
    return;
  }
  hide_bar();
  write(out_, line);
  show_bar();
}

/// Flushed each time: whoever watches a pipe sees how far the run is.
void ImportLog::write(std::ostream& stream, const Line& line) {
  if (!form_.json) {
    stream << printable(line.message) << '\n' << std::flush;
    return;
  }
  const nlohmann::ordered_json object{{"time", now_in_utc()},
                                      {"action", line.action},
                                      {"kind", line.kind},
                                      {"name", line.name},
                                      {"message", line.message}};
  stream << object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n'
         << std::flush;
}

void ImportLog::show_bar() {
  constexpr std::size_t width = 30;
  if (!has_bar_ || expected_objects_ == 0) {
    return;
  }
  const auto done = std::min(objects_, expected_objects_);
  const auto filled = width * done / expected_objects_;
  err_ << "\r[" << std::string(filled, '#') << std::string(width - filled, '.') << "] " << done
       << " of " << counted(expected_objects_, "object") << std::flush;
  bar_is_shown_ = true;
}

void ImportLog::hide_bar() {
  if (bar_is_shown_) {
    // To the line's begin, and everything behind it away.
    err_ << "\r\x1B[K" << std::flush;
    bar_is_shown_ = false;
  }
}

void ImportLog::finish(const RequestOutcome& outcome, const std::vector<std::string>& faults) {
  hide_bar();
  has_bar_ = false;
  if (!outcome.error.empty()) {
    write(err_, {"error", no_object, no_object, outcome.error});
  }
  for (const auto& fault : faults) {
    write(err_, {"error", no_object, no_object, fault});
  }
  write(out_,
        {"finish", outcome.database.empty() ? "" : "database", outcome.database, summary(outcome)});
}

std::string ImportLog::counted_cubes() const {
  std::string text;
  const auto add = [&text](std::size_t count, const char* what) {
    if (count > 0) {
      text += (text.empty() ? counted(count, "cube") : ", " + std::to_string(count)) + " " + what;
    }
  };
  add(cubes_.created, "created");
  add(cubes_.updated, "updated");
  add(cubes_.removed, "removed");
  add(cubes_.skipped, "skipped");
  return text.empty() ? "no cubes" : text;
}

std::string ImportLog::summary(const RequestOutcome& outcome) const {
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin_;
  const auto into = outcome.database.empty() ? "" : " into '" + outcome.database + "'";
  std::ostringstream text;
  text.imbue(std::locale::classic());
  if (outcome.succeeded) {
    text << "Imported" << into << ": " << counted_cubes();
  } else if (outcome.stored) {
    text << "Import" << into << " failed, what it wrote is kept: " << counted_cubes();
  } else {
    text << "Import" << into << " failed: nothing was stored";
  }
  text << ", " << counted(messages_, "message") << ", " << std::fixed << std::setprecision(2)
       << time.count() << " s";
  return text.str();
}

}  // namespace importkcd
