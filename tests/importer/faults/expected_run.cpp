#include "tests/importer/faults/expected_run.h"

#include <gtest/gtest.h>

#include <array>
#include <cctype>

namespace importkcd::testing {
namespace {

/// What a failed operation leads to.
enum class Road {
  /// The run ends at once: there is no server.
  no_server,
  /// The processing of the document ends; what was written back is stored.
  document,
  /// The object is given up, and the run with the end of its section.
  section,
  /// The object is given up with a message; the run goes on.
  cube_canceled,
  virtual_cube_canceled,
  /// The next step follows.
  next_step,
  /// The run goes on over the database that is still there.
  nothing,
  /// Nothing is stored; an earlier error stays.
  storing,
};

struct Rule {
  Section section;
  std::string_view operation;
  Road road;
};

/// Stands for a look into a collection of the database.
constexpr std::string_view any_look = "any_look";

constexpr std::array rules{
    Rule{Section::opening, "connect", Road::no_server},
    Rule{Section::opening, "class_type", Road::no_server},
    Rule{Section::database, "hold_database", Road::document},
    Rule{Section::database, "stored_objects", Road::document},
    Rule{Section::database, "open_database", Road::document},
    Rule{Section::database, "add_database", Road::document},
    Rule{Section::database, "write_back_database", Road::document},
    Rule{Section::deletion, "stored_objects", Road::nothing},
    Rule{Section::deletion, "remove_database", Road::nothing},
    Rule{Section::data_sources, any_look, Road::section},
    Rule{Section::data_sources, "write_back_data_source", Road::section},
    Rule{Section::shared_dimensions, any_look, Road::section},
    Rule{Section::shared_dimensions, "lock_dimension", Road::section},
    Rule{Section::shared_dimensions, "lock_levels", Road::section},
    Rule{Section::shared_dimensions, "version", Road::section},
    Rule{Section::shared_dimensions, "write_back_dimension", Road::section},
    Rule{Section::roles, any_look, Road::document},
    Rule{Section::cubes, any_look, Road::document},
    Rule{Section::cubes, "lock_cube", Road::document},
    Rule{Section::cubes, "remove_first", Road::cube_canceled},
    Rule{Section::cubes, "version", Road::document},
    Rule{Section::cubes, "write_back_cube", Road::document},
    Rule{Section::cubes, "write_back_dimension", Road::document},
    Rule{Section::cubes, "write_back_partition", Road::document},
    Rule{Section::cubes, "structure_is_valid", Road::document},
    Rule{Section::virtual_dimensions, "lock_dimension", Road::section},
    Rule{Section::virtual_dimensions, "version", Road::section},
    Rule{Section::virtual_dimensions, "write_back_dimension", Road::section},
    Rule{Section::virtual_cubes, "lock_cube", Road::virtual_cube_canceled},
    Rule{Section::virtual_cubes, "remove_first", Road::virtual_cube_canceled},
    Rule{Section::virtual_cubes, "write_back_database", Road::next_step},
    Rule{Section::storing, "finish", Road::storing},
};

Road road_of(Section section, std::string_view step) {
  const auto operation = step.substr(0, step.find(' '));
  for (const auto& rule : rules) {
    if (rule.section == section && rule.operation == operation) {
      return rule.road;
    }
  }
  ADD_FAILURE() << "no rule for " << step;
  return Road::document;
}

class Player {
 public:
  explicit Player(const Failure& failure) : failure_(failure) {}

  void play(const std::vector<SectionSteps>& sections,
            const std::vector<SectionSteps>& without_deletion) {
    for (const auto& section : sections) {
      if (next_ == Next::other_sections) {
        next_ = Next::go_on;
        play(without_deletion, {});
        return;
      }
      const bool stores = section.section == Section::storing;
      if (stores ? next_ != Next::nothing : run.succeeded) {
        play(section);
      }
    }
  }

  ExpectedRun run;

 private:
  /// What follows an operation.
  enum class Next { go_on, other_objects, other_sections, storing, nothing };

  void play(const SectionSteps& section) {
    for (const auto& object : section.objects) {
      next_ = Next::go_on;
      for (const auto& step : object.steps) {
        play(section.section, object.name, step);
        if (next_ != Next::go_on) {
          break;
        }
      }
      if (next_ != Next::go_on && next_ != Next::other_objects) {
        return;
      }
    }
  }

  void play(Section section, const std::string& object, const std::string& step) {
    if (step[0] == '!') {
      end_document(step.substr(1), "OLAP server");
      return;
    }
    run.steps.push_back(step);
    const bool is_operation = std::islower(static_cast<unsigned char>(step[0])) != 0;
    const bool step_fails = static_cast<int>(run.steps.size()) == failure_.step;
    if (step_fails && !failure_.within_step) {
      take(road_of(section, any_look), object);
    } else if (step_fails || (is_operation && failure_.befalls_operation(++operations_))) {
      take(road_of(section, step), object);
    } else if (is_operation && section == Section::storing) {
      run.stored = true;
    }
  }

  void take(Road road, const std::string& object) {
    run.disturbed = true;
    next_ = Next::other_objects;
    switch (road) {
      case Road::no_server:
        next_ = Next::nothing;
        fail("Cannot open DSO server on machine 'memory:' because: " + failure_.description);
        break;
      case Road::document:
        end_document(failure_.description, failure_.source);
        break;
      case Road::section:
        fail(failure_.description);
        break;
      case Road::nothing:
        next_ = Next::other_sections;
        break;
      case Road::next_step:
        next_ = Next::go_on;
        break;
      case Road::storing:
        end_storing();
        break;
      case Road::cube_canceled:
        run.steps.push_back("           Updating cube '" + object + "' canceled");
        break;
      case Road::virtual_cube_canceled:
        run.steps.push_back("           Updating virtual cube '" + object + "' canceled");
        break;
    }
  }

  void end_storing() {
    const auto earlier = run.last_error;
    end_document(failure_.description, failure_.source);
    run.last_error = earlier.empty() ? run.last_error : earlier;
  }

  void end_document(const std::string& description, const std::string& source) {
    next_ = Next::storing;
    fail("Cannot create DSS database because of " + description + " in " + source);
  }

  void fail(const std::string& error) {
    run.succeeded = false;
    run.last_error = error;
  }

  const Failure& failure_;
  int operations_ = 0;
  Next next_ = Next::go_on;
};

}  // namespace

ExpectedRun play(const RunScript& script, const Failure& failure) {
  Player player(failure);
  player.play(script.sections, script.without_deletion);
  return player.run;
}

}  // namespace importkcd::testing
