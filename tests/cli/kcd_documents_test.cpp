#include "tests/cli/kcd_fixture.h"

namespace importkcd {
namespace {

using testing::read_file;

/// Documents that people are told to begin with.
class KcdDocuments : public testing::KcdTest {
 protected:
  /// The document is imported, and published, and nothing is said about it on standard error. Gives
  /// the database.
  nlohmann::json imported_without_a_word(const std::string& document) {
    for (const std::string& server : {std::string("memory:"), "mondrian:" + folder.file("cubes")}) {
      const auto result = import(document, {"--server", server});
      EXPECT_EQ(result.exit_status, 0) << server;
      EXPECT_EQ(result.errors, "") << server;
    }
    return shown({"mondrian:" + folder.file("cubes")}).at("databases").at(0);
  }
};

TEST_F(KcdDocuments, TheFirstOneOfTheFormatsPageIsWhole) {
  const std::string page = read_file(KCD_FORMAT_PAGE);
  const std::string fence = "```xml\n";
  const auto begin = page.find(fence);
  ASSERT_NE(begin, std::string::npos);
  const auto end = page.find("```", begin + fence.size());
  const auto database =
      imported_without_a_word(page.substr(begin + fence.size(), end - begin - fence.size()));
  EXPECT_EQ(database.at("cubes").at(0).at("measures").size(), 1U);
}

TEST_F(KcdDocuments, TheWebShopIsWhole) {
  const auto database = imported_without_a_word(read_file(EXAMPLES_FOLDER "/web-shop.kcd"));
  // Measures and calculated members with a fault would be left out without a word.
  const auto& orders = database.at("cubes").at(0);
  EXPECT_EQ(orders.at("dimensions").size(), 4U);
  EXPECT_EQ(orders.at("measures").size(), 4U);
  EXPECT_EQ(orders.at("calculated_members").size(), 2U);
  EXPECT_EQ(orders.at("partitions").size(), 2U);
  const auto& visits = database.at("cubes").at(1);
  EXPECT_EQ(visits.at("measures").size(), 2U);
  EXPECT_EQ(visits.at("calculated_members").size(), 1U);
  EXPECT_EQ(database.at("roles").size(), 2U);
}

}  // namespace
}  // namespace importkcd
