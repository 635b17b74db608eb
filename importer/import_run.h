#pragma once

#include <exception>
#include <string>

#include "importer/import_options.h"
#include "model/olap_server.h"

namespace importkcd {

/// Tells an outcome which element a run works on. What lay around it is told again afterwards,
/// unless an exception takes the run out of it, whose place is asked for by whoever catches that.
class WorkingOn {
 public:
  WorkingOn(ImportOutcome& outcome, const KcdElement& element)
      : outcome_(outcome), before_(outcome.working_on), exceptions_(std::uncaught_exceptions()) {
    outcome.working_on = &element;
  }
  ~WorkingOn() {
    if (std::uncaught_exceptions() == exceptions_) {
      outcome_.working_on = before_;
    }
  }
  WorkingOn(const WorkingOn&) = delete;
  WorkingOn& operator=(const WorkingOn&) = delete;

 private:
  ImportOutcome& outcome_;
  const KcdElement* before_;
  int exceptions_;
};

/// What the sections of one run share: its options, its outcome and the objects it works on.
class ImportRun {
 public:
  /// All arguments outlive the run's sections.
  ImportRun(const ImportOptions& options, ImportOutcome& outcome, OlapServer& server,
            OlapDatabase& database)
      : options_(options), outcome_(outcome), server_(server), database_(database) {}

  const ImportOptions& options() const { return options_; }
  OlapServer& server() const { return server_; }
  OlapDatabase& database() const { return database_; }

  /// Whether the server is of version "8.0", which has one more dimension flag.
  bool server_is_version_8() const { return server_.version() == "8.0"; }

  /// Sends one message to the progress window, if there is one.
  void ReportProgress(const std::string& text) const { options_.ReportProgress(text); }

  /// The same for a message about one object. A search begins each of a collection's objects.
  void ReportObject(const std::string& text, const ObjectEvent& event) const {
    if (event.action == ObjectAction::searching && options_.progres_window != nullptr) {
      options_.progres_window->next_object();
    }
    options_.ReportObject(text, event);
  }

  /// Ends the run's success with this error text.
  void fail(const std::string& error, FailureCause cause = FailureCause::refused) const {
    outcome_.fail(error, cause);
  }

  /// Runs `step`; an error is caught here, and its description becomes the run's error text.
  /// Returns whether the step ended without an error.
  template <class Step>
  bool trap(Step step) const {
    const auto* const working_on = outcome_.working_on;
    try {
      step();
      return true;
    } catch (const std::exception& error) {
      fail(error.what(), cause_of(error));
      outcome_.working_on = working_on;
      return false;
    }
  }

  /// Notes that the run works on an element as long as the result lives.
  [[nodiscard]] WorkingOn working_on(const KcdElement& element) const {
    return {outcome_, element};
  }

  /// Notes what went wrong although the run goes on as if it had not: a sentence for a person,
  /// without its full stop.
  void pass_over(const std::string& sentence) const { outcome_.passed_over.push_back(sentence); }

  /// Notes what a person should know about the import, although nothing went wrong.
  void remark(const std::string& sentence) const { outcome_.remarks.push_back(sentence); }

  /// The error text of the run; empty when there was no error.
  const std::string& last_error() const { return outcome_.last_error; }

  /// From the first of its write backs on, until it is whole and valid, a cube is incomplete.
  void cube_is_begun(const std::string& name) const { outcome_.incomplete_cubes.push_back(name); }
  void last_begun_cube_is_whole() const { outcome_.incomplete_cubes.pop_back(); }

  /// The cube that the cubes section works on; null when there is none. It outlives the cube
  /// definition that set it.
  OlapCube* current_cube = nullptr;

 private:
  const ImportOptions& options_;
  ImportOutcome& outcome_;
  OlapServer& server_;
  OlapDatabase& database_;
};

/// Runs a step whose error does not count as an error of the run: it is caught here and not
/// reported. Returns whether the step ended without an error.
template <class Step>
bool ignore_errors(Step step) {
  try {
    step();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

/// Runs a lock check. Returns whether the object may be changed; an error that is no refusal is the
/// caller's.
template <class Check>
bool may_change(Check check) {
  try {
    check();
    return true;
  } catch (const LockRefused&) {
    return false;
  }
}

}  // namespace importkcd
