#pragma once

#include <string>
#include <vector>

namespace importkcd::testing {

/// A cube over the sales of the example's warehouse, with one measure named "Figure" and the
/// dimension "Store", unless it says otherwise. The texts are XML.
struct SmallCube {
  std::string name;
  std::string measure_column = R"("sales"."amount")";
  std::string from_clause = R"("sales", "store")";
  std::string join_clause = R"("sales"."store_id" = "store"."store_id")";
  std::vector<std::string> dimensions{"Store"};
  std::string data_source = "Warehouse";
  /// The statement of a calculated member named "Rate"; empty: there is none.
  std::string calculation{};
};

/// A document with these cubes. It has the dimensions "Store", "Region" and, in the data source
/// "Elsewhere", "Far Away". That data source's own connection string leads nowhere.
std::string small_document(const std::string& database, const std::string& connection_string,
                           const std::vector<SmallCube>& cubes);

}  // namespace importkcd::testing
