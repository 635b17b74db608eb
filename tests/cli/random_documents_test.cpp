#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>

#include "cli/database_json.h"
#include "servers/catalogue/catalogue_store.h"
#include "servers/memory/memory_server.h"
#include "servers/working_copy_server.h"
#include "tests/support/document_generator.h"
#include "tests/support/import_fixture.h"

namespace importkcd {
namespace {

std::string json_of(const OlapServerFactory& open_server) {
  const auto server = open_server("");
  server->connect("");
  std::ostringstream out;
  DatabaseJson json(out);
  for (const auto& object : server->stored_objects()) {
    json.add(server->open_database(object.name));
  }
  json.end();
  return out.str();
}

/// Seed, import type, chance of something odd in a hundred.
using Round = std::tuple<std::uint32_t, std::int32_t, int>;

/// The embedded server must do what the in-memory server does, whatever the document.
class RandomDocuments : public ::testing::TestWithParam<Round> {
 protected:
  static std::string document(std::uint32_t seed, int odd_percentage) {
    testing::GeneratorOptions options;
    options.seed = seed;
    options.cubes = 6;
    options.odd_percentage = odd_percentage;
    return testing::generate_document(options);
  }

  void import_into_both(const std::string& text, const ImportOptions& options) {
    const auto in_memory = testing::import_text(text, options, memory_);
    const auto in_catalogue = testing::import_text(text, options, catalogue_);
    EXPECT_EQ(in_memory.succeeded, in_catalogue.succeeded);
    EXPECT_EQ(in_memory.last_error, in_catalogue.last_error);
    EXPECT_EQ(in_memory.messages, in_catalogue.messages);
    EXPECT_EQ(json_of(memory_), json_of(catalogue_));
    last_succeeded_ = in_memory.succeeded;
  }

  bool last_succeeded_ = false;

 private:
  testing::TemporaryFolder folder_;
  std::shared_ptr<MemoryStorage> storage_ = make_memory_store();
  OlapServerFactory memory_ = [this](std::string_view) { return make_memory_server(storage_); };
  OlapServerFactory catalogue_ = [this](std::string_view) {
    return std::make_unique<WorkingCopyServer>(
        make_catalogue_store(folder_.file("server.olap"), ServerAccess::read_write));
  };
};

TEST_P(RandomDocuments, GiveTheSameInMemoryAndInTheCatalogue) {
  const auto [seed, type, odd_percentage] = GetParam();
  ImportOptions options;
  options.ImportType = type;
  options.import_partitions = seed % 2 == 0;
  // Without levels, references to them fail the run; both servers must fail alike.
  options.DontUpdateLevels = seed % 3 == 0;
  const auto first = document(seed, odd_percentage);
  import_into_both(first, options);
  if (odd_percentage == 0 && !options.DontUpdateLevels) {
    EXPECT_TRUE(last_succeeded_);
  }
  import_into_both(first, options);
  import_into_both(document(seed + 1000, odd_percentage), options);
}

INSTANTIATE_TEST_SUITE_P(Modes, RandomDocuments,
                         ::testing::Combine(::testing::Range(1U, 13U),
                                            ::testing::Values(import_type::incremental,
                                                              import_type::replace,
                                                              import_type::update),
                                            ::testing::Values(0, 1, 10)),
                         [](const auto& round) {
                           return "Seed" + std::to_string(std::get<0>(round.param)) + "Type" +
                                  std::to_string(std::get<1>(round.param)) + "Odd" +
                                  std::to_string(std::get<2>(round.param));
                         });

}  // namespace
}  // namespace importkcd
