#include "check/document_check.h"

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "check/kcd_format.h"
#include "tests/check/mistakes.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(DocumentCheck, FindsNothingInADocumentWithoutMistakes) {
  EXPECT_THAT(lines_found(imported_document()), IsEmpty());
}

TEST(DocumentCheck, FindsTheMistakesOfAllSectionsInOrder) {
  EXPECT_THAT(lines_found(R"(<database version="1.0.1073" name="D" description="">
<library>
<data_sources><data_source name="W"/></data_sources>
<roles><role description="" user_list=""/></roles>
</library>
<cubes>
<cube name="C" description="" data_source="V" fact_table="f" aggregation_prefix="" from_clause=""
 join_clause="" schema_layout="" olap_mode="olapmodeRolap" estimated_rows="1">
<cube_dimensions/><cube_measures/><cube_calculated_members/><cube_roles/></cube>
</cubes></database>)"),
              ElementsAre("3:15: error: data source 'W': attribute 'connection_string' is missing",
                          "4:8: error: role number 1: attribute 'name' is missing",
                          "7:1: error: cube 'C': data source 'V' is not in the document",
                          "7:1: error: cube 'C': the cube has no dimension",
                          "7:1: error: cube 'C': the cube has no measure"));
}

TEST(DocumentCheck, PassesOverAttributesOfNameSpacesAndOverComments) {
  EXPECT_THAT(lines_found("<database xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' "
                          "xsi:noNamespaceSchemaLocation='kcd.xsd' version='1.0.1051' name='D' "
                          "description='' guid=''><!-- x --><?pi?>text</database>"),
              IsEmpty());
}

TEST(DocumentCheck, NamesAreComparedWithoutRegardToLetterCaseInAnyScript) {
  EXPECT_THAT(
      lines_found("<database version='1.0.1073' name='D' description=''><library><roles>"
                  "<role name='\xC3\x89t\xC3\xA9' description='' user_list=''/>"
                  "<role name='\xC3\xA9T\xC3\x89' description='' user_list=''/>"
                  "</roles></library></database>"),
      ElementsAre("1:116: warning: role '\xC3\xA9T\xC3\x89': '\xC3\xA9T\xC3\x89' is already "
                  "defined in line 1; this one is ignored"));
}

TEST(DocumentCheck, OfALabelFileAsksWhatItsConversionNeeds) {
  EXPECT_THAT(
      lines_found("<base version='1.0.1073' name='$##1%' description='$##2%'/>",
                  {.is_label_file = true}),
      ElementsAre("1:1: error: the root of a label-reference file is 'database', not 'base'",
                  "1:1: error: the root has no 'guid', by which the labels database knows "
                  "the file"));
}

TEST(DocumentCheck, LabelReferencesMayStandForNumbersAndWords) {
  auto text = imported_document();
  text.replace(text.find("name=\"Shop\""), 0, "guid=\"g\" ");
  for (const std::string_view value : {R"(column_size="4")", R"(aggregate_function="sum")"}) {
    const auto at = text.find(value) + value.find('"') + 1;
    text.replace(at, value.size() - value.find('"') - 2, "$##1%");
  }
  EXPECT_THAT(lines_found(text, {.is_label_file = true}), IsEmpty());
  EXPECT_THAT(lines_found(text), ::testing::SizeIs(2));
}

TEST(DocumentCheck, DeepNestingOfUnknownElementsDoesNoHarm) {
  constexpr int depth = 200'000;
  std::string text = "<database version='1.0.1073' name='D' description=''>";
  for (int i = 0; i < depth; ++i) {
    text += "<x>";
  }
  for (int i = 0; i < depth; ++i) {
    text += "</x>";
  }
  EXPECT_THAT(lines_found(text + "</database>"), ElementsAre("1:54: warning: unknown element 'x'"));
}

TEST(Paths, NameAnElementInTheDocumentsOwnTerms) {
  const TemporaryFolder folder;
  const auto document = KcdDocument::load(folder.write(
      "document.kcd",
      "<d><cubes><cube name='It@#$%s'/><cube><cube_measures><m name='A'/><m/></cube_measures>"
      "<other/></cube></cubes></d>"));
  const auto& cubes = *document->root().child("cubes");
  const auto& second = *cubes.first_child()->next_sibling();
  const auto& measure = *second.first_child()->first_child();
  EXPECT_EQ(path_of(*document, document->root()), "");
  EXPECT_EQ(path_of(*document, cubes), "");
  EXPECT_EQ(path_of(*document, *cubes.first_child()), "cube 'It's'");
  EXPECT_EQ(path_of(*document, measure), "cube number 2 > measure 'A'");
  EXPECT_EQ(path_of(*document, *measure.next_sibling()), "cube number 2 > measure number 2");
}

TEST(Spelling, TheNearestWordIsMeant) {
  constexpr std::array<std::string_view, 4> words{"fact_table", "from_clause", "join_clause",
                                                  "min"};
  EXPECT_EQ(nearest("fact_tabel", words), "fact_table");
  EXPECT_EQ(nearest("FACT_TABLE", words), "fact_table");
  EXPECT_EQ(nearest("join_claus", words), "join_clause");
  EXPECT_EQ(nearest("mni", words), "min");
  EXPECT_EQ(nearest("max", words), "");
  EXPECT_EQ(nearest("measure", words), "");
  EXPECT_EQ(nearest("", words), "");
  EXPECT_EQ(nearest(std::string(100'000, 'f'), words), "");
  EXPECT_EQ(did_you_mean("fromclause", words), " (did you mean 'from_clause'?)");
  EXPECT_EQ(did_you_mean("x", words), "");
}

TEST(Rules, EveryFindingNamesOne) {
  EXPECT_EQ(rules().size(), 20U);
  for (const auto& known : rules()) {
    EXPECT_FALSE(known.id.empty());
    EXPECT_FALSE(known.description.empty());
  }
}

}  // namespace
}  // namespace importkcd::testing
