#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/import_error.h"
#include "document/kcd_document.h"

namespace importkcd {

/// What a message says of an object.
enum class ObjectAction { searching, creating, skipping, updating, refusing, canceling, removing };

/// The object that a message is about, told apart from the message's words.
struct ObjectEvent {
  ObjectAction action = ObjectAction::searching;
  /// Such as "shared dimension".
  std::string_view kind;
  std::string_view name;
};

/// Receives the one-line progress messages of a run, in order. Messages are UTF-8 without a line
/// end; names in them may hold control characters, which whoever shows a message replaces by
/// blanks.
class ProgressSink {
 public:
  virtual ~ProgressSink() = default;
  virtual void put_progres_message(const std::string& message) = 0;
  /// A message that is about one object.
  virtual void put_object_message(const std::string& message, const ObjectEvent& /*event*/) {
    put_progres_message(message);
  }
  /// The document defines so many objects that stand directly in one of its collections.
  virtual void expect_objects(std::size_t /*count*/) {}
  /// The run comes to the next of them.
  virtual void next_object() {}
  /// A step follows that may take long and says nothing meanwhile: whoever shows messages with a
  /// delay shows them now.
  virtual void before_a_long_step() {}
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

/// Values of ImportOptions::ImportType.
namespace import_type {
/// No mode was chosen: existing objects are left as they are, without a message.
constexpr std::int32_t none = 0;
/// Existing objects are skipped.
constexpr std::int32_t incremental = 1;
/// An existing database is deleted first and built anew.
constexpr std::int32_t replace = 2;
/// Existing objects are rewritten.
constexpr std::int32_t update = 3;
}  // namespace import_type

/// What becomes of what a failed run wrote back.
enum class AfterFailure {
  /// It is stored, unless the server keeps no failed runs (OlapServer::keeps_failed_runs).
  as_the_server_says,
  /// It is stored.
  keep,
  /// Nothing is stored, also when the run succeeded but had to pass something over.
  discard,
};

/// The connection text of the data source of that name, letter case apart.
struct NamedConnectString {
  std::string data_source;
  std::string text;
};

/// What a run is asked to do. All texts are UTF-8.
struct ImportOptions {
  /// Path of the cube definition document (.kcd).
  std::string kcd_document_file_name;
  /// Text that names the OLAP server (server_choice.h lists the forms).
  std::string machine_name;

  /// See import_type; it alone decides between creating, updating and skipping.
  std::int32_t ImportType = import_type::none;
  /// Kept for the front end; a run does not consult them.
  bool incremental = false;
  bool replace_yn = false;
  bool virtual_cubes = false;

  /// Leave the levels of shared dimensions as they are; new dimensions stay without levels.
  bool DontUpdateLevels = false;
  bool import_partitions = false;
  /// Import the document's virtual dimensions and virtual cubes as well, after the cubes. A virtual
  /// dimension that is updated gets the document's levels in place of its own.
  bool import_virtual_objects = false;
  AfterFailure after_failure = AfterFailure::as_the_server_says;

  /// The database name used instead of the document's when use_alternate_database_name is true.
  std::string alternate_database_name;
  bool use_alternate_database_name = false;

  /// Data warehouse server put into the "Data Source" item of connection strings; empty: none.
  std::string data_source_name;
  /// Connection text that takes the place of every data source's own; empty: none.
  std::string datawarehouse_connectstring;
  /// The same for single data sources; before all others.
  std::vector<NamedConnectString> named_connectstrings;

  /// Every occurrence of pattern_from in the document's text becomes pattern_to, when the company
  /// pattern is switched on (replace_pattern).
  std::string pattern_from;
  std::string pattern_to;

  /// Where progress messages go; not owned, may be null.
  ProgressSink* progres_window = nullptr;
  /// Where messages for a person go; not owned, may be null.
  NotificationSink* notifications = nullptr;

  /// Sends one message to the progress window, if there is one.
  void ReportProgress(const std::string& text) const {
    if (progres_window != nullptr) {
      progres_window->put_progres_message(text);
    }
  }

  /// The same for a message about one object.
  void ReportObject(const std::string& text, const ObjectEvent& event) const {
    if (progres_window != nullptr) {
      progres_window->put_object_message(text, event);
    }
  }

  /// Tells the progress window, if there is one, that a long step without messages follows.
  void ReportLongStep() const {
    if (progres_window != nullptr) {
      progres_window->before_a_long_step();
    }
  }

  void replace_pattern(bool apply) { replace_pattern_ = apply; }
  bool replace_pattern_yn() const { return replace_pattern_; }

 private:
  bool replace_pattern_ = false;
};

/// What became of a run.
struct ImportOutcome {
  /// Whether all went well so far; the guard before every next step. The caller sets it to true
  /// before `make`.
  bool succeeded = false;
  /// The text of the error that stopped the run; empty when there was none.
  std::string last_error;
  /// What went wrong in the last step that the caller asked for without ending its success; one
  /// sentence each, without a full stop. Those messages go to ImportOptions::notifications, too.
  std::vector<std::string> passed_over = {};
  /// What a person should know although it is no fault of the run; as passed_over.
  std::vector<std::string> remarks = {};
  /// The element that a run is working on; null when it works on none.
  const KcdElement* working_on = nullptr;
  /// The element at which the run failed with `last_error`; null when it failed elsewhere. It lives
  /// as long as the run's document.
  const KcdElement* failed_at = nullptr;
  /// The place of the fault that the run failed with, in the person's own file; its line is 0 when
  /// the fault is not in the document, and its column when the pattern may have moved it.
  DocumentPosition failed_position = {};
  /// Why it failed there, without what `last_error` says around it.
  std::string failed_reason = {};
  /// The cubes that were written back before all their parts were, or that are not valid.
  std::vector<std::string> incomplete_cubes = {};

  /// What the error came from.
  FailureCause cause = FailureCause::refused;
  /// The name of the database that the run found or added; empty when it came not so far.
  std::string database = {};
  /// Whether the run's result was stored.
  bool was_stored = false;

  /// Ends the run's success with this error text.
  void fail(const std::string& error, FailureCause from = FailureCause::refused) {
    succeeded = false;
    last_error = error;
    cause = from;
    failed_reason = error;
    failed_at = working_on;
  }
};

}  // namespace importkcd
