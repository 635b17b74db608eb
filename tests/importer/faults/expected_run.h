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
  virtual_dimensions,
  virtual_cubes,
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

/// What fails in a run.
struct Failure {
  /// The number of the operation of the server that fails, from 1 on; 0: none does.
  int operation = 0;
  /// Whether all operations after it fail, too.
  bool lasting = false;
  /// The number of the step in or after which a look into a collection of the database fails, or
  /// what the server does for an operation; 0: none does.
  int step = 0;
  bool within_step = false;
  /// The text of the error, and the component that raises it.
  std::string description;
  std::string source;

  bool befalls_operation(int number) const {
    return lasting ? number >= operation : number == operation;
  }
};

/// What a run with a failure does, and how it ends.
struct ExpectedRun {
  std::vector<std::string> steps;
  bool succeeded = true;
  std::string last_error;
  /// Whether what was written back was stored.
  bool stored = false;
  /// Whether the run came to the failure.
  bool disturbed = false;
};

/// Plays a script with a failure by the rules for every section.
ExpectedRun play(const RunScript& script, const Failure& failure);

}  // namespace importkcd::testing
