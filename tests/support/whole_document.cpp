#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

constexpr std::string_view library = R"xml(
<library>
  <data_sources>
    <data_source name="Warehouse" connection_string="Provider=SQLOLEDB;Data Source=dw1"
                 description="The shop@#$%s facts"/>
  </data_sources>
  <shared_dimensions>
    <shared_dimension name="Time" description="Calendar" type="time" data_source="Warehouse"
                      from_clause="dates" join_clause="" schema_layout="star">
      <levels>
        <level name="Year" type="time_years" column_size="4" column_type="3" description=""
               estimated_size="5" member_key_column="dates.y" ordering="key" unique_items="true"/>
        <level name="Month" type="time_months" column_size="0" column_type="3" description=""
               estimated_size="60" member_key_column="dates.m" ordering="key"/>
      </levels>
    </shared_dimension>
    <shared_dimension name="Product" description="Goods" type="regular" data_source="Warehouse"
                      from_clause="products" join_clause="" schema_layout="star">
      <levels>
        <level name="(All)" type="all" column_type="3" description="" estimated_size="1"
               member_key_column="All products"/>
        <level name="Product" type="regular" column_size="20" column_type="129" description="One"
               estimated_size="900" member_key_column="products.id" ordering="name"
               member_name_column="products.name" unique_items="true">
          <member_properties>
            <member_property name="Colour" description="" caption="Colour" source_column="colour"/>
          </member_properties>
        </level>
      </levels>
    </shared_dimension>
    <shared_dimension name="Region" description="Unused" type="quantitative"
                      data_source="Warehouse" from_clause="regions" join_clause=""
                      schema_layout="snow">
      <levels>
        <level name="Region" type="regular" column_size="20" column_type="129" description=""
               estimated_size="9" member_key_column="regions.id"
               member_name_column="regions.name" ordering="name" unique_items="false"/>
      </levels>
    </shared_dimension>
  </shared_dimensions>
  <roles>
    <role name="Readers" description="The shop@#$%s readers" user_list="anna;bert"/>
  </roles>
</library>)xml";

constexpr std::string_view sales_cube = R"xml(
<cube name="Sales" description="What was sold" data_source="Warehouse" fact_table="sales"
      aggregation_prefix="S_" from_clause="sales, dates" join_clause="sales.d = dates.d"
      schema_layout="star" olap_mode="olapmodeRolap" estimated_rows="1e6">
  <cube_dimensions>
    <cube_dimension_reference name="Time">
      <cube_levels_reference>
        <cube_level_reference name="Year" member_key_column="sales.y" disabled="false"/>
        <cube_level_reference name="Month" member_key_column="sales.m" disabled="true"/>
      </cube_levels_reference>
    </cube_dimension_reference>
    <cube_dimension name="Channel" description="Where" type="regular" data_source="Warehouse"
                    from_clause="channels" join_clause="">
      <cube_levels>
        <cube_level name="Channel" type="regular" column_size="8" column_type="129" description=""
                    estimated_size="3" member_key_column="channels.id"
                    member_name_column="channels.name" ordering="key" unique_items="true"/>
      </cube_levels>
    </cube_dimension>
  </cube_dimensions>
  <cube_measures>
    <cube_measure name="Amount" description="Money" format="#,#" source_column="sales.amount"
                  internal="false" aggregate_function="sum"/>
  </cube_measures>
  <cube_calculated_members>
    <cube_calculated_member name="Share" statement="[Measures].[Share] AS [Measures].[Amount] / 2"/>
  </cube_calculated_members>
  <cube_partitions>
    <cube_partition name="Sales" fact_table="sales_1999" aggregation_prefix="P_"
                    from_clause="sales_1999" join_clause="" datasource="Warehouse"
                    olap_mode="olapmodeHybridIndex" readwrite="true">
      <partition_dimensions>
        <partition_dimension name="Time">
          <partition_levels>
            <partition_level name="Year" member_key_column="sales_1999.y" slice_value="1999"/>
          </partition_levels>
        </partition_dimension>
      </partition_dimensions>
    </cube_partition>
    <cube_partition name="Rest" fact_table="sales_rest" aggregation_prefix="R_"
                    from_clause="sales_rest" join_clause="" datasource="Warehouse"
                    olap_mode="olapmodeRolap" readwrite="false">
      <partition_dimensions/>
    </cube_partition>
  </cube_partitions>
  <cube_roles>
    <cube_role name="Readers" permissions="R"/>
  </cube_roles>
</cube>)xml";

constexpr std::string_view stock_cube = R"xml(
<cube name="Stock" description="What is left" data_source="Warehouse" fact_table="stock"
      aggregation_prefix="" from_clause="stock" join_clause="" schema_layout="star"
      olap_mode="olapmodeMolapIndex" estimated_rows="10">
  <cube_dimensions>
    <cube_dimension_reference name="Product"><cube_levels_reference/></cube_dimension_reference>
  </cube_dimensions>
  <cube_measures>
    <cube_measure name="Pieces" description="" format="" source_column="stock.pieces"
                  internal="true" aggregate_function="count"/>
  </cube_measures>
  <cube_calculated_members/>
  <cube_partitions/>
  <cube_roles/>
</cube>)xml";

constexpr std::string_view unread = R"xml(
<virtual_dimensions>
  <virtual_dimension name="Colours" description="" type="regular">
    <levels><level name="All colours" member_key_column="All"/></levels>
  </virtual_dimension>
</virtual_dimensions>
<virtual_cubes>
  <virtual_cube name="Overview">
    <measure_references>
      <measure_reference name="Amount" source_column="Sales.Amount"/>
    </measure_references>
    <dimension_references><dimension_reference name="Time"/></dimension_references>
    <cube_roles/>
  </virtual_cube>
</virtual_cubes>)xml";

constexpr std::string_view older_library = R"xml(
<library>
  <data_sources>
    <data_source name="Warehouse" connection_string="Provider=Older" description="Old facts"/>
  </data_sources>
  <shared_dimensions>
    <shared_dimension name="Time" description="Old calendar" type="time" data_source="Warehouse"
                      from_clause="old_dates" join_clause="" schema_layout="star">
      <levels>
        <level name="Year" type="time_years" column_size="4" column_type="3" description=""
               estimated_size="5" member_key_column="old_dates.y" ordering="key"/>
        <level name="Month" type="time_months" column_size="4" column_type="3" description=""
               estimated_size="60" member_key_column="old_dates.m" ordering="key"/>
      </levels>
    </shared_dimension>
    <shared_dimension name="Region" description="Old" type="regular" data_source="Warehouse"
                      from_clause="old_regions" join_clause="" schema_layout="star">
      <levels/>
    </shared_dimension>
  </shared_dimensions>
  <roles><role name="Readers" description="Old readers" user_list="carl"/></roles>
</library>)xml";

constexpr std::string_view older_cubes = R"xml(
<cubes>
  <cube name="Sales" description="Old sales" data_source="Warehouse" fact_table="old_sales"
        aggregation_prefix="O_" from_clause="old_sales" join_clause="" schema_layout="snow"
        olap_mode="olapmodeHybridIndex" estimated_rows="7">
    <cube_dimensions>
      <cube_dimension_reference name="Time"><cube_levels_reference/></cube_dimension_reference>
      <cube_dimension name="Channel" description="Old" type="regular" data_source="Warehouse"
                      from_clause="old_channels" join_clause="">
        <cube_levels/>
      </cube_dimension>
    </cube_dimensions>
    <cube_measures>
      <cube_measure name="Turnover" description="" format="" source_column="old_sales.turnover"
                    internal="false" aggregate_function="max"/>
    </cube_measures>
    <cube_calculated_members>
      <cube_calculated_member name="Twice" statement="M AS 2"/>
    </cube_calculated_members>
    <cube_partitions>
      <cube_partition name="Older" fact_table="older_sales" aggregation_prefix="" from_clause=""
                      join_clause="" datasource="Warehouse" olap_mode="" readwrite="false">
        <partition_dimensions/>
      </cube_partition>
    </cube_partitions>
    <cube_roles><cube_role name="Writers" permissions="W"/></cube_roles>
  </cube>
</cubes>)xml";

constexpr std::string_view shop_beginning =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<database version="1.0.1073" name="Shop" description=")";

}  // namespace

std::string older_document() {
  return std::string(shop_beginning) + "The old shop\">" + std::string(older_library) +
         std::string(older_cubes) + "\n</database>\n";
}

std::string whole_document() {
  return std::string(shop_beginning) + "All of the shop\">" + std::string(library) + "\n<cubes>" +
         std::string(sales_cube) + std::string(stock_cube) + "\n</cubes>" + std::string(unread) +
         "\n</database>\n";
}

std::string imported_document() {
  auto text = whole_document();
  return text.erase(text.find(unread), unread.size());
}

std::vector<std::string> whole_document_messages(bool import_partitions) {
  std::vector<std::string> messages = {
      "Processing document",
      "Creating database 'Shop'",
      "Creating library",
      "Creating data sources",
      "Searching data source 'Warehouse'",
      "Creating data source 'Warehouse'",
      "Creating shared dimensions",
      "Searching shared dimension 'Time'",
      "Creating shared dimension 'Time'",
      "Searching shared dimension 'Product'",
      "Creating shared dimension 'Product'",
      "Searching shared dimension 'Region'",
      "Creating shared dimension 'Region'",
      "Creating roles",
      "Searching role 'Readers'",
      "Creating role 'Readers'",
      "Creating cubes",
      "Searching cube 'Sales'",
      "Creating cube 'Sales'",
  };
  if (import_partitions) {
    messages.emplace_back("Creating cube partitions");
  }
  messages.insert(messages.end(), {"Creating cube role 'Readers'", "Searching cube 'Stock'",
                                   "Creating cube 'Stock'"});
  if (import_partitions) {
    messages.emplace_back("Creating cube partitions");
  }
  return messages;
}

std::vector<std::string> messages_of_leaving_alone() {
  return {"Processing document",
          "Searching database 'Shop'",
          "Creating library",
          "Creating data sources",
          "Searching data source 'Warehouse'",
          "Creating shared dimensions",
          "Searching shared dimension 'Time'",
          "Searching shared dimension 'Product'",
          "Searching shared dimension 'Region'",
          "Creating roles",
          "Searching role 'Readers'",
          "Creating cubes",
          "Searching cube 'Sales'",
          "Searching cube 'Stock'"};
}

std::string bare_document(std::string_view version, std::string_view name,
                          std::string_view content) {
  return "<database version=\"" + std::string(version) + "\" name=\"" + std::string(name) +
         R"(" description="">)" + std::string(content) + "</database>\n";
}

}  // namespace importkcd::testing
