#include "mondrian/sql/sql_view.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

TEST(SqlView, ATableHasItsSchemaAndItsAliasWhenThatIsAnother) {
  EXPECT_EQ(xml_text(table_element({{}, "sales", "sales"}, "sales")), "<Table name=\"sales\"/>\n");
  EXPECT_EQ(xml_text(table_element({{"dbo"}, "sales", "s"}, "s")),
            "<Table name=\"sales\" schema=\"dbo\" alias=\"s\"/>\n");
}

TEST(SqlView, AViewHoldsItsText) {
  EXPECT_EQ(xml_text(view_element("v", "select '<' from t")),
            "<View alias=\"v\">\n"
            "  <SQL dialect=\"generic\">select '&lt;' from t</SQL>\n"
            "</View>\n");
}

}  // namespace
}  // namespace importkcd
