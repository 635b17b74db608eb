#include "xmla/answer_element.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/import_error.h"

namespace importkcd {
namespace {

using ::testing::HasSubstr;

/// What parse_answer says about a text that it refuses.
std::string refusal(std::string_view text) {
  try {
    parse_answer(text);
  } catch (const ImportError& error) {
    EXPECT_EQ(error.source(), "XMLA server");
    return error.description();
  }
  return "";
}

TEST(AnswerElement, HoldsNamesTextsAndAttributesWithoutPrefixes) {
  const auto root = parse_answer(
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
      "<a:x xmlns:a=\"urn:a\" xmlns=\"urn:b\"><!-- c --><y a:kind=\"k&amp;1\">caf\xE9 "
      "<![CDATA[<&>]]></y><z/><z>2</z></a:x>");
  EXPECT_EQ(root.name, "x");
  EXPECT_TRUE(root.attributes.empty());
  ASSERT_EQ(root.children.size(), 3U);
  EXPECT_EQ(root.child_text("y"), "café <&>");
  EXPECT_EQ(root.child("y")->attribute("kind"), "k&1");
  EXPECT_EQ(root.child("y")->attribute("none"), "");
  EXPECT_EQ(root.child_text("z"), "");
  EXPECT_EQ(root.child("none"), nullptr);
  EXPECT_EQ(root.child_text("none"), "");
}

TEST(AnswerElement, FindsTheFirstElementInDocumentOrder) {
  const auto root = parse_answer("<r><a><b>1</b></a><b>2</b></r>");
  EXPECT_EQ(root.find("b")->text, "1");
  EXPECT_EQ(root.find("r"), &root);
  EXPECT_EQ(root.find("c"), nullptr);
}

TEST(AnswerElement, WhatIsNoXmlIsRefusedWithReasonAndLine) {
  EXPECT_EQ(refusal("hello"), "it is no XML");
  EXPECT_THAT(refusal("<a>\n<b></a>"), HasSubstr("(line 2)"));
  EXPECT_THAT(refusal("<a><b>"), HasSubstr("line 1"));
  EXPECT_EQ(refusal(""), "it is no XML");
  EXPECT_NE(refusal("<a>\xFF</a>"), "");
  EXPECT_NE(refusal("<a/><b/>"), "");
}

TEST(AnswerElement, DocumentTypesAndEntitiesAreRefused) {
  EXPECT_EQ(refusal("<!DOCTYPE html><html/>"), "it declares a document type");
  const std::string entities =
      R"(<!DOCTYPE a [<!ENTITY b "x"><!ENTITY c SYSTEM "file:///etc/passwd">]><a>&b;&c;</a>)";
  EXPECT_EQ(refusal(entities), "it declares a document type");
  EXPECT_NE(refusal("<a>&b;</a>"), "");
}

TEST(AnswerElement, ElementsNestedTooDeeplyAreRefused) {
  std::string text;
  for (int i = 0; i < 100'000; ++i) {
    text += "<a>";
  }
  EXPECT_NE(refusal(text), "");
}

}  // namespace
}  // namespace importkcd
