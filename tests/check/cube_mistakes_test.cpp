#include "tests/check/mistakes.h"

namespace importkcd::testing {
namespace {

TEST(CubeMistakes, AreFoundAtTheirPlaces) {
  expect_mistakes_found({
      {R"(fact_table="sales")",
       R"(fact_table="")",
       {"47:1: error: cube 'Sales': the cube has no fact table"}},
      {R"(fact_table="stock")",
       R"(fact_tabel="stock")",
       {"95:1: error: cube 'Stock': unknown attribute 'fact_tabel' (did you mean 'fact_table'?)"}},
      {R"(estimated_rows="1e6")",
       R"(estimated_rows="many")",
       {"47:1: error: cube 'Sales': attribute 'estimated_rows': 'many' is no number"}},
      {R"(estimated_rows="1e6")",
       R"(estimated_rows="1e999")",
       {"47:1: error: cube 'Sales': attribute 'estimated_rows': '1e999' is out of range"}},
      {R"(olap_mode="olapmodeRolap" estimated)",
       R"(olap_mode="OlapmodeRolap" estimated)",
       {"47:1: warning: cube 'Sales': attribute 'olap_mode': 'OlapmodeRolap' is read as "
        "'olapmodeAggsMolapIndex' (did you mean 'olapmodeRolap'?)"}},
      {R"(<cube name="Stock")",
       R"(<cube name="sales")",
       {"95:1: warning: cube 'sales': 'sales' is already defined in line 47; this one is ignored"}},
      {R"(<cube name="Stock" description="What is left" data_source="Warehouse")",
       R"(<cube name="sales" description="What is left" data_source="Stockhouse")",
       {"95:1: warning: cube 'sales': 'sales' is already defined in line 47; this one is ignored",
        "95:1: warning: cube 'sales': data source 'Stockhouse' is not in the document"}},
      {R"(<cube name="Stock" )",
       "<cube ",
       {"95:1: error: cube number 2: attribute 'name' is missing"}},
      {R"(<cube name="Stock" description="What is left" data_source="Warehouse")",
       R"(<cube name="Stock" description="What is left" data_source="Stockhouse")",
       {"95:1: error: cube 'Stock': data source 'Stockhouse' is not in the document"}},
      {"<cube_calculated_members/>",
       "",
       {"95:1: error: cube 'Stock': element 'cube_calculated_members' is missing"}},
      {"<cube_calculated_members/>",
       "<cube_calculated_member/>",
       {"105:3: error: cube 'Stock': unknown element 'cube_calculated_member' (did you mean "
        "'cube_calculated_members'?)"}},
      {"  <cube_roles/>\n",
       "  <cube_rolls/>\n",
       {"107:3: error: cube 'Stock': unknown element 'cube_rolls' (did you mean 'cube_roles'?)"}},
      {R"(<cube_dimension_reference name="Product"><cube_levels_reference/></cube_dimension_reference>)",
       "",
       {"95:1: error: cube 'Stock': the cube has no dimension"}},
      {"<cube_measure name=\"Pieces\" description=\"\" format=\"\" "
       "source_column=\"stock.pieces\"\n                  internal=\"true\" "
       "aggregate_function=\"count\"/>",
       "",
       {"95:1: error: cube 'Stock': the cube has no measure"}},
      {R"(<cube_dimension_reference name="Time">)",
       R"(<cube_dimension_reference name="Tine">)",
       {"51:5: error: cube 'Sales' > dimension 'Tine': dimension 'Tine' is not in the document "
        "(did you mean 'Time'?)",
        "78:9: error: cube 'Sales' > partition 'Sales' > dimension 'Time': the cube has no "
        "dimension 'Time'"}},
      {R"(<cube_dimension_reference name="Product"><cube_levels_reference/>)",
       R"(<cube_dimension_reference name="Product">)",
       {"99:5: error: cube 'Stock' > dimension 'Product': element 'cube_levels_reference' is "
        "missing"}},
      {R"(<cube_level_reference name="Year")",
       R"(<cube_level_reference name="Years")",
       {"53:9: error: cube 'Sales' > dimension 'Time' > level 'Years': the dimension has no level "
        "'Years' (did you mean 'Year'?)"}},
      {R"(<cube_level_reference name="Year")",
       R"(<cube_level_reference name="Month")",
       {"54:9: warning: cube 'Sales' > dimension 'Time' > level 'Month': 'Month' is already "
        "defined in line 53; this one is ignored"}},
      {R"(member_key_column="sales.y" disabled="false")",
       R"(member_key_column="sales.y")",
       {"53:9: error: cube 'Sales' > dimension 'Time' > level 'Year': attribute 'disabled' is "
        "missing"}},
      {R"(disabled="false")",
       R"(disabled="no")",
       {"53:9: warning: cube 'Sales' > dimension 'Time' > level 'Year': attribute 'disabled': 'no' "
        "is read as 'false'; it is one of false, true"}},
      {R"(<cube_dimension name="Channel")",
       R"(<cube_dimension name="region")",
       {"57:5: error: cube 'Sales' > dimension 'region': the name of this cube's own dimension is "
        "taken by the dimension in line 32"}},
      {R"(<cube_dimension name="Channel" description="Where" type="regular")",
       R"(<cube_dimension name="Channel" description="Where")",
       {"57:5: error: cube 'Sales' > dimension 'Channel': attribute 'type' is missing"}},
      {"</cube_dimension>\n",
       "</cube_dimension><cube_dimension_reference "
       "name=\"channel\"><cube_levels_reference/></cube_dimension_reference>\n",
       {"64:22: error: cube 'Sales' > dimension 'channel': the cube has the dimension 'channel' "
        "already"}},
      {R"(<cube_dimension name="Channel")",
       R"(<cube_dimention name="Other"/><cube_dimension name="Channel")",
       {"57:5: warning: cube 'Sales': unknown element 'cube_dimention' (did you mean "
        "'cube_dimension'?)"}},
      {R"(column_size="8")",
       R"(column_size="-40000")",
       {"60:9: error: cube 'Sales' > dimension 'Channel' > level 'Channel': attribute "
        "'column_size': '-40000' is out of range (-32768 to 32767)"}},
      {"ordering=\"key\" unique_items=\"true\"/>\n      </cube_levels>",
       "unique_items=\"true\"/>\n      </cube_levels>",
       {"60:9: error: cube 'Sales' > dimension 'Channel' > level 'Channel': attribute 'ordering' "
        "is missing"}},
      {R"(source_column="sales.amount")",
       R"(sourc_column="sales.amount")",
       {"67:5: warning: cube 'Sales' > measure 'Amount': unknown attribute 'sourc_column' (did you "
        "mean 'source_column'?)"}},
      {R"(aggregate_function="sum")",
       R"(aggregate_function="average")",
       {"67:5: warning: cube 'Sales' > measure 'Amount': attribute 'aggregate_function': 'average' "
        "is read as 'sum'; it is one of sum, count, min, max"}},
      {R"(aggregate_function="sum")",
       R"(aggregate_function="summ")",
       {"67:5: warning: cube 'Sales' > measure 'Amount': attribute 'aggregate_function': 'summ' is "
        "read as 'sum' (did you mean 'sum'?)"}},
      {R"(internal="false")",
       R"(internal="0")",
       {"67:5: warning: cube 'Sales' > measure 'Amount': attribute 'internal': '0' is read as "
        "'false'; it is one of false, true"}},
      {R"(<cube_measure name="Amount")",
       R"(<cube_measure name="amount" description="" format="" source_column="" aggregate_function="min"/><cube_measure name="Amount")",
       {"67:101: warning: cube 'Sales' > measure 'Amount': 'Amount' is already defined in line 67; "
        "this one is ignored"}},
      {R"(<cube_measure name="Amount")",
       "<cube_measure",
       {"47:1: error: cube 'Sales': the cube has no measure",
        "67:5: warning: cube 'Sales' > measure number 1: attribute 'name' is missing"}},
      {R"(format="#,#")",
       R"(format="#,#" colour="red")",
       {"67:5: warning: cube 'Sales' > measure 'Amount': unknown attribute 'colour'"}},
      {"[Measures].[Share] AS ",
       "[Measures].[Share] as ",
       {"71:5: warning: cube 'Sales' > calculated member 'Share': the statement has no ' AS ' (in "
        "capitals, between blanks), so that the calculated member is left out"}},
      {"[Measures].[Amount] / 2",
       "[A AS B] / 2",
       {"71:5: warning: cube 'Sales' > calculated member 'Share': the statement has a second ' AS "
        "', from which on it is cut off"}},
      {R"(<cube_calculated_member name="Share" )",
       R"(<cube_calculated_member name="" )",
       {"71:5: warning: cube 'Sales' > calculated member '': the name is empty"}},
      {R"(<cube_calculated_member name="Share" statement="[Measures].[Share] AS [Measures].[Amount] / 2"/>)",
       R"(<cube_calculated_member name="Share" statement="a AS b"/><cube_calculated_member name="share" statement="a AS c"/>)",
       {"71:62: warning: cube 'Sales' > calculated member 'share': 'share' is already defined in "
        "line 71; this one is ignored"}},
      {"datasource=\"Warehouse\"\n                    olap_mode=\"olapmodeHybridIndex\"",
       "data_source=\"Warehouse\"\n                    olap_mode=\"olapmodeHybridIndex\"",
       {"74:5: error: cube 'Sales' > partition 'Sales': unknown attribute 'data_source' (did you "
        "mean 'datasource'?)"}},
      {"join_clause=\"\" datasource=\"Warehouse\"\n                    olap_mode=\"olapmodeRolap\"",
       "join_clause=\"\" datasource=\"Warehous\"\n                    olap_mode=\"olapmodeRolap\"",
       {"85:5: error: cube 'Sales' > partition 'Rest': data source 'Warehous' is not in the "
        "document (did you mean 'Warehouse'?)"}},
      {R"(<cube_partition name="Rest")",
       R"(<cube_partition name="sales")",
       {"85:5: warning: cube 'Sales' > partition 'sales': 'sales' is already defined in line 74; "
        "this one is set over it"}},
      {R"(<cube_partition name="Rest")",
       R"(<cube_partition name="")",
       {"85:5: error: cube 'Sales' > partition '': the name is empty"}},
      {R"(<partition_dimension name="Time">)",
       R"(<partition_dimension name="Product">)",
       {"78:9: error: cube 'Sales' > partition 'Sales' > dimension 'Product': the cube has no "
        "dimension 'Product'"}},
      {R"(<partition_level name="Year")",
       R"(<partition_level name="Yaer")",
       {"80:13: error: cube 'Sales' > partition 'Sales' > dimension 'Time' > level 'Yaer': the "
        "dimension has no level 'Yaer' (did you mean 'Year'?)"}},
      {R"(<partition_level name="Year")",
       R"(<partition_level name="Month")",
       {"80:13: warning: cube 'Sales' > partition 'Sales' > dimension 'Time' > level 'Month': the "
        "cube does not use this level, so that its slice is ignored"}},
      {R"(<partition_level name="Year" member_key_column="sales_1999.y" slice_value="1999")",
       R"(<partition_level name="Month" member_key_column="sales_1999.y")",
       {"80:13: warning: cube 'Sales' > partition 'Sales' > dimension 'Time' > level 'Month': the "
        "cube does not use this level, so that its slice is ignored",
        "80:13: warning: cube 'Sales' > partition 'Sales' > dimension 'Time' > level 'Month': "
        "attribute 'slice_value' is missing"}},
      {R"(slice_value="1999")",
       R"(slice="1999")",
       {"80:13: warning: cube 'Sales' > partition 'Sales' > dimension 'Time' > level 'Year': "
        "unknown attribute 'slice'",
        "80:13: error: cube 'Sales' > partition 'Sales' > dimension 'Time' > level 'Year': "
        "attribute 'slice_value' is missing"}},
      {"<partition_dimensions/>",
       "",
       {"85:5: error: cube 'Sales' > partition 'Rest': element 'partition_dimensions' is missing"}},
      {R"(readwrite="true")",
       R"(readwrite="maybe")",
       {"74:5: warning: cube 'Sales' > partition 'Sales': attribute 'readwrite': 'maybe' is read "
        "as 'false'; it is one of false, true"}},
      {R"(<cube_role name="Readers" permissions="R"/>)",
       R"(<cube_role name="Reader" permissions="R"/>)",
       {"92:5: warning: cube 'Sales' > role 'Reader': role 'Reader' is not in the document (did "
        "you mean 'Readers'?)"}},
      {R"(permissions="R")",
       R"(permissions="X")",
       {"92:5: warning: cube 'Sales' > role 'Readers': attribute 'permissions': 'X' is not known; "
        "it is one of R, RW"}},
      {R"(permissions="R")",
       R"(permission="R")",
       {"92:5: error: cube 'Sales' > role 'Readers': unknown attribute 'permission' (did you mean "
        "'permissions'?)"}},
      {R"(<cube_role name="Readers" permissions="R"/>)",
       R"(<cube_role name="Readers" permissions="R"/><cube_role name="readers"/>)",
       {"92:48: warning: cube 'Sales' > role 'readers': attribute 'permissions' is missing",
        "92:48: warning: cube 'Sales' > role 'readers': 'readers' is already defined in line 92; "
        "this one is ignored"}},
      {R"(<cube_role name="Readers" permissions="R"/>)",
       R"(<cube_role permissions="R"/>)",
       {"92:5: error: cube 'Sales' > role number 1: attribute 'name' is missing"}},
      {"</cubes>",
       R"(</cubes><virtual_cubes><virtual_cube name="sales"><measure_references/><dimension_references/><cube_roles/></virtual_cube></virtual_cubes>)",
       {"109:24: warning: virtual cube 'sales': the name of the virtual cube is taken by the cube "
        "in line 47"}},
      {"</cubes>",
       R"(</cubes><virtual_cubes><virtual_cube name="V"><measure_references><measure_reference name="A" source_column="[Sale].[Amount]"/></measure_references><dimension_references/><cube_roles/></virtual_cube></virtual_cubes>)",
       {"109:67: warning: virtual cube 'V' > measure 'A': cube 'Sale' is not in the document (did "
        "you mean 'Sales'?)"}},
      {"</cubes>",
       R"(</cubes><virtual_cubes><virtual_cube name="V"><measure_references><measure_reference name="A" source_column="[Sales].[Amout]"/></measure_references><dimension_references/><cube_roles/></virtual_cube></virtual_cubes>)",
       {"109:67: warning: virtual cube 'V' > measure 'A': cube 'Sales' has no measure 'Amout' (did "
        "you mean 'Amount'?)"}},
      {"</cubes>",
       R"(</cubes><virtual_cubes><virtual_cube name="V"><measure_references><measure_reference name="A" source_column="Amount"/></measure_references><dimension_references><dimension_reference name="Tyme"/></dimension_references><cube_roles/></virtual_cube></virtual_cubes>)",
       {"109:67: warning: virtual cube 'V' > measure 'A': 'Amount' does not name a cube and its "
        "measure ([CUBE].[MEASURE])",
        "109:162: error: virtual cube 'V' > dimension 'Tyme': dimension 'Tyme' is not in the "
        "document (did you mean 'Time'?)"}},
      {"<roles>",
       R"(<virtual_dimensions><virtual_dimension name="D" description=""><levels><level name="L" member_key_column="k"/></levels></virtual_dimension></virtual_dimensions><roles>)",
       {"42:74: error: virtual dimension 'D' > level 'L': attribute 'column_type' is missing",
        "42:74: error: virtual dimension 'D' > level 'L': attribute 'description' is missing",
        "42:74: error: virtual dimension 'D' > level 'L': attribute 'member_name_column' is "
        "missing"}},
      {"</cubes>",
       "</cubes><data_sources/>",
       {"109:9: warning: unknown element 'data_sources' (it is read in 'library')"}},
      {"</library>",
       "</libary>",
       {"45:10: error: Opening and ending tag mismatch: library line 3 and libary"}},
      {R"(name="Shop")", R"(name="Shop)", {"2:54: error: attributes construct error"}},
  });
}

}  // namespace
}  // namespace importkcd::testing
