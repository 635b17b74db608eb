#include <memory>
#include <string>
#include <tuple>

#include "tests/importer/faults/scripted_run_fixture.h"

namespace importkcd::testing {
namespace {

/// What is thrown, and whether everything fails from then on.
using OperationCase = std::tuple<ScriptCase, Thrown, bool>;

/// A run whose Nth operation of the server fails, for every N.
class FailedOperations : public ScriptedRunTest,
                         public ::testing::WithParamInterface<OperationCase> {
 protected:
  std::unique_ptr<OlapServer> failing_server(const Failure& failure) {
    auto fail = [this, failure, number = 0](const std::string& operation) mutable {
      steps.push_back(operation);
      if (failure.befalls_operation(++number)) {
        raise(std::get<Thrown>(GetParam()));
      }
    };
    return std::make_unique<ForwardingServer>(booked(connected()), std::move(fail));
  }
};

TEST_P(FailedOperations, EndAsTheRulesSayAndLeaveAWholeServer) {
  const auto& [tested, thrown, lasting] = GetParam();
  const auto script = script_of(tested);
  auto failure = failure_with(thrown);
  failure.lasting = lasting;
  bool befell = true;
  while (befell) {
    ++failure.operation;
    SCOPED_TRACE("operation " + std::to_string(failure.operation));
    clear_store();
    fill_store(tested);
    import_with(tested, [&](std::string_view) { return failing_server(failure); });
    const auto expected = play(script, failure);
    expect_run(expected);
    befell = expected.disturbed;
  }
  EXPECT_GT(failure.operation, 10);
}

std::string name_of_operation_case(const ::testing::TestParamInfo<OperationCase>& tested) {
  const auto& [script, thrown, lasting] = tested.param;
  return name_of(script) + name_of(thrown) + (lasting ? "FromThenOn" : "");
}

INSTANTIATE_TEST_SUITE_P(Runs, FailedOperations,
                         ::testing::Combine(::testing::ValuesIn(script_cases()),
                                            ::testing::Values(Thrown::import_error,
                                                              Thrown::runtime_error,
                                                              Thrown::bad_alloc),
                                            ::testing::Bool()),
                         name_of_operation_case);

}  // namespace
}  // namespace importkcd::testing
