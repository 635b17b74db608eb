#include "tests/importer/faults/scripted_run_fixture.h"

#include <new>
#include <stdexcept>
#include <utility>

#include "tests/support/whole_document.h"

namespace importkcd::testing {

std::string name_of(Thrown thrown) {
  switch (thrown) {
    case Thrown::import_error:
      return "WithAnImportError";
    case Thrown::runtime_error:
      return "WithAnotherError";
    case Thrown::bad_alloc:
      return "WithoutMemory";
  }
  return {};
}

void raise(Thrown thrown) {
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

Failure failure_with(Thrown thrown) {
  Failure result;
  result.description = thrown == Thrown::bad_alloc ? std::bad_alloc().what() : "refused";
  result.source = thrown == Thrown::import_error ? "far side" : "ImportKCD";
  return result;
}

ScriptedRunTest::ScriptedRunTest() {
  options.import_partitions = true;
  options.progres_window = &sink_;
}

void ScriptedRunTest::fill_store(const ScriptCase& tested) {
  server_factory = [this](std::string_view) { return connected(); };
  options.ImportType = import_type::incremental;
  options.DontUpdateLevels = false;
  if (tested.holds_database) {
    import(older_document());
    EXPECT_TRUE(importer->succeeded) << importer->last_error;
  }
  import(bare_document("1.0.1073", "Other"));
  EXPECT_TRUE(importer->succeeded) << importer->last_error;
  importer.reset();
}

void ScriptedRunTest::import_with(const ScriptCase& tested, const OlapServerFactory& make_server) {
  options.ImportType = tested.type;
  options.DontUpdateLevels = tested.dont_update_levels;
  begin();
  server_factory = make_server;
  import(scripted_document());
}

void ScriptedRunTest::begin() {
  before_ = content_of(*connected());
  steps.clear();
}

std::unique_ptr<OlapServer> ScriptedRunTest::booked(std::unique_ptr<OlapServer> target) {
  return std::make_unique<WrittenContent>(std::move(target), "Shop", *connected(), written_);
}

void ScriptedRunTest::expect_run(const ExpectedRun& expected) {
  EXPECT_THAT(steps, ::testing::ElementsAreArray(expected.steps));
  EXPECT_EQ(importer->succeeded, expected.succeeded);
  EXPECT_EQ(importer->last_error, expected.last_error);
  EXPECT_THAT(temporary_files(), ::testing::IsEmpty());
  if (expected.stored) {
    EXPECT_EQ(content_of(*connected()), written_);
  } else {
    EXPECT_EQ(content_of(*connected()), before_);
    // A server that was not finished holds the database until its end.
    importer.reset();
  }
  EXPECT_NO_THROW(connected()->hold_database("Shop"));

  server_factory = [this](std::string_view) { return connected(); };
  options.ImportType = import_type::replace;
  options.DontUpdateLevels = false;
  import(scripted_document());
  EXPECT_TRUE(importer->succeeded) << importer->last_error;
  EXPECT_EQ(importer->last_error, "");
  importer.reset();
}

void ScriptedRunTest::StepsSink::put_progres_message(const std::string& message) {
  const std::string opening = "Opening kcd document file '";
  const bool tells_copy = message.rfind(opening, 0) == 0;
  steps_.push_back(tells_copy ? opening + "COPY'" : message);
}

}  // namespace importkcd::testing
