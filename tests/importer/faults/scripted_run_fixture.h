#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/importer/faults/whole_document_script.h"
#include "tests/importer/faults/written_content.h"
#include "tests/support/importer_fixture.h"

namespace importkcd::testing {

/// What a failure throws.
enum class Thrown { import_error, runtime_error, bad_alloc };

std::string name_of(Thrown thrown);

/// Throws it.
[[noreturn]] void raise(Thrown thrown);

/// A failure that throws it, still without a place.
Failure failure_with(Thrown thrown);

/// Imports scripted_document() with a failure and compares everything that the run does and leaves
/// with what a script and the book of its write backs say.
class ScriptedRunTest : public ImporterTest {
 protected:
  ScriptedRunTest();

  /// A server over the store that the runs share, connected.
  virtual std::unique_ptr<OlapServer> connected() { return look(); }

  /// Puts into the empty store what the run is to find.
  void fill_store(const ScriptCase& tested);
  /// Imports; `make_server` gives the run its server.
  void import_with(const ScriptCase& tested, const OlapServerFactory& make_server);
  /// What the run did so far does not count.
  void begin();
  /// The server keeps a book of what is written back to `target`.
  std::unique_ptr<OlapServer> booked(std::unique_ptr<OlapServer> target);

  /// That the last run was as told, left no temporary copy and no database held, and that another
  /// one replaces the database without an error. Leaves the store changed.
  void expect_run(const ExpectedRun& expected);

  /// What the last run did.
  std::vector<std::string> steps;

 private:
  /// Writes what a run says between the operations.
  class StepsSink : public ProgressSink {
   public:
    explicit StepsSink(std::vector<std::string>& steps) : steps_(steps) {}
    void put_progres_message(const std::string& message) override;

   private:
    std::vector<std::string>& steps_;
  };

  StepsSink sink_{steps};
  ServerContent before_;
  ServerContent written_;
};

}  // namespace importkcd::testing
