#include "check/kcd_format.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAreArray;

using Row = std::vector<std::string>;

/// A table of a page in Markdown: its head and its rows.
struct PageTable {
  std::string heading;
  Row head;
  std::vector<Row> rows;
};

Row cells_of(const std::string& line) {
  Row cells;
  std::istringstream in(line.substr(1));
  for (std::string cell; std::getline(in, cell, '|');) {
    cells.emplace_back(trimmed(cell));
  }
  return cells;
}

std::vector<PageTable> tables_of(const std::string& page) {
  std::vector<PageTable> tables;
  std::istringstream in(page);
  std::string heading;
  bool in_table = false;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("## ")) {
      heading = line.substr(3);
    }
    if (!line.starts_with('|')) {
      in_table = false;
    } else if (!in_table) {
      tables.push_back({heading, cells_of(line), {}});
      in_table = true;
    } else if (!line.starts_with("|---")) {
      tables.back().rows.push_back(cells_of(line));
    }
  }
  return tables;
}

std::string unquoted(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), '`'), text.end());
  return text;
}

/// How the page says what is done with an attribute.
std::string conversion_words(const AttributeFormat& attribute) {
  static const std::map<ValueKind, std::string> words{
      {ValueKind::raw, "raw"},
      {ValueKind::decoded, "decoded"},
      {ValueKind::statement, "see below"},
      {ValueKind::version, "raw"},
      {ValueKind::permissions, "raw"},
      {ValueKind::int16, "16-bit"},
      {ValueKind::int32, "32-bit"},
      {ValueKind::decimal, "decimal"},
      {ValueKind::boolean, "boolean"},
      {ValueKind::dimension_type, "dimension type"},
      {ValueKind::level_type, "level type"},
      {ValueKind::level_ordering, "level ordering"},
      {ValueKind::aggregate_function, "aggregate function"},
      {ValueKind::olap_mode, "olap mode"}};
  return words.at(attribute.value);
}

/// The attributes of a kind as rows of the page begin: name, conversion, whether it may be absent.
std::vector<Row> expected_rows(ElementKind kind) {
  std::vector<Row> rows;
  for (const auto& attribute : format_of(kind).attributes) {
    rows.push_back({std::string(attribute.name), conversion_words(attribute),
                    attribute.presence == Presence::optional ? "optional" : "required"});
  }
  return rows;
}

std::vector<Row> rows_of_page(const PageTable& table) {
  std::vector<Row> rows;
  for (const auto& row : table.rows) {
    if (row.at(1) == "must be there") {
      continue;
    }
    const auto& conversion = row.at(1);
    rows.push_back({unquoted(row.at(0)), conversion.substr(0, conversion.find_first_of(",;")),
                    conversion.find("absent") == std::string::npos ? "required" : "optional"});
  }
  return rows;
}

/// The tables of attributes, in the order of the page.
const std::vector<ElementKind> kinds_on_the_page{ElementKind::database,
                                                 ElementKind::data_source,
                                                 ElementKind::shared_dimension,
                                                 ElementKind::level,
                                                 ElementKind::member_property,
                                                 ElementKind::role,
                                                 ElementKind::cube,
                                                 ElementKind::cube_dimension_reference,
                                                 ElementKind::cube_level_reference,
                                                 ElementKind::cube_measure,
                                                 ElementKind::cube_calculated_member,
                                                 ElementKind::cube_partition,
                                                 ElementKind::partition_level,
                                                 ElementKind::cube_role};

TEST(KcdFormatPage, HasTheAttributesOfEveryElement) {
  std::vector<PageTable> tables;
  for (auto& table : tables_of(read_file(KCD_FORMAT_PAGE))) {
    if (table.head.front().starts_with("Attribute") && table.head.size() == 3) {
      tables.push_back(std::move(table));
    }
  }
  ASSERT_EQ(tables.size(), kinds_on_the_page.size());
  for (std::size_t i = 0; i < tables.size(); ++i) {
    EXPECT_THAT(rows_of_page(tables[i]), ElementsAreArray(expected_rows(kinds_on_the_page[i])))
        << tables[i].heading;
  }
}

TEST(KcdFormatPage, NamesEveryCollectionAndWhetherItMustBeThere) {
  const auto page = read_file(KCD_FORMAT_PAGE);
  for (const auto& format : all_formats()) {
    EXPECT_NE(page.find(std::string(format.tag)), std::string::npos) << format.tag;
  }
  for (const auto& table : tables_of(page)) {
    for (const auto& row : table.rows) {
      if (row.size() < 2 || row[1] != "must be there") {
        continue;
      }
      const auto tag = unquoted(row[0]);
      const auto is_child = [&](const ElementFormat& format) {
        return std::any_of(format.children.begin(), format.children.end(), [&](const auto& child) {
          return child.is_required && format_of(child.kind).tag == tag;
        });
      };
      EXPECT_TRUE(std::any_of(all_formats().begin(), all_formats().end(), is_child)) << tag;
    }
  }
}

TEST(KcdFormatPage, HasTheChildrenOfACube) {
  std::vector<std::string> tags;
  for (const auto& child : format_of(ElementKind::cube).children) {
    tags.emplace_back(format_of(child.kind).tag);
  }
  std::vector<std::string> on_page;
  for (const auto& table : tables_of(read_file(KCD_FORMAT_PAGE))) {
    for (const auto& row : table.rows) {
      if (table.head == Row{"Child", "Content"}) {
        on_page.push_back(unquoted(row.at(0)));
      }
    }
  }
  EXPECT_EQ(on_page, tags);
}

TEST(KcdFormatPage, HasTheWordsOfEveryVocabulary) {
  std::multiset<std::string> on_page;
  for (const auto& table : tables_of(read_file(KCD_FORMAT_PAGE))) {
    if (std::find(table.head.begin(), table.head.end(), "Code") == table.head.end()) {
      continue;
    }
    for (const auto& row : table.rows) {
      for (const auto& cell : row) {
        std::istringstream words(unquoted(cell));
        for (std::string word; std::getline(words, word, ',');) {
          on_page.emplace(trimmed(word));
        }
      }
    }
  }
  for (const auto kind :
       {ValueKind::dimension_type, ValueKind::level_type, ValueKind::level_ordering,
        ValueKind::aggregate_function, ValueKind::olap_mode}) {
    for (const auto word : words_of(kind)) {
      EXPECT_EQ(on_page.count(std::string(word)), word == "regular" ? 2U : 1U) << word;
    }
  }
}

TEST(KcdFormat, HasOneFormatPerKindInTheirOrder) {
  ASSERT_EQ(all_formats().size(), static_cast<std::size_t>(ElementKind::dimension_reference) + 1);
  for (const auto& format : all_formats()) {
    EXPECT_EQ(&format_of(format.kind), &format);
    EXPECT_TRUE(format.children.empty() || !format.every_child) << format.tag;
  }
}

}  // namespace
}  // namespace importkcd::testing
