#include "mondrian/published_partitions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/import_error.h"

namespace importkcd::testing {
namespace {

const PublishedPartition sales{"Sales", "select \"amount\"\r\nfrom \"sales\"", {}};
const PublishedPartition old_sales{
    "L'Aquila",
    "select 1",
    {{"store", "city", "L'Aquila", false}, {"store", "city_id", "17", true}}};

TEST(PublishedPartitionsText, GivesBackWhatItWasMadeOf) {
  const auto read = partitions_of_text(partitions_text({sales, old_sales}));
  ASSERT_EQ(read.size(), 2U);
  EXPECT_EQ(read[0].name, "Sales");
  EXPECT_TRUE(read[0].slices.empty());
  EXPECT_EQ(read[1].name, "L'Aquila");
  EXPECT_EQ(read[1].query, "select 1");
  ASSERT_EQ(read[1].slices.size(), 2U);
  EXPECT_EQ(read[1].slices[0].table, "store");
  EXPECT_EQ(read[1].slices[0].column, "city");
  EXPECT_EQ(read[1].slices[0].value, "L'Aquila");
  EXPECT_FALSE(read[1].slices[0].is_number);
  EXPECT_TRUE(read[1].slices[1].is_number);
}

TEST(PublishedPartitionsText, HasTheQueriesAsTheyComeBackFromASchemaWithLineFeeds) {
  EXPECT_EQ(partitions_of_text(partitions_text({sales, old_sales}))[0].query,
            "select \"amount\"\nfrom \"sales\"");
}

TEST(PublishedPartitionsText, IsEmptyForOnePartitionAndWithoutASlice) {
  EXPECT_EQ(partitions_text({old_sales}), "");
  EXPECT_EQ(partitions_text({sales, sales}), "");
}

TEST(PublishedPartitionsText, IsRefusedWhenItIsNoneOfOurs) {
  for (const char* text : {"", "[", "[{}]", R"([{"name":1,"query":"q","slices":[]}])",
                           R"([{"name":"n","query":"q","slices":[{"table":"t"}]}])"}) {
    EXPECT_THAT([&] { partitions_of_text(text); },
                ::testing::ThrowsMessage<ImportError>(::testing::StartsWith(
                    "The annotation 'importkcd.partitions' of a cube cannot be read: ")))
        << text;
  }
}

}  // namespace
}  // namespace importkcd::testing
