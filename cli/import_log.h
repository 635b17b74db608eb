#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "cli/command_environment.h"
#include "comparison/import_request.h"
#include "importer/import_options.h"

namespace importkcd {

/// Shows a run of the importer: its messages on standard output, what asks for attention on
/// standard error, and a summary as the last line of standard output.
class ImportLog : public ProgressSink, public NotificationSink {
 public:
  struct Form {
    /// One JSON object for each message.
    bool json = false;
    /// Only what asks for attention, and the summary.
    bool quiet = false;
  };

  /// The time of the run counts from here.
  ImportLog(const CommandEnvironment& environment, Form form);
  ~ImportLog() override;
  ImportLog(const ImportLog&) = delete;
  ImportLog& operator=(const ImportLog&) = delete;

  void put_progres_message(const std::string& message) override;
  void put_object_message(const std::string& message, const ObjectEvent& event) override;
  void expect_objects(std::size_t count) override;
  void next_object() override;
  void show_message(const std::string& text) override;

  /// Tells what became of the run: its error, if any, the faults of the document, a line for each,
  /// and the summary.
  void finish(const RequestOutcome& outcome, const std::vector<std::string>& faults);

 private:
  struct Line {
    const char* action;
    std::string kind;
    std::string name;
    const std::string& message;
  };

  void count(const ObjectEvent& event);
  void put(const Line& line);
  void write(std::ostream& stream, const Line& line);
  void show_bar();
  void hide_bar();
  std::string counted_cubes() const;
  std::string summary(const RequestOutcome& outcome) const;

  std::ostream& out_;
  std::ostream& err_;
  Form form_;
  bool has_bar_;
  bool bar_is_shown_ = false;
  std::chrono::steady_clock::time_point begin_;
  std::size_t messages_ = 0;
  std::size_t objects_ = 0;
  std::size_t expected_objects_ = 0;
  struct {
    std::size_t created = 0;
    std::size_t updated = 0;
    std::size_t removed = 0;
    std::size_t skipped = 0;
  } cubes_;
};

}  // namespace importkcd
