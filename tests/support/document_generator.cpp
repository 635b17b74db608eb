#include "tests/support/document_generator.h"

#include <algorithm>
#include <array>
#include <functional>
#include <random>
#include <string_view>

namespace importkcd::testing {
namespace {

constexpr std::array<std::string_view, 12> words{"Sales",  "Store",  "Product", "Kund@#$%s",
                                                 "Größe",  "Région", "товар",   "Promotion",
                                                 "Budget", "Lager",  "&lt;b>",  "a &amp; b"};
constexpr std::array<std::string_view, 5> dimension_types{"regular", "Time", "QUANTITATIVE", "odd",
                                                          ""};
constexpr std::array<std::string_view, 6> level_types{"all",         "regular",   "time_years",
                                                      "Time_Months", "time_days", "other"};
constexpr std::array<std::string_view, 6> modes{"olapmodeAggsMolapIndex", "olapmodeAggsRolap",
                                                "olapmodeMolapIndex",     "olapmodeHybridIndex",
                                                "olapmodeRolap",          "OlapModeRolap"};
constexpr std::array<std::string_view, 5> functions{"sum", "Count", "min", "MAX", "average"};

/// Writes one document. Numbers come from a generator whose sequence the language fixes; the
/// library's distributions are not used, because theirs is not fixed.
class Writer {
 public:
  explicit Writer(const GeneratorOptions& options) : options_(options), random_(options.seed) {}

  std::string document() {
    out_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    open("database");
    out_ += " version=\"1.0.1073\"";
    attribute("name", "Generated");
    attribute("description", text());
    out_ += ">\n<library>\n";
    collection("data_sources", options_.data_sources, [&](int i) { data_source(i); });
    collection("shared_dimensions", options_.shared_dimensions, [&](int i) { dimension(i); });
    collection("roles", options_.roles, [&](int i) { role(i); });
    if (options_.virtual_dimensions > 0) {
      collection("virtual_dimensions", options_.virtual_dimensions,
                 [&](int i) { virtual_dimension(i); });
    }
    out_ += "</library>\n";
    collection("cubes", options_.cubes, [&](int i) { cube(i); });
    if (options_.virtual_cubes > 0) {
      collection("virtual_cubes", options_.virtual_cubes, [&](int i) { virtual_cube(i); });
    }
    out_ += "</database>\n";
    return std::move(out_);
  }

 private:
  int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
  bool odd() { return below(100) < options_.odd_percentage; }

  template <std::size_t N>
  std::string_view one_of(const std::array<std::string_view, N>& texts) {
    return texts[static_cast<std::size_t>(below(static_cast<int>(N)))];
  }

  std::string text() {
    std::string result(one_of(words));
    for (int i = below(4); i > 0; --i) {
      result += ' ';
      result += one_of(words);
    }
    return result;
  }

  /// A name that only this object has; odd ones are empty or those of another object.
  std::string name(std::string_view kind, int number) {
    if (odd()) {
      return below(2) == 0 ? std::string() : std::string(kind) + " 0";
    }
    return std::string(kind) + " " + std::to_string(number);
  }

  /// The name of one of `count` objects; odd ones name none.
  std::string reference(std::string_view kind, int count) {
    return odd() || count == 0 ? "nowhere" : std::string(kind) + " " + std::to_string(below(count));
  }

  void open(std::string_view tag) { (out_ += '<') += tag; }

  void attribute(std::string_view key, std::string_view value) {
    if (odd()) {
      return;
    }
    ((((out_ += ' ') += key) += "=\"") += value) += '"';
  }

  void number(std::string_view key, int limit) {
    attribute(key, odd() ? "many" : std::to_string(below(limit)));
  }

  void collection(std::string_view tag, int count, const std::function<void(int)>& write) {
    open(tag);
    out_ += ">\n";
    for (int i = 0; i < count; ++i) {
      write(i);
    }
    ((out_ += "</") += tag) += ">\n";
  }

  void data_source(int i) {
    open("data_source");
    attribute("name", name("Warehouse", i));
    attribute("connection_string", "Provider=SQLOLEDB;Data Source=HOST;Initial Catalog=DW");
    attribute("description", text());
    out_ += "/>\n";
  }

  void level_attributes(std::string_view type) {
    attribute("type", type);
    number("column_size", 300);
    number("column_type", 200);
    attribute("description", text());
    number("estimated_size", 100000);
    attribute("member_key_column", "&quot;table&quot;.&quot;key@#$%&quot;");
    attribute("member_name_column", "&quot;table&quot;.&quot;name&quot;");
    attribute("ordering", below(2) == 0 ? "name" : "Key");
    attribute("unique_items", below(2) == 0 ? "true" : "false");
  }

  void level(int i) {
    open("level");
    attribute("name", name("Level", i));
    level_attributes(i == 0 ? "all" : one_of(level_types));
    if (below(3) != 0) {
      out_ += "/>\n";
      return;
    }
    out_ += ">\n";
    collection("member_properties", below(3), [&](int property) {
      open("member_property");
      attribute("name", name("Property", property));
      attribute("description", text());
      attribute("caption", text());
      attribute("source_column", "&quot;table&quot;.&quot;colour&quot;");
      out_ += "/>\n";
    });
    out_ += "</level>\n";
  }

  void source_clauses() {
    attribute("from_clause", "&quot;table&quot;, &quot;other&quot;");
    attribute("join_clause",
              "(&quot;table&quot;.&quot;id&quot; = &quot;other&quot;.&quot;id&quot;)");
  }

  void dimension(int i) {
    open("shared_dimension");
    attribute("name", name("Dimension", i));
    attribute("description", text());
    attribute("type", one_of(dimension_types));
    attribute("data_source", reference("Warehouse", options_.data_sources));
    source_clauses();
    attribute("schema_layout", "layout");
    out_ += ">\n";
    collection("levels", levels_of_a_dimension, [&](int number) { level(number); });
    out_ += "</shared_dimension>\n";
  }

  void role(int i) {
    open("role");
    attribute("name", name("Role", i));
    attribute("description", text());
    attribute("user_list", "everyone;auditors");
    out_ += "/>\n";
  }

  void cube(int i) {
    open("cube");
    attribute("name", name("Cube", i));
    attribute("description", text());
    attribute("data_source", reference("Warehouse", options_.data_sources));
    attribute("fact_table", "&quot;facts&quot;");
    attribute("aggregation_prefix", "agg_");
    source_clauses();
    attribute("schema_layout", "layout");
    attribute("olap_mode", one_of(modes));
    attribute("estimated_rows", odd() ? "1e999" : std::to_string(below(1000000)) + ".5e2");
    out_ += ">\n";
    cube_dimensions(i);
    collection("cube_measures", 1 + below(6), [&](int number) { measure(number); });
    collection("cube_calculated_members", below(4), [&](int number) { calculated_member(number); });
    collection("cube_roles", below(3), [&](int number) { cube_role(number); });
    collection("cube_partitions", below(3), [&](int number) { partition(i, number); });
    out_ += "</cube>\n";
  }

  void cube_dimensions(int cube) {
    out_ += "<cube_dimensions>\n";
    dimensions_of_cube_ = std::min(1 + below(4), options_.shared_dimensions);
    for (int i = 0; i < dimensions_of_cube_; ++i) {
      open("cube_dimension_reference");
      attribute("name", name("Dimension", i));
      out_ += ">\n";
      collection("cube_levels_reference", levels_of_a_dimension,
                 [&](int number) { level_reference(number); });
      out_ += "</cube_dimension_reference>\n";
    }
    if (below(4) == 0) {
      private_dimension(cube);
    }
    out_ += "</cube_dimensions>\n";
  }

  void level_reference(int i) {
    open("cube_level_reference");
    attribute("name", i == 0 ? "(All)" : reference("Level", levels_of_a_dimension));
    attribute("member_key_column", "&quot;facts&quot;.&quot;key&quot;");
    attribute("disabled", below(5) == 0 ? "true" : "false");
    out_ += "/>\n";
  }

  void private_dimension(int cube) {
    open("cube_dimension");
    attribute("name", name("Private", cube));
    attribute("description", text());
    attribute("type", "regular");
    attribute("data_source", reference("Warehouse", options_.data_sources));
    source_clauses();
    out_ += ">\n";
    collection("cube_levels", 2, [&](int number) {
      open("cube_level");
      attribute("name", name("Level", number));
      level_attributes("regular");
      out_ += "/>\n";
    });
    out_ += "</cube_dimension>\n";
  }

  void virtual_dimension(int i) {
    open("virtual_dimension");
    attribute("name", name("Virtual", i));
    attribute("description", text());
    attribute("type", one_of(dimension_types));
    out_ += ">\n";
    collection("levels", 2, [&](int number) {
      open("level");
      attribute("name", name("Level", number));
      attribute("member_key_column", number == 0 ? "All" : "&quot;table&quot;.&quot;colour&quot;");
      this->number("column_type", 200);
      attribute("description", text());
      attribute("member_name_column", "&quot;table&quot;.&quot;name&quot;");
      attribute("ordering", below(2) == 0 ? "name" : "Key");
      out_ += "/>\n";
    });
    out_ += "</virtual_dimension>\n";
  }

  void virtual_cube(int i) {
    open("virtual_cube");
    attribute("name", odd() ? "Cube 0" : name("Virtual cube", i));
    out_ += ">\n";
    collection("measure_references", 2, [&](int number) {
      open("measure_reference");
      attribute("name", name("Measure", number));
      attribute("source_column", "[Cube 0].[Measure 0]");
      out_ += "/>\n";
    });
    collection("dimension_references", std::min(2, options_.shared_dimensions), [&](int number) {
      open("dimension_reference");
      attribute("name", name("Dimension", number));
      out_ += "/>\n";
    });
    if (!odd()) {
      collection("cube_roles", below(2), [&](int number) { cube_role(number); });
    }
    out_ += "</virtual_cube>\n";
  }

  void measure(int i) {
    open("cube_measure");
    attribute("name", name("Measure", i));
    attribute("description", text());
    attribute("format", "#,##0.00");
    attribute("source_column", "&quot;facts&quot;.&quot;amount&quot;");
    attribute("internal", below(5) == 0 ? "true" : "false");
    attribute("aggregate_function", one_of(functions));
    out_ += "/>\n";
  }

  void calculated_member(int i) {
    open("cube_calculated_member");
    attribute("name", name("Calculated", i));
    attribute("statement",
              odd() ? "no separator" : "[Measures].[It@#$%s] AS @#$%[Measures].[Measure 0]@#$%");
    out_ += "/>\n";
  }

  void cube_role(int i) {
    open("cube_role");
    attribute("name", name("Role", i));
    attribute("permissions", "R");
    out_ += "/>\n";
  }

  void partition(int cube, int i) {
    open("cube_partition");
    attribute("name", i == 0 ? "Cube " + std::to_string(cube) : name("Partition", i));
    attribute("fact_table", "&quot;facts_part&quot;");
    attribute("aggregation_prefix", "agg_");
    source_clauses();
    attribute("datasource", reference("Warehouse", options_.data_sources));
    attribute("olap_mode", one_of(modes));
    attribute("readwrite", below(2) == 0 ? "true" : "false");
    out_ += ">\n";
    collection("partition_dimensions", std::min(1, dimensions_of_cube_), [&](int dimension) {
      open("partition_dimension");
      attribute("name", reference("Dimension", 1 + dimension));
      out_ += ">\n";
      collection("partition_levels", 1, [&](int) {
        open("partition_level");
        attribute("name", reference("Level", levels_of_a_dimension));
        attribute("member_key_column", "&quot;facts_part&quot;.&quot;key@#$%&quot;");
        attribute("slice_value", "20@#$%26");
        out_ += "/>\n";
      });
      out_ += "</partition_dimension>\n";
    });
    out_ += "</cube_partition>\n";
  }

  static constexpr int levels_of_a_dimension = 4;

  GeneratorOptions options_;
  std::mt19937 random_;
  std::string out_;
  int dimensions_of_cube_ = 0;
};

}  // namespace

std::string generate_document(const GeneratorOptions& options) {
  return Writer(options).document();
}

}  // namespace importkcd::testing
