#include <string>
#include <tuple>
#include <vector>

#include "tests/importer/faults/catalogue_faults_fixture.h"

namespace importkcd::testing {
namespace {

using ErrorCase = std::tuple<CatalogueCase, FileFault>;

/// An import whose Nth file operation fails, for every N.
class CatalogueErrors : public CatalogueFaultsTest,
                        public ::testing::WithParamInterface<ErrorCase> {
 protected:
  static FileFault fault() { return std::get<FileFault>(GetParam()); }

  FileOperation operation(int number) const {
    return operations.at(static_cast<std::size_t>(number) - 1);
  }

  /// What SQLite calls the failure of an operation.
  std::string reason(int number) const {
    const auto action = operation(number).action;
    if (action == FileAction::create) {
      return "unable to open database file";
    }
    return fault() == FileFault::full && action == FileAction::write ? "database or disk is full"
                                                                     : "disk I/O error";
  }

  /// The text that a failed operation ends in; empty when the import does not need it.
  std::string expected_error(int number) const {
    const auto told = [&] { return "catalogue '" + path + "': " + reason(number); };
    if (number == 0 || number > commit_synchronised) {
      return "";
    }
    return number <= opening
               ? "Cannot open DSO server on machine '" + options.machine_name +
                     "' because: " + told()
               : "Cannot create DSS database because of " + told() + " in OLAP server";
  }

  std::string expected_content(int number) const {
    // The system kept what it could not synchronise, and nothing could be taken back.
    const bool kept = fault() == FileFault::lasting_error && number == commit_synchronised;
    return expected_error(number).empty() || kept ? after : before;
  }
};

TEST_P(CatalogueErrors, AreToldAndLeaveTheStateBeforeOrAfterTheImport) {
  const auto& tested = std::get<CatalogueCase>(GetParam());
  prepare(tested);
  const auto count = static_cast<int>(operations.size());
  int befallen = 0;
  for (int number = 1; number <= count; number += stride(tested.start)) {
    SCOPED_TRACE(std::to_string(number) + ": " + text_of(operation(number)));
    restore();
    vfs.fail_operation(number, fault());
    import_and_close();
    const auto failed = vfs.failed();
    vfs.heal();
    EXPECT_EQ(last_error, expected_error(failed));
    EXPECT_EQ(succeeded, expected_error(failed).empty());
    EXPECT_EQ(checked_content(), expected_content(failed));
    befallen += failed != 0 ? 1 : 0;
    if (fault() != FileFault::full) {
      EXPECT_EQ(failed, number);
    }
  }
  // A full disk lets everything through that needs no room.
  EXPECT_GT(befallen, 0);
}

const std::vector<CatalogueCase> closed_catalogues{{import_type::incremental, Start::missing},
                                                   {import_type::incremental, Start::stored},
                                                   {import_type::replace, Start::stored},
                                                   {import_type::update, Start::stored}};

const std::vector<CatalogueCase> pending_logs{{import_type::incremental, Start::pending_log},
                                              {import_type::replace, Start::pending_log},
                                              {import_type::update, Start::pending_log}};

const std::vector<CatalogueCase> long_logs{{import_type::update, Start::long_log}};

std::string name_of_case(const ::testing::TestParamInfo<ErrorCase>& tested) {
  auto name = name_of(std::get<CatalogueCase>(tested.param));
  switch (std::get<FileFault>(tested.param)) {
    case FileFault::error:
      return name + "WithAnError";
    case FileFault::lasting_error:
      return name + "WithALastingError";
    case FileFault::full:
      return name + "WithAFullDisk";
    case FileFault::half_done:
      return name + "WithAShortWrite";
    default:
      return name;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Closed, CatalogueErrors,
    ::testing::Combine(::testing::ValuesIn(closed_catalogues),
                       ::testing::Values(FileFault::error, FileFault::lasting_error,
                                         FileFault::full, FileFault::half_done)),
    name_of_case);
INSTANTIATE_TEST_SUITE_P(Pending, CatalogueErrors,
                         ::testing::Combine(::testing::ValuesIn(pending_logs),
                                            ::testing::Values(FileFault::lasting_error,
                                                              FileFault::half_done)),
                         name_of_case);
INSTANTIATE_TEST_SUITE_P(Long, CatalogueErrors,
                         ::testing::Combine(::testing::ValuesIn(long_logs),
                                            ::testing::Values(FileFault::error, FileFault::full)),
                         name_of_case);

}  // namespace
}  // namespace importkcd::testing
