#include <utility>
#include <vector>

#include "tests/olap/olap_world.h"
#include "tests/olap/question.h"
#include "xmla/xmla_client.h"

namespace importkcd::testing {
namespace {

using ::testing::HasSubstr;

// The engine has a catalogue for each of the document's data sources.
constexpr const char* operations = "Courier - Operations";
constexpr const char* workshop = "Courier - Workshop";

struct CourierQuestion : Question {
  std::string catalogue = operations;
};

/// A warehouse of another shape: a snowflake of four tables in two schemas, an order number without
/// a table, two fact tables, weeks, expressions as keys, and names in any letter case.
class CourierTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    // Two suites share it.
    static bool is_there = false;
    if (std::exchange(is_there, true)) {
      return;
    }
    const auto& postgres = world().postgres();
    const auto script = read_file(EXAMPLES_FOLDER "/courier-warehouse.sql");
    const auto second = script.find("\n-- workshop\n");
    ASSERT_NE(second, std::string::npos);
    postgres.run_sql("postgres", "CREATE DATABASE parcels");
    postgres.run_sql("postgres", "CREATE DATABASE workshop");
    postgres.run_sql("parcels", script.substr(0, second));
    postgres.run_sql("workshop", script.substr(second));
    postgres.run_sql("parcels", views);
    const auto result =
        world().import(EXAMPLES_FOLDER "/courier.kcd",
                       {"--partitions", "--pattern-from", "%SERVER%", "--pattern-to", server()});
    ASSERT_EQ(result.exit_status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    wait_for_database(operations);
    wait_for_database(workshop);
  }

 private:
  /// The server and the login of a connection string.
  static std::string server() {
    const auto text = world().postgres().connection_string("none");
    const auto from = text.find("Server=");
    const auto database = text.find(";Database=");
    return text.substr(from, database - from) + text.substr(text.find(";Uid="));
  }

  static constexpr const char* views = R"(
CREATE VIEW every_parcel AS
  SELECT p.*, a."Date" AS posted, a.iso_year, a.iso_week, a.weekday, a."WeekdayName",
         b."Date" AS delivered, b.iso_year AS delivery_year, b.iso_week AS delivery_week,
         d."Name", d.docks, c.city_name, v."ProvinceNo", v."ProvinceName", l."CountryName",
         CASE WHEN p."WeightGrams" < 1000 THEN 'letter' ELSE 'parcel' END AS weight_class
  FROM "Parcel" p
  JOIN "Day" a ON a."DateKey" = p."PostedOn"
  JOIN "Day" b ON b."DateKey" = p."DeliveredOn"
  JOIN "Depot" d ON d."DepotNo" = p.depot_no
  JOIN geo.city c USING (city_id)
  JOIN geo."Province" v USING ("ProvinceNo")
  JOIN geo."Country" l USING ("CountryCode");
)";
};

CourierQuestion parcels(const std::string& name, const std::string& columns,
                        const std::string& rows, const std::string& sql) {
  return {{name,
           "SELECT {" + columns + "} ON COLUMNS, NON EMPTY " + rows + " ON ROWS FROM [Parcels]",
           sql}};
}

/// Questions to the cube of parcels.
std::vector<CourierQuestion> parcel_questions() {
  const std::string income = "[Measures].[Income]";
  return {
      parcels("EveryMeasure",
              "[Measures].[Parcels], [Measures].[Income], [Measures].[Kilograms], [Measures].[Days "
              "on the Way], [Measures].[Heaviest], [Measures].[Days per Parcel]",
              "[Depot].[Country].Members",
              R"(SELECT "CountryName", count("ParcelNo"), sum("Price"), sum("WeightGrams") / 1000.0,
                        sum(delivered - posted), max("WeightGrams"),
                        sum(delivered - posted)::numeric / count(*)
                 FROM every_parcel GROUP BY 1 ORDER BY 1)"),
      parcels("SnowflakeSecondTable", income, "[Depot].[Province].Members",
              R"(SELECT "ProvinceName", sum("Price") FROM every_parcel
                 GROUP BY "CountryName", "ProvinceNo", 1 ORDER BY "CountryName", "ProvinceNo")"),
      parcels("SnowflakeThirdTable", income, "[Depot].[City].Members",
              R"(SELECT city_name, sum("Price") FROM every_parcel
                 GROUP BY "CountryName", "ProvinceNo", 1
                 ORDER BY "CountryName", "ProvinceNo", 1)"),
      parcels("SnowflakeInnermostTable", income,
              "[Depot].[Depot].Members DIMENSION PROPERTIES [Depot].[Depot].[Docks]",
              R"(SELECT "Name", docks, sum("Price") FROM every_parcel
                 GROUP BY "CountryName", "ProvinceNo", city_name, depot_no, 1, 2
                 ORDER BY "CountryName", "ProvinceNo", city_name, depot_no)"),
      parcels(
          "DegenerateOrderNumber", "[Measures].[Parcels], " + income, "[Order].[Order].Members",
          R"(SELECT "OrderNo", count(*), sum("Price") FROM every_parcel GROUP BY 1 ORDER BY 1)"),
      parcels("Weeks", income, "[Posting Day].[Week].Members",
              R"(SELECT iso_week, sum("Price") FROM every_parcel GROUP BY iso_year, 1
                 ORDER BY iso_year, 1)"),
      parcels("DaysOfAWeek", income, "[Posting Day].[2026].[2].Children",
              R"(SELECT posted, sum("Price") FROM every_parcel WHERE iso_year = 2026 AND
                 iso_week = 2 GROUP BY 1 ORDER BY 1)"),
      parcels("TheSameTableInAnotherPart", income, "[Delivery Day].[Delivery Week].Members",
              R"(SELECT delivery_week, sum("Price") FROM every_parcel GROUP BY delivery_year, 1
                 ORDER BY delivery_year, 1)"),
      parcels("BothPartsOfATable", income,
              "CrossJoin([Posting Day].[Year].Members, [Delivery Day].[Delivery Year].Members)",
              R"(SELECT iso_year, delivery_year, sum("Price") FROM every_parcel GROUP BY 1, 2
                 ORDER BY 1, 2)"),
      parcels("ExpressionOfADimensionAsKey", income, "[Depot Size].[Size].Members",
              R"(SELECT CASE WHEN docks < 8 THEN 'small' ELSE 'large' END, sum("Price")
                 FROM every_parcel GROUP BY 1 ORDER BY 1)"),
      parcels("ExpressionOfTheFactsAsKey", income, "[Weight].[Class].Members",
              R"(SELECT weight_class, sum("Price") FROM every_parcel GROUP BY 1 ORDER BY 1)"),
      parcels("ExpressionsAsKeyAndName", income, "[Weight].[Kilograms].Members",
              R"(SELECT "WeightGrams" / 1000 || ' kg', sum("Price") FROM every_parcel
                 GROUP BY weight_class, "WeightGrams" / 1000, 1
                 ORDER BY weight_class, "WeightGrams" / 1000)"),
      parcels("CalculatedMemberOfADimension", income,
              "{[Service].[All Services].[Fast], [Service].[Return]}",
              R"(SELECT 'Fast', sum("Price") FROM every_parcel WHERE "Service" <> 'Return'
                 UNION ALL SELECT 'Return', sum("Price") FROM every_parcel
                 WHERE "Service" = 'Return')"),
  };
}

/// Questions to the other cubes.
std::vector<CourierQuestion> further_questions() {
  return {
      {{"ShownByNameInTheOrderOfTheKey",
        "SELECT {[Measures].[Smallest Price], [Measures].[Posted]} ON COLUMNS, NON EMPTY "
        "[Weekday].[Weekday].Members ON ROWS FROM [Letters]",
        R"(SELECT "WeekdayName", min("Price"), count(*) FROM every_parcel GROUP BY weekday, 1
           ORDER BY weekday)"}},
      {{"LevelInBetweenIsDisabled",
        "SELECT {[Measures].[Posted]} ON COLUMNS, NON EMPTY [Posting Day].[2026].Children ON ROWS "
        "FROM [Letters] WHERE ([Weekday].[Monday])",
        R"(SELECT posted, count(*) FROM every_parcel WHERE iso_year = 2026 AND weekday = 1
           GROUP BY 1 ORDER BY 1)"}},
      {{"AnotherFactTable",
        "SELECT {[Measures].[Damage], [Measures].[Paid], [Measures].[Claims]} ON COLUMNS, "
        "[Claimed Service].Members ON ROWS FROM [Claims]",
        R"(SELECT coalesce("Service", 'unknown'), sum(damage), sum(paid), count(claim_id)
           FROM claim LEFT JOIN "Parcel" ON parcel_no = "ParcelNo" GROUP BY 1 ORDER BY 1)"}},
      {{"WeeksBesideAnOuterJoin",
        "WITH MEMBER [Claimed Service].[Any] AS 'Aggregate([Claimed Service].[Claimed "
        "Service].Members)' SELECT {[Measures].[Damage]} ON COLUMNS, NON EMPTY [Reporting "
        "Day].[Reporting Week].Members ON ROWS FROM [Claims] WHERE ([Claimed Service].[Any])",
        R"(SELECT iso_week, sum(damage) FROM claim JOIN "Day" ON reported_on = "DateKey"
           GROUP BY iso_year, 1 ORDER BY iso_year, 1)"}},
      {{"DegenerateBesideAnOuterJoin",
        "WITH MEMBER [Claimed Service].[Any] AS 'Aggregate([Claimed Service].[Claimed "
        "Service].Members)' SELECT {[Measures].[Claims]} ON COLUMNS, [Reason].[Reason].Members ON "
        "ROWS FROM [Claims] WHERE ([Claimed Service].[Any])",
        "SELECT reason, count(*) FROM claim GROUP BY 1 ORDER BY 1"}},
      {{"AnotherDataSource",
        "SELECT {[Measures].[Hours], [Measures].[Costs]} ON COLUMNS, NON EMPTY "
        "[Van].[Plate].Members ON ROWS FROM [Repairs]",
        R"(SELECT plate, sum(hours), sum("COST") FROM "REPAIR" JOIN "Van" USING ("VanNo")
           GROUP BY "Maker", 1 ORDER BY "Maker", 1)"},
       workshop},
      {{"AnotherDataSourceByMaker",
        "SELECT {[Measures].[Costs]} ON COLUMNS, {[Van].[All Vans], [Van].[Ferro], [Van].[Lumen]} "
        "ON ROWS FROM [Repairs]",
        R"(SELECT 'All Vans', sum("COST") FROM "REPAIR" UNION ALL (SELECT "Maker", sum("COST")
           FROM "REPAIR" JOIN "Van" USING ("VanNo") GROUP BY 1 ORDER BY 1))"},
       workshop},
  };
}

class CourierAnswers : public CourierTest, public ::testing::WithParamInterface<CourierQuestion> {};

TEST_P(CourierAnswers, AreThoseOfTheTables) {
  const auto& question = GetParam();
  const auto database = question.catalogue == workshop ? "workshop" : "parcels";
  const auto expected = figures(world().postgres().run_sql(database, question.sql));
  ASSERT_FALSE(expected.empty()) << question.sql;
  const auto answer = figures(world().engine().ask(question.catalogue, question.mdx));
  EXPECT_EQ(difference(answer, expected), "") << question.mdx << '\n' << question.sql;
}

INSTANTIATE_TEST_SUITE_P(Parcels, CourierAnswers, ::testing::ValuesIn(parcel_questions()),
                         [](const auto& tested) { return tested.param.name; });
INSTANTIATE_TEST_SUITE_P(Others, CourierAnswers, ::testing::ValuesIn(further_questions()),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(CourierTest, StayInTheirCatalogue) {
  const auto refusal = world().engine().refusal(workshop, "SELECT FROM [Parcels]");
  EXPECT_THAT(refusal, HasSubstr("MDX cube 'Parcels' not found"));
}

}  // namespace
}  // namespace importkcd::testing
