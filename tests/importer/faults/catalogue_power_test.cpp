#include <random>
#include <string>

#include "tests/importer/faults/catalogue_faults_fixture.h"
#include "tests/support/power_cut.h"

namespace importkcd::testing {
namespace {

/// An import during which the power is cut: what was not synchronised may be lost, in any order.
class CataloguePowerCut : public CatalogueFaultsTest,
                          public ::testing::WithParamInterface<CatalogueCase> {
 protected:
  /// What the catalogue may hold when the power is cut after that many file operations.
  auto possible_content(int done) const {
    if (done < commit_written) {
      return ::testing::AnyOf(before, before);
    }
    return done < commit_synchronised ? ::testing::AnyOf(before, after)
                                      : ::testing::AnyOf(after, after);
  }
};

TEST_P(CataloguePowerCut, CostsAtMostTheImportThatHadNotFinishedStoring) {
  prepare(GetParam());
  restore();
  PowerCutDisk disk(folder.file("catalogue"));
  if (GetParam().start == Start::missing) {
    // SQLite did not make the file itself.
    disk.apply({FileAction::create, path});
  }
  std::mt19937 random(512);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the losses are to repeat
  int done = 0;
  const auto cut = [&](double probability) {
    SCOPED_TRACE(std::to_string(done) + " operations, " + std::to_string(probability));
    disk.write_to(folder.file("catalogue"), probability, random);
    EXPECT_THAT(checked_content(), possible_content(done));
  };
  for (const auto& operation : operations) {
    disk.apply(operation);
    ++done;
    for (const double probability : {0.0, 0.5, 0.9, 1.0}) {
      cut(probability);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, CataloguePowerCut,
                         ::testing::Values(CatalogueCase{import_type::incremental, Start::missing},
                                           CatalogueCase{import_type::incremental, Start::stored},
                                           CatalogueCase{import_type::replace, Start::stored},
                                           CatalogueCase{import_type::update, Start::pending_log}),
                         [](const auto& tested) { return name_of(tested.param); });

}  // namespace
}  // namespace importkcd::testing
