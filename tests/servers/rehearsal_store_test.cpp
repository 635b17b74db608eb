#include "servers/rehearsal_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/import_error.h"
#include "servers/catalogue/catalogue_store.h"
#include "servers/choice/server_choice.h"
#include "servers/memory/memory_server.h"
#include "tests/support/forwarding_store.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RehearsalStoreTest : public ::testing::Test {
 protected:
  RehearsalStoreTest() {
    const auto server = make_memory_server(storage_);
    server->connect("");
    auto& database = server->add_database("Retail");
    database.description = "Shops";
    server->write_back_database(database);
    server->write_back_dimension(database, database.dimensions().add_new("Time"));
    server->finish();
  }

  std::unique_ptr<WorkingCopyServer> server() const { return make_memory_server(storage_); }

  /// A connected rehearsal in which a dimension was added.
  std::shared_ptr<RehearsalStore> rehearse(RehearsalBase base) {
    rehearsing_ = server();
    auto store = rehearsing_->rehearse(base);
    rehearsing_->connect("");
    rehearsing_->hold_database("RETAIL");
    auto& database = base == RehearsalBase::stored ? rehearsing_->open_database("Retail")
                                                   : rehearsing_->add_database("Retail");
    rehearsing_->write_back_dimension(database, database.dimensions().add_new("Product"));
    rehearsing_->write_back_database(database);
    rehearsing_->finish();
    return store;
  }

 private:
  std::shared_ptr<MemoryStorage> storage_ = make_memory_store();
  std::unique_ptr<WorkingCopyServer> rehearsing_;
};

TEST_F(RehearsalStoreTest, KnowsWhatWasThereAndWhatWouldBe) {
  const auto store = rehearse(RehearsalBase::stored);
  ASSERT_TRUE(store->before("retail") && store->after("retail"));
  EXPECT_THAT(store->before("retail")->dimensions, ::testing::SizeIs(1));
  EXPECT_EQ(store->before("retail")->description, "Shops");
  EXPECT_THAT(store->after("retail")->dimensions, ::testing::SizeIs(2));
  EXPECT_EQ(store->held_name(), "RETAIL");
}

TEST_F(RehearsalStoreTest, StoresNothing) {
  rehearse(RehearsalBase::stored);
  const auto look = server();
  look->connect("");
  EXPECT_THAT(look->open_database("Retail").dimensions().names(), ElementsAre("Time"));
}

TEST_F(RehearsalStoreTest, LaterStepsSeeEarlierOnes) {
  const auto store = rehearse(RehearsalBase::stored);
  WorkingCopyServer next(store);
  EXPECT_THAT(next.open_database("Retail").dimensions().names(), ElementsAre("Time", "Product"));
  next.remove_database("Retail");
  next.finish();
  EXPECT_TRUE(store->before("Retail"));
  EXPECT_FALSE(store->after("Retail"));
  EXPECT_THAT(store->database_names(), IsEmpty());
}

TEST_F(RehearsalStoreTest, ADatabaseThatWasNotTouchedIsTheSameBeforeAndAfter) {
  const auto idle = server();
  const auto store = idle->rehearse(RehearsalBase::stored);
  idle->connect("");
  EXPECT_THAT(store->before("Retail")->dimensions, ::testing::SizeIs(1));
  EXPECT_THAT(store->after("Retail")->dimensions, ::testing::SizeIs(1));
  EXPECT_FALSE(store->before("Other"));
  EXPECT_EQ(store->held_name(), "");
}

TEST_F(RehearsalStoreTest, AnEmptyBaseHidesWhatIsStored) {
  const auto store = rehearse(RehearsalBase::empty);
  EXPECT_FALSE(store->before("Retail"));
  EXPECT_THAT(store->after("Retail")->dimensions, ::testing::SizeIs(1));
  EXPECT_EQ(store->after("Retail")->description, "");
}

TEST_F(RehearsalStoreTest, ARehearsalHoldsNothing) {
  rehearse(RehearsalBase::stored);
  const auto other = server();
  other->connect("");
  EXPECT_NO_THROW(other->hold_database("Retail"));
}

TEST_F(RehearsalStoreTest, RestoringCannotBeRehearsed) {
  EXPECT_THAT([&] { rehearse(RehearsalBase::stored)->restore("Retail"); },
              ::testing::ThrowsMessage<ImportError>(
                  ::testing::StrEq("database 'Retail' cannot be restored in a rehearsal")));
}

/// Refuses what a rehearsal would store once it is told to.
class UnwillingStore : public testing::ForwardingStore {
 public:
  explicit UnwillingStore(const std::string& path)
      : ForwardingStore(make_catalogue_store(path, ServerAccess::read_write), [] {}) {}
  void look_at(OlapStore& /*changed*/, const std::vector<std::string>& /*databases*/) override {
    if (refuses) {
      throw ImportError("refused", error_source::olap_server);
    }
  }

  bool refuses = false;
};

TEST(Rehearsal, LeavesTheStateBeforeARunThatIsRefused) {
  const testing::TemporaryFolder folder;
  const auto target = std::make_shared<UnwillingStore>(folder.file("server.olap"));
  const auto store = std::make_shared<RehearsalStore>(target, RehearsalBase::stored);
  WorkingCopyServer server(store);
  server.connect("");
  server.write_back_database(server.add_database("Retail"));
  server.finish();
  target->refuses = true;
  auto& database = server.open_database("Retail");
  server.write_back_dimension(database, database.dimensions().add_new("Time"));
  server.write_back_database(server.add_database("Shop"));
  EXPECT_THAT([&] { server.finish(); },
              ::testing::ThrowsMessage<ImportError>(::testing::StrEq("refused")));
  ASSERT_TRUE(store->after("Retail"));
  EXPECT_THAT(store->after("Retail")->dimensions, IsEmpty());
  EXPECT_FALSE(store->after("Shop"));
}

TEST(Rehearsal, CreatesNothingOnAnyServer) {
  const testing::TemporaryFolder folder;
  for (const auto& machine : {"catalogue:" + folder.file("server.olap"),
                              "mondrian:" + folder.file("olap"), std::string("memory:")}) {
    const auto rehearsal = make_rehearsal(machine, RehearsalBase::stored);
    rehearsal.server->connect(machine);
    rehearsal.server->hold_database("Retail");
    auto& database = rehearsal.server->add_database("Retail");
    rehearsal.server->write_back_database(database);
    rehearsal.server->finish();
    EXPECT_TRUE(rehearsal.store->after("Retail")) << machine;
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Rehearsal, MeetsTheSameRefusalsAsARun) {
  const testing::TemporaryFolder folder;
  folder.write("datasources.xml", "somebody else's");
  const auto rehearsal =
      make_rehearsal("mondrian:" + folder.path().string(), RehearsalBase::stored);
  EXPECT_THAT([&] { rehearsal.server->connect(""); },
              ::testing::ThrowsMessage<ImportError>(
                  ::testing::StartsWith("the folder '" + folder.path().string() +
                                        "' has a datasources.xml that no import has written (")));
  EXPECT_THAT([&] { make_rehearsal("elsewhere", RehearsalBase::stored); },
              ::testing::ThrowsMessage<ImportError>(::testing::StartsWith(
                  "'elsewhere' is no OLAP server that can be reached; there are: ")));
}

}  // namespace
}  // namespace importkcd
