#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "tests/engine/whole_document_script.h"
#include "tests/engine/written_content.h"
#include "tests/support/engine_fixture.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

/// What a failed operation throws.
enum class Thrown { import_error, runtime_error, bad_alloc };

[[noreturn]] void raise(Thrown thrown) {
  switch (thrown) {
    case Thrown::import_error:
      throw ImportError("refused", "far side");
    case Thrown::runtime_error:
      throw std::runtime_error("refused");
    case Thrown::bad_alloc:
      break;
  }
  throw std::bad_alloc();
}

FailingOperations failing_with(Thrown thrown) {
  FailingOperations result;
  result.description = thrown == Thrown::bad_alloc ? std::bad_alloc().what() : "refused";
  result.source = thrown == Thrown::import_error ? "far side" : "ImportKCD";
  return result;
}

/// What is thrown, and whether everything fails from then on.
using FailureCase = std::tuple<ScriptCase, Thrown, bool>;

/// A run whose Nth operation fails, for every N.
class FailedOperations : public EngineTest, public ::testing::WithParamInterface<FailureCase> {
 protected:
  /// Writes what the run says between the operations.
  class StepsSink : public ProgressSink {
   public:
    explicit StepsSink(std::vector<std::string>& steps) : steps_(steps) {}
    void put_progres_message(const std::string& message) override {
      const std::string opening = "Opening kcd document file '";
      const bool tells_copy = message.rfind(opening, 0) == 0;
      steps_.push_back(tells_copy ? opening + "COPY'" : message);
    }

   private:
    std::vector<std::string>& steps_;
  };

  FailedOperations() {
    options.import_partitions = true;
    options.progres_window = &sink_;
  }

  void prepare_store() {
    clear_store();
    server_factory = {};
    hook = {};
    options.ImportType = import_type::incremental;
    options.DontUpdateLevels = false;
    const auto& tested = std::get<ScriptCase>(GetParam());
    if (tested.holds_database) {
      import(older_document());
      ASSERT_TRUE(engine->succeeded) << engine->last_error;
    }
    import(bare_document("1.0.1073", "Other"));
    ASSERT_TRUE(engine->succeeded) << engine->last_error;
    options.ImportType = tested.type;
    options.DontUpdateLevels = tested.dont_update_levels;
  }

  /// Imports with these operations failing, and leaves the engine as it is.
  void import_with(const FailingOperations& failing) {
    steps.clear();
    const auto fail = [&, operations = 0](const std::string& operation) mutable {
      steps.push_back(operation);
      if (failing.contain(++operations)) {
        raise(std::get<Thrown>(GetParam()));
      }
    };
    written = content_of(*look());
    server_factory = [&](std::string_view) {
      return std::make_unique<ForwardingServer>(
          std::make_unique<WrittenContent>(look(), "Shop", written), fail);
    };
    import(scripted_document());
    server_factory = {};
  }

  /// That another run can hold the database and replaces it without an error.
  void expect_free_database() {
    EXPECT_NO_THROW(look()->hold_database("Shop"));
    options.ImportType = import_type::replace;
    options.DontUpdateLevels = false;
    import(scripted_document());
    EXPECT_TRUE(engine->succeeded) << engine->last_error;
    EXPECT_EQ(engine->last_error, "");
  }

  /// What the last run did, and what it wrote back.
  std::vector<std::string> steps;
  ServerContent written;

 private:
  StepsSink sink_{steps};
};

TEST_P(FailedOperations, EndAsTheRulesSayAndLeaveAWholeServer) {
  const auto& [tested, thrown, lasting] = GetParam();
  const auto script = script_of(tested);
  auto failing = failing_with(thrown);
  failing.lasting = lasting;
  bool disturbed = true;
  for (failing.first = 1; disturbed; ++failing.first) {
    SCOPED_TRACE("operation " + std::to_string(failing.first));
    prepare_store();
    const auto before = content_of(*look());
    const auto expected = play(script, failing);
    import_with(failing);
    EXPECT_THAT(steps, ::testing::ElementsAreArray(expected.steps));
    EXPECT_EQ(engine->succeeded, expected.succeeded);
    EXPECT_EQ(engine->last_error, expected.last_error);
    EXPECT_THAT(temporary_files(), ::testing::IsEmpty());
    if (!expected.stored) {
      EXPECT_EQ(content_of(*look()), before);
      // A server that was not finished holds the database until its end.
      engine.reset();
    } else {
      EXPECT_EQ(content_of(*look()), written);
    }
    expect_free_database();
    disturbed = expected.disturbed;
  }
}

std::vector<ScriptCase> script_cases() {
  std::vector<ScriptCase> cases;
  for (const bool holds_database : {false, true}) {
    for (const auto type : {import_type::none, import_type::incremental, import_type::replace}) {
      cases.push_back({type, false, holds_database});
    }
    cases.push_back({import_type::update, false, holds_database});
    cases.push_back({import_type::update, true, holds_database});
  }
  return cases;
}

std::string name_of_case(const ::testing::TestParamInfo<FailureCase>& tested) {
  const auto& [script, thrown, lasting] = tested.param;
  const std::string error = thrown == Thrown::import_error    ? "WithAnImportError"
                            : thrown == Thrown::runtime_error ? "WithAnotherError"
                                                              : "WithoutMemory";
  return name_of(script) + error + (lasting ? "FromThenOn" : "");
}

INSTANTIATE_TEST_SUITE_P(Runs, FailedOperations,
                         ::testing::Combine(::testing::ValuesIn(script_cases()),
                                            ::testing::Values(Thrown::import_error,
                                                              Thrown::runtime_error,
                                                              Thrown::bad_alloc),
                                            ::testing::Bool()),
                         name_of_case);

}  // namespace
}  // namespace importkcd::testing
