#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "check/kcd_format.h"
#include "tests/check/mistakes.h"
#include "tests/support/document_generator.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {
namespace {

void keep_quiet(void* /*context*/, xmlError* /*error*/) {}

/// libxml2's own validator, with the schema that `kcd schema` prints.
class SchemaValidator {
 public:
  SchemaValidator() {
    xmlSetStructuredErrorFunc(nullptr, keep_quiet);
    const auto text = kcd_schema();
    const std::unique_ptr<xmlSchemaParserCtxt, decltype(&xmlSchemaFreeParserCtxt)> parser(
        xmlSchemaNewMemParserCtxt(text.data(), static_cast<int>(text.size())),
        xmlSchemaFreeParserCtxt);
    schema_.reset(xmlSchemaParse(parser.get()));
  }
  ~SchemaValidator() { xmlSetStructuredErrorFunc(nullptr, nullptr); }
  SchemaValidator(const SchemaValidator&) = delete;
  SchemaValidator& operator=(const SchemaValidator&) = delete;

  bool is_usable() const { return schema_ != nullptr; }

  bool accepts(const std::string& document) const {
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> tree(
        xmlReadMemory(document.data(), static_cast<int>(document.size()), nullptr, nullptr,
                      XML_PARSE_NONET | XML_PARSE_HUGE),
        xmlFreeDoc);
    const std::unique_ptr<xmlSchemaValidCtxt, decltype(&xmlSchemaFreeValidCtxt)> validation(
        xmlSchemaNewValidCtxt(schema_.get()), xmlSchemaFreeValidCtxt);
    return tree != nullptr && xmlSchemaValidateDoc(validation.get(), tree.get()) == 0;
  }

 private:
  std::unique_ptr<xmlSchema, decltype(&xmlSchemaFree)> schema_{nullptr, xmlSchemaFree};
};

TEST(KcdSchema, IsASchema) { EXPECT_TRUE(SchemaValidator().is_usable()); }

TEST(KcdSchema, AcceptsTheExamplesInWhichACheckFindsNothing) {
  const SchemaValidator validator;
  int clean = 0;
  for (const auto& entry : std::filesystem::directory_iterator(EXAMPLES_FOLDER)) {
    const auto& path = entry.path();
    if (path.extension() == ".kcd" && lines_found(read_file(path.string())).empty()) {
      EXPECT_TRUE(validator.accepts(read_file(path.string()))) << path;
      ++clean;
    }
  }
  EXPECT_GE(clean, 3);
  EXPECT_TRUE(validator.accepts(read_file(EXAMPLES_FOLDER "/sales.kcd")));
}

void replace_all(std::string& text, std::string_view from, std::string_view to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
    text.replace(at, from.size(), to);
  }
}

/// What a schema cannot say: names and references.
bool is_about_names(const std::string& line) {
  return line.find("is not in the document") != std::string::npos ||
         line.find("is already defined") != std::string::npos ||
         line.find("does not use this level") != std::string::npos;
}

TEST(KcdSchema, AcceptsGeneratedDocumentsInWhichACheckFindsNothing) {
  const SchemaValidator validator;
  int clean = 0;
  for (std::uint32_t seed = 0; seed < 200; ++seed) {
    GeneratorOptions options;
    options.seed = seed;
    options.shared_dimensions = 2;
    options.cubes = 1;
    auto text = generate_document(options);
    replace_all(text, "\"average\"", "\"min\"");
    replace_all(text, "\"OlapModeRolap\"", "\"olapmodeRolap\"");
    replace_all(text, "type=\"odd\"", "type=\"time\"");
    replace_all(text, "type=\"\"", "type=\"regular\"");
    replace_all(text, "type=\"other\"", "type=\"time_days\"");
    const auto lines = lines_found(text);
    if (std::all_of(lines.begin(), lines.end(), is_about_names)) {
      EXPECT_TRUE(validator.accepts(text)) << seed;
      ++clean;
    }
  }
  EXPECT_GE(clean, 150);
}

TEST(KcdSchema, RefusesWhatEditorsAreToUnderline) {
  const SchemaValidator validator;
  const auto document = imported_document();
  ASSERT_TRUE(validator.accepts(document));
  for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
           {"source_column=", "sourc_column="},
           {"aggregate_function=\"sum\"", "aggregate_function=\"average\""},
           {"estimated_rows=\"1e6\"", "estimated_rows=\"many\""},
           {"column_size=\"4\"", "column_size=\"4.5\""},
           {"<cube_calculated_members/>", ""},
           {"<cube_dimensions>", "<cube_dimensions><dimension/>"},
           {"olap_mode=\"olapmodeRolap\"", "olap_mode=\"OLAPmodeRolap\""}}) {
    auto text = document;
    text.replace(text.find(from), from.size(), to);
    EXPECT_FALSE(validator.accepts(text)) << to;
  }
}

TEST(KcdSchema, TakesWordsInAnyLetterCase) {
  auto text = imported_document();
  const std::string word = "aggregate_function=\"sum\"";
  text.replace(text.find(word), word.size(), "aggregate_function=\"SuM\"");
  EXPECT_TRUE(SchemaValidator().accepts(text));
}

}  // namespace
}  // namespace importkcd::testing
