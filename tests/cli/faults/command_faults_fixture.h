#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/process.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// A command that is run with faults: "replace" and the other modes mean an import, or "restore".
struct CommandCase {
  std::string server;
  std::string command;
};

std::string name_of_case(const ::testing::TestParamInfo<CommandCase>& tested);

/// What a server holds and, with mondrian:, what is published, without the times of publication.
struct ServedState {
  std::string stored;
  std::string published;

  bool operator==(const ServedState&) const = default;
};

/// One command of `kcd`, run again and again from the same state, each time with another fault.
class CommandFaultsTest : public ::testing::Test,
                          public ::testing::WithParamInterface<CommandCase> {
 protected:
  CommandFaultsTest();

  /// Makes the state to begin with and notes what the command makes of it.
  void prepare();
  /// Puts the state to begin with into place again.
  void restore_start() const;

  /// An end that a fault may have besides those that any fault may have.
  enum class AlsoKnown { none, abort, in_use };
  /// Judges how a run ended that met one fault.
  void expect_known_end(const ProcessResult& result, AlsoKnown also_known);
  /// The same for a run that was killed.
  void expect_known_state();
  /// Whether that run had changed what is stored.
  bool has_changed() const { return changed_; }

  /// The command under test, without a fault.
  ProcessStart command;
  TemporaryFolder folder;

 private:
  ProcessStart kcd(const std::vector<std::string>& arguments) const;
  ProcessStart import_of(const std::string& document, const std::string& mode) const;
  bool keeps_anything() const { return GetParam().server != "memory:"; }
  ServedState state() const;
  std::string published() const;

  std::string server_;
  ServedState before_;
  ServedState after_;
  bool changed_ = false;
};

}  // namespace importkcd::testing
