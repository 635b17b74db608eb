#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace importkcd::testing {

/// The parts of a run. They differ in what becomes of an operation that fails.
enum class Section {
  opening,
  database,
  /// The deletion of the database that is to be replaced.
  deletion,
  data_sources,
  shared_dimensions,
  roles,
  cubes,
  storing
};

/// What a run does for one object of the document, in order: messages, which begin with a capital
/// letter or a blank, operations of the server, which begin with a small letter, and errors of the
/// document's own, which begin with "!".
struct ObjectSteps {
  std::string name;
  std::vector<std::string> steps;
};

struct SectionSteps {
  Section section;
  std::vector<ObjectSteps> objects;
};

/// A run without failures.
struct RunScript {
  std::vector<SectionSteps> sections;
  /// Takes the place of what follows a deletion that failed.
  std::vector<SectionSteps> without_deletion;
};

/// Operations that fail, counted from 1.
struct FailingOperations {
  int first = 0;
  /// Whether all operations after it fail, too.
  bool lasting = false;
  /// The text of the error, and the component that raises it.
  std::string description;
  std::string source;

  bool contain(int number) const { return lasting ? number >= first : number == first; }
};

/// What a run with failing operations does, and how it ends.
struct ExpectedRun {
  std::vector<std::string> steps;
  bool succeeded = true;
  std::string last_error;
  /// Whether what was written back was stored.
  bool stored = false;
  /// Whether an operation failed at all.
  bool disturbed = false;
};

/// Plays a script with failing operations by the rules for every section.
ExpectedRun play(const RunScript& script, const FailingOperations& failing);

}  // namespace importkcd::testing
