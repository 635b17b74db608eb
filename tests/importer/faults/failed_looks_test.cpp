#include <filesystem>
#include <memory>
#include <string>
#include <tuple>

#include "servers/catalogue/catalogue_store.h"
#include "servers/working_copy_server.h"
#include "tests/importer/faults/scripted_run_fixture.h"
#include "tests/support/forwarding_store.h"

namespace importkcd::testing {
namespace {

namespace fs = std::filesystem;

using LookCase = std::tuple<ScriptCase, Thrown>;

/// A run into a catalogue whose Nth operation of the store fails, for every N: the looks into the
/// collections of its database, and what the server's operations ask for.
class FailedLooks : public ScriptedRunTest, public ::testing::WithParamInterface<LookCase> {
 protected:
  std::unique_ptr<OlapServer> connected() override {
    auto server =
        std::make_unique<WorkingCopyServer>(make_catalogue_store(path_, ServerAccess::read_write));
    server->connect(path_);
    return server;
  }

  void make_start() {
    fs::create_directory(folder.file("catalogue"));
    fill_store(std::get<ScriptCase>(GetParam()));
    fs::rename(folder.file("catalogue"), folder.file("start"));
  }

  void restore() const {
    fs::remove_all(folder.file("catalogue"));
    fs::copy(folder.file("start"), folder.file("catalogue"));
  }

  /// A server whose store fails at the operation of that number. Fills in the failure's place in
  /// the run when it comes to that.
  std::unique_ptr<OlapServer> failing_server(int number, Failure& failure) {
    const auto fail = [this, number, &failure] {
      if (++met_ == number) {
        failure.step = static_cast<int>(steps.size());
        failure.within_step = within_operation_;
        raise(std::get<Thrown>(GetParam()));
      }
    };
    met_ = 0;
    auto store = std::make_shared<ForwardingStore>(
        make_catalogue_store(path_, ServerAccess::read_write), fail);
    return std::make_unique<ForwardingServer>(
        booked(std::make_unique<WorkingCopyServer>(std::move(store))),
        [this](const std::string& operation) {
          steps.push_back(operation);
          within_operation_ = true;
        },
        [this](const std::string&) { within_operation_ = false; });
  }

 private:
  std::string path_ = folder.file("catalogue/server.olap");
  /// How many operations of the store the run met.
  int met_ = 0;
  bool within_operation_ = false;
};

TEST_P(FailedLooks, EndAsTheRulesSayAndLeaveAWholeServer) {
  const auto& [tested, thrown] = GetParam();
  const auto script = script_of(tested);
  make_start();
  bool befell = true;
  for (int number = 1; befell; ++number) {
    restore();
    auto failure = failure_with(thrown);
    import_with(tested, [&](std::string_view) { return failing_server(number, failure); });
    SCOPED_TRACE("operation " + std::to_string(number) + " of the store, in or after step " +
                 std::to_string(failure.step));
    befell = failure.step != 0;
    const auto expected = play(script, failure);
    EXPECT_EQ(expected.disturbed, befell);
    expect_run(expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Runs, FailedLooks,
                         ::testing::Combine(::testing::ValuesIn(script_cases()),
                                            ::testing::Values(Thrown::import_error,
                                                              Thrown::bad_alloc)),
                         [](const auto& tested) {
                           return name_of(std::get<ScriptCase>(tested.param)) +
                                  name_of(std::get<Thrown>(tested.param));
                         });

}  // namespace
}  // namespace importkcd::testing
