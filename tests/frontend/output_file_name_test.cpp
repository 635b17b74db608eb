#include "frontend/output_file_name.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/time_zone.h"

namespace importkcd {
namespace {

using namespace std::chrono_literals;
using ::testing::Optional;

constexpr auto day = 2026y / 11 / 15;

TEST(OutputFileName, TheDayIsTodaysWhereTheComputerStands) {
  using std::chrono::days;
  const auto now = std::chrono::floor<days>(std::chrono::system_clock::now());
  const auto here = std::chrono::sys_days(local_date());
  EXPECT_LE(here - now, days(1));
  EXPECT_LE(now - here, days(2)) << "a day may begin between the two looks at the clock";
}

TEST(OutputFileName, TheDayIsThatOfTheZone) {
  // Among three zones a day apart and more at least one has another date than Greenwich.
  for (const int hours_east : {-20, 0, 20}) {
    const testing::TimeZone zone(hours_east);
    const auto day_there = [&] {
      const auto there = std::chrono::system_clock::now() + std::chrono::hours(hours_east);
      return std::chrono::year_month_day(std::chrono::floor<std::chrono::days>(there));
    };
    const auto earliest = day_there();
    const auto today = local_date();
    EXPECT_LE(earliest, today) << hours_east;
    EXPECT_LE(today, day_there()) << hours_east;
  }
}

TEST(OutputFileName, IsDerivedFromTheDocumentAndTheDate) {
  EXPECT_THAT(DeriveOutputFileName("C:\\x\\Sales.kcd", day),
              Optional(std::string("C:\\x\\Sales_Out_20261115.txt")));
  EXPECT_THAT(DeriveOutputFileName("/x/Sales.kcd", 2026y / 1 / 2),
              Optional(std::string("/x/Sales_Out_20260102.txt")));
}

TEST(OutputFileName, NeedsFiveCharacters) {
  EXPECT_EQ(DeriveOutputFileName("", day), std::nullopt);
  EXPECT_EQ(DeriveOutputFileName(".kcd", day), std::nullopt);
  EXPECT_EQ(DeriveOutputFileName("\u00e4\u00f6.x", day), std::nullopt);
  EXPECT_THAT(DeriveOutputFileName("a.kcd", day), Optional(std::string("a_Out_20261115.txt")));
}

TEST(OutputFileName, LosesFourCharactersWhateverTheyAre) {
  EXPECT_THAT(DeriveOutputFileName("cubes", day), Optional(std::string("c_Out_20261115.txt")));
  EXPECT_THAT(DeriveOutputFileName("a.k\u00e4d", day), Optional(std::string("a_Out_20261115.txt")));
}

TEST(OutputFileName, TodayIsADate) { EXPECT_TRUE(local_date().ok()); }

TEST(SingleCompanyRule, ChecksANameThatEndsInSc) {
  EXPECT_EQ(single_company_rule("C:\\Cubes\\SalesSC.kcd"), SingleCompanyRule::check);
  EXPECT_EQ(single_company_rule("C:\\Salessc.kcd"), SingleCompanyRule::check);
  EXPECT_EQ(single_company_rule("/cubes/SalesSc.kci"), SingleCompanyRule::check);
  EXPECT_EQ(single_company_rule("/SC.kcd"), SingleCompanyRule::check);
}

TEST(SingleCompanyRule, UnchecksAnyOtherName) {
  EXPECT_EQ(single_company_rule("C:\\Sales.kcd"), SingleCompanyRule::uncheck);
  EXPECT_EQ(single_company_rule("/cubes/SalesSC.xkcd"), SingleCompanyRule::uncheck);
  EXPECT_EQ(single_company_rule("/SC/a.kcd"), SingleCompanyRule::uncheck);
  EXPECT_EQ(single_company_rule("/a.kcd"), SingleCompanyRule::uncheck);
}

TEST(SingleCompanyRule, NeedsAFolder) {
  EXPECT_EQ(single_company_rule("SalesSC.kcd"), SingleCompanyRule::leave);
  EXPECT_EQ(single_company_rule(""), SingleCompanyRule::leave);
}

TEST(SingleCompanyRule, LooksForTheFolderUpToTheThirdLastCharacter) {
  EXPECT_EQ(single_company_rule("Sales/ab"), SingleCompanyRule::uncheck);
  EXPECT_EQ(single_company_rule("SalesS/b"), SingleCompanyRule::leave);
  EXPECT_EQ(single_company_rule("SalesSC/"), SingleCompanyRule::leave);
}

TEST(SingleCompanyRule, NeedsMoreThanFiveCharacters) {
  EXPECT_EQ(single_company_rule("/.kcd"), SingleCompanyRule::leave);
  EXPECT_EQ(single_company_rule("/a.kc"), SingleCompanyRule::leave);
  EXPECT_EQ(single_company_rule("SC/.kd"), SingleCompanyRule::check);
}

TEST(KciName, EndsInKci) {
  EXPECT_TRUE(is_kci_name("a.kci"));
  EXPECT_TRUE(is_kci_name("a.KCI"));
  EXPECT_TRUE(is_kci_name("kCi"));
  EXPECT_FALSE(is_kci_name("a.kcd"));
  EXPECT_FALSE(is_kci_name("a.kci "));
  EXPECT_FALSE(is_kci_name("ci"));
}

TEST(DatabaseNameKey, LettersDigitsAndTheUnderscoreAreNameCharacters) {
  for (const char32_t character : U"AZazmM09_") {
    EXPECT_EQ(IsNameChar(character), character != U'\0');
  }
  for (const char32_t character : U"@[`{/:^-. \u00e4\u0131\u212a\U0001F600") {
    EXPECT_FALSE(IsNameChar(character)) << static_cast<std::uint32_t>(character);
  }
}

TEST(DatabaseNameKey, TheBoxTakesBlankAndBackspaceToo) {
  EXPECT_TRUE(database_box_takes_key(U'a'));
  EXPECT_TRUE(database_box_takes_key(U' '));
  EXPECT_TRUE(database_box_takes_key(8));
  EXPECT_FALSE(database_box_takes_key(U'-'));
  EXPECT_FALSE(database_box_takes_key(U'.'));
  EXPECT_FALSE(database_box_takes_key(13));
}

}  // namespace
}  // namespace importkcd
