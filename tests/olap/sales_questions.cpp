#include "tests/olap/sales_questions.h"

namespace importkcd::testing {
namespace {

/// The revenue of both years for the members of a level that have any.
Question revenue_question(const std::string& name, const std::string& level,
                          const std::string& shown, const std::string& order) {
  return {name,
          "SELECT {[Calendar].[2025], [Calendar].[2026]} ON COLUMNS, NON EMPTY " + level +
              ".Members ON ROWS FROM [Sales] WHERE ([Measures].[Revenue])",
          "SELECT " + shown +
              ", sum(CASE WHEN year = 2025 THEN amount END), "
              "sum(CASE WHEN year = 2026 THEN amount END) FROM every_sale GROUP BY " +
              order + " ORDER BY " + order};
}

/// A measure or calculated member of the sales, by year.
Question yearly_question(const std::string& name, const std::string& measure,
                         const std::string& expression) {
  return {name,
          "SELECT {[Measures].[" + measure +
              "]} ON COLUMNS, [Calendar].[Year].Members ON ROWS FROM [Sales]",
          "SELECT year, " + expression + " FROM every_sale GROUP BY year ORDER BY year"};
}

std::vector<Question> measure_questions() {
  return {
      yearly_question("SumOfAColumn", "Revenue", "sum(amount)"),
      yearly_question("SumOfAnotherColumn", "Cost", "sum(cost)"),
      yearly_question("SumOfAnExpression", "Discount", "sum(list_amount - amount)"),
      yearly_question("SumOfIntegers", "Quantity", "sum(quantity)"),
      yearly_question("Count", "Receipt Lines", "count(sale_id)"),
      yearly_question("Minimum", "Smallest Line", "min(amount)"),
      yearly_question("Maximum", "Largest Line", "max(amount)"),
      yearly_question("HiddenMeasure", "List Amount", "sum(list_amount)"),
      yearly_question("CalculatedMember", "Margin", "sum(amount) - sum(cost)"),
      yearly_question("CalculatedMemberOverAHiddenMeasure", "Discount Rate",
                      "sum(list_amount - amount) / sum(list_amount)"),
      yearly_question("CalculatedMemberWithAnApostrophe", "Men's Wear Share",
                      "sum(CASE WHEN department = 'Men''s Wear' THEN amount END) / sum(amount)"),
  };
}

std::vector<Question> time_questions() {
  return {
      {"TimeByQuarters",
       "SELECT {[Measures].[Revenue]} ON COLUMNS, NON EMPTY [Calendar].[Quarter].Members ON ROWS "
       "FROM [Sales]",
       "SELECT quarter, sum(amount) FROM every_sale GROUP BY year, quarter ORDER BY year, quarter"},
      {"TimeByMonths",
       "SELECT {[Measures].[Revenue]} ON COLUMNS, NON EMPTY [Calendar].[Month].Members ON ROWS "
       "FROM [Sales]",
       "SELECT month, sum(amount) FROM every_sale GROUP BY year, month ORDER BY year, month"},
      {"TimeByDays",
       "SELECT {[Measures].[Revenue]} ON COLUMNS, NON EMPTY [Calendar].[Day].Members ON ROWS "
       "FROM [Sales]",
       "SELECT the_date, sum(amount) FROM every_sale GROUP BY the_date ORDER BY the_date"},
      {"DaysOfAMonth",
       "SELECT {[Measures].[Revenue]} ON COLUMNS, NON EMPTY [Calendar].[2026].[Q2].[5].Children "
       "ON ROWS FROM [Sales]",
       "SELECT the_date, sum(amount) FROM every_sale WHERE year = 2026 AND month = 5 "
       "GROUP BY the_date ORDER BY the_date"},
  };
}

std::vector<Question> level_questions() {
  return {
      revenue_question("TimeByWeekYears", "[Weeks].[Week Year]", "year", "year"),
      revenue_question("TimeByWeeks", "[Weeks].[Week]", "week", "year, week"),
      {"AllMember",
       "SELECT {[Measures].[Revenue]} ON COLUMNS, {[Weeks].[All Weeks]} ON ROWS FROM [Sales] "
       "WHERE ([Calendar].[2026])",
       "SELECT 'All Weeks', sum(amount) FROM every_sale WHERE year = 2026"},
      revenue_question("SnowflakeOuterTable", "[Product].[Department]", "department", "department"),
      revenue_question("SnowflakeKeyAndName", "[Product].[Group]", "group_name",
                       "department, group_name"),
      revenue_question("SnowflakeInnerTable", "[Product].[Product]", "product_name",
                       "department, group_name, product_name"),
      revenue_question("AnotherSnowflake", "[Store].[Country]", "store_country", "store_country"),
      revenue_question("AnotherSnowflakeKeyAndName", "[Store].[Region]", "region_name",
                       "store_country, region_name"),
      revenue_question("LevelReadFromTheFactTable", "[Store].[Store]", "store_name",
                       "store_country, region_name, store_name"),
      revenue_question("DimensionOfOneTable", "[Customer].[Customer Country]", "customer_country",
                       "customer_country"),
      revenue_question("LevelWithoutUniqueMembers", "[Customer].[City]", "city",
                       "customer_country, city"),
      revenue_question("LeafLevel", "[Customer].[Customer]", "customer_name",
                       "customer_country, city, customer_name"),
      revenue_question("QuantitativeDimension", "[Household Size].[Persons]", "household_size",
                       "household_size"),
      revenue_question("TopLevelBelowAll", "[Promotion].[Medium]", "medium", "medium"),
      revenue_question("SecondLevelBelowAll", "[Promotion].[Promotion]", "promotion_name",
                       "medium, promotion_name"),
      revenue_question("PrivateDegenerateDimension", "[Payment Method].[Method]", "payment_method",
                       "payment_method"),
  };
}

/// Member properties, partitions, several dimensions at once.
std::vector<Question> further_sales_questions() {
  return {
      {"PropertiesOfASnowflake",
       "SELECT {[Measures].[Quantity]} ON COLUMNS, NON EMPTY [Product].[Product].Members "
       "DIMENSION PROPERTIES [Product].[Product].[Brand], [Product].[Product].[Weight] ON ROWS "
       "FROM [Sales] WHERE ([Calendar].[2026])",
       "SELECT product_name, brand, weight, sum(quantity) FROM every_sale WHERE year = 2026 "
       "GROUP BY department, group_name, product_name, brand, weight "
       "ORDER BY department, group_name, product_name"},
      {"PropertiesOfALevelReadFromTheFactTable",
       "SELECT {[Measures].[Quantity]} ON COLUMNS, NON EMPTY [Store].[Store].Members "
       "DIMENSION PROPERTIES [Store].[Store].[Manager], [Store].[Store].[Floor Area] ON ROWS "
       "FROM [Sales] WHERE ([Calendar].[2026])",
       "SELECT store_name, manager, floor_area, sum(quantity) FROM every_sale WHERE year = 2026 "
       "GROUP BY store_country, region_name, store_name, manager, floor_area "
       "ORDER BY store_country, region_name, store_name"},
      {"MembersByTheirProperty",
       "SELECT {[Measures].[Revenue]} ON COLUMNS, NON EMPTY Filter([Customer].[Customer].Members, "
       "[Customer].CurrentMember.Properties(\"Loyalty Card\") = \"gold\") ON ROWS FROM [Sales] "
       "WHERE ([Calendar].[2026])",
       "SELECT customer_name, sum(amount) FROM every_sale WHERE year = 2026 AND loyalty_card = "
       "'gold' GROUP BY customer_country, city, customer_name "
       "ORDER BY customer_country, city, customer_name"},
      // Partitions: of the current year's table nothing counts but its own year.
      {"PartitionsKeepToTheirSlices",
       "SELECT {[Measures].[Receipt Lines], [Measures].[Revenue]} ON COLUMNS, "
       "[Calendar].[Year].Members ON ROWS FROM [Sales]",
       "SELECT 2025, count(*), sum(amount) FROM sales_2025 UNION ALL SELECT 2026, count(*), "
       "sum(amount) FROM sales JOIN calendar USING (day_id) WHERE year = 2026 ORDER BY 1"},
      // Several dimensions at once.
      {"CrossJoinOfSnowflakes",
       "SELECT {[Calendar].[2026]} ON COLUMNS, NON EMPTY CrossJoin([Store].[Country].Members, "
       "[Product].[Department].Members) ON ROWS FROM [Sales] WHERE ([Measures].[Revenue])",
       "SELECT store_country, department, sum(amount) FROM every_sale WHERE year = 2026 "
       "GROUP BY store_country, department ORDER BY store_country, department"},
      {"SlicedByADegenerateDimension",
       "SELECT {[Measures].[Revenue]} ON COLUMNS, NON EMPTY [Product].[Group].Members ON ROWS "
       "FROM [Sales] WHERE ([Payment Method].[cash], [Calendar].[2026])",
       "SELECT group_name, sum(amount) FROM every_sale WHERE year = 2026 AND payment_method = "
       "'cash' GROUP BY department, group_name ORDER BY department, group_name"},
      {"SortedByAFigure",
       "SELECT {[Measures].[Revenue]} ON COLUMNS, TopCount([Product].[Product].Members, 5, "
       "([Measures].[Revenue], [Calendar].[2026])) ON ROWS FROM [Sales] WHERE "
       "([Calendar].[2026])",
       "SELECT product_name, sum(amount) FROM every_sale WHERE year = 2026 "
       "GROUP BY product_name ORDER BY 2 DESC LIMIT 5"},
  };
}

}  // namespace

std::vector<Question> sales_questions() {
  std::vector<Question> all;
  for (const auto& questions :
       {measure_questions(), time_questions(), level_questions(), further_sales_questions()}) {
    all.insert(all.end(), questions.begin(), questions.end());
  }
  return all;
}

std::vector<Question> stock_questions() {
  const std::string all_states =
      " WITH MEMBER [Stock Status].[Any] AS 'Aggregate([Stock Status].[Status].Members)' ";
  return {
      {"StockMeasures",
       all_states +
           "SELECT {[Measures].[Units on Hand], [Measures].[Units Ordered], [Measures].[Stock "
           "Value], [Measures].[Counts], [Measures].[Value per Unit]} ON COLUMNS, NON EMPTY "
           "[Calendar].[Quarter].Members ON ROWS FROM [Stock] WHERE ([Stock Status].[Any])",
       "SELECT quarter, sum(units_on_hand), sum(units_ordered), sum(stock_value), "
       "count(stock_id), sum(stock_value) / sum(units_on_hand) FROM every_count "
       "GROUP BY quarter ORDER BY quarter"},
      {"StockByMonths",
       all_states + "SELECT {[Measures].[Units on Hand]} ON COLUMNS, NON EMPTY "
                    "[Calendar].[Month].Members ON ROWS FROM [Stock] WHERE ([Stock Status].[Any])",
       "SELECT month, sum(units_on_hand) FROM every_count GROUP BY month ORDER BY month"},
      {"StockByWarehouse",
       all_states + "SELECT {[Measures].[Units Ordered]} ON COLUMNS, NON EMPTY "
                    "[Warehouse].[Warehouse].Members ON ROWS FROM [Stock] WHERE ([Stock "
                    "Status].[Any], [Calendar].[2026])",
       "SELECT warehouse_name, sum(units_ordered) FROM every_count "
       "GROUP BY country, warehouse_name ORDER BY country, warehouse_name"},
      {"StockByWarehouseCountry",
       all_states + "SELECT {[Measures].[Stock Value]} ON COLUMNS, NON EMPTY "
                    "[Warehouse].[Warehouse Country].Members ON ROWS FROM [Stock] WHERE ([Stock "
                    "Status].[Any], [Calendar].[2026])",
       "SELECT country, sum(stock_value) FROM every_count GROUP BY country ORDER BY country"},
      {"StockByProduct",
       all_states + "SELECT {[Measures].[Units on Hand]} ON COLUMNS, NON EMPTY "
                    "[Product].[Product].Members ON ROWS FROM [Stock] WHERE ([Stock "
                    "Status].[Any], [Calendar].[2026])",
       "SELECT product_name, sum(units_on_hand) FROM every_count "
       "GROUP BY department, group_name, product_name ORDER BY department, group_name, "
       "product_name"},
      {"DimensionWithoutAnAllMember",
       "SELECT {[Measures].[Units on Hand]} ON COLUMNS, [Stock Status].Members ON ROWS FROM "
       "[Stock] WHERE ([Calendar].[2026])",
       "SELECT stock_status, sum(units_on_hand) FROM every_count GROUP BY stock_status "
       "ORDER BY stock_status"},
      {"PartitionWithASliceOnly",
       all_states + "SELECT {[Measures].[Counts]} ON COLUMNS, [Calendar].[Year].Members ON ROWS "
                    "FROM [Stock] WHERE ([Stock Status].[Any])",
       "SELECT year, (SELECT count(stock_id) FROM every_count e WHERE e.year = years.year "
       "HAVING count(*) > 0) FROM (SELECT DISTINCT year FROM calendar) years ORDER BY year"},
      {"WithoutItsDisabledLevel",
       "WITH MEMBER [Measures].[Level] AS '[Calendar].CurrentMember.Level.Ordinal' "
       "MEMBER [Measures].[Below] AS 'Count([Calendar].CurrentMember.Children)' "
       "SELECT {[Measures].[Level], [Measures].[Below]} ON COLUMNS, {[Calendar].[2026].[Q1].[2]} "
       "ON ROWS FROM [Stock]",
       "SELECT 2, 2, 0"},
  };
}

std::vector<Question> payroll_questions() {
  return {
      {"PayrollMeasures",
       "SELECT {[Measures].[Hours], [Measures].[Gross Pay], [Measures].[Overtime Pay], "
       "[Measures].[Lowest Pay], [Measures].[Highest Pay], [Measures].[Payments], "
       "[Measures].[Pay per Hour]} ON COLUMNS, [Employee].[Employee].Members "
       "DIMENSION PROPERTIES [Employee].[Employee].[Job Title] ON ROWS FROM [Payroll]",
       "SELECT employee_name, job_title, sum(hours), sum(gross_pay), sum(overtime_pay), "
       "min(gross_pay), max(gross_pay), count(payroll_id), sum(gross_pay) / sum(hours) "
       "FROM every_payment GROUP BY department_name, employee_name, job_title "
       "ORDER BY department_name, employee_name"},
      {"PayrollByDepartment",
       "SELECT {[Measures].[Gross Pay]} ON COLUMNS, [Employee].[Department of Employee].Members ON "
       "ROWS FROM [Payroll]",
       "SELECT department_name, sum(gross_pay) FROM every_payment GROUP BY department_name "
       "ORDER BY department_name"},
      {"PrivateTimeDimension",
       "SELECT {[Measures].[Hours]} ON COLUMNS, [Pay Month].[Month of Pay].Members ON ROWS FROM "
       "[Payroll]",
       "SELECT month, sum(hours) FROM every_payment GROUP BY year, month ORDER BY year, month"},
      {"PrivateTimeDimensionByYears",
       "SELECT {[Measures].[Hours]} ON COLUMNS, {[Pay Month].[All Months], [Pay "
       "Month].[2025], [Pay Month].[2026]} ON ROWS FROM [Payroll]",
       "SELECT 'All Months', sum(hours) FROM every_payment UNION ALL (SELECT cast(year AS "
       "char(4)), sum(hours) FROM every_payment GROUP BY year ORDER BY year)"},
      {"AllMemberOfASnowflake",
       "SELECT {[Measures].[Overtime Pay]} ON COLUMNS, {[Employee].[Everyone]} ON ROWS FROM "
       "[Payroll]",
       "SELECT 'Everyone', sum(overtime_pay) FROM every_payment"},
  };
}

}  // namespace importkcd::testing
