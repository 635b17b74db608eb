#include "base/xml_element.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/import_error.h"

namespace importkcd {
namespace {

using ::testing::HasSubstr;

TEST(XmlElement, IsWrittenIndentedWithAttributesAndChildrenInTheirOrder) {
  auto root = text_element("Cube", {});
  root.set("name", "Sales").set_if_any("caption", "").set_if_any("description", "All of it");
  root.add(text_element("Table", {})).set("name", "sales");
  root.add(text_element("Formula", "1 + 1"));
  EXPECT_EQ(xml_text(root),
            "<Cube name=\"Sales\" description=\"All of it\">\n"
            "  <Table name=\"sales\"/>\n"
            "  <Formula>1 + 1</Formula>\n"
            "</Cube>\n");
}

TEST(XmlElement, MarkupInTextsStaysText) {
  auto element = text_element("Formula", "a < b && c ]]> \"d\" 'e' &amp;");
  element.set("name", "<x y=\"'z'\"> & ]]>");
  EXPECT_EQ(xml_text(element),
            "<Formula name=\"&lt;x y=&quot;'z'&quot;&gt; &amp; ]]&gt;\">"
            "a &lt; b &amp;&amp; c ]]&gt; &quot;d&quot; 'e' &amp;amp;</Formula>\n");
}

TEST(XmlElement, AnyScriptStaysAsItIs) {
  EXPECT_EQ(xml_text(text_element("Name", "売上 – Größe Ω 😀")), "<Name>売上 – Größe Ω 😀</Name>\n");
}

TEST(XmlElement, BreaksAndTabulatorsInAttributesSurviveReading) {
  auto element = text_element("Name", {});
  element.set("name", "a\nb\tc\rd");
  EXPECT_EQ(xml_text(element), "<Name name=\"a&#10;b&#9;c&#13;d\"/>\n");
}

TEST(XmlElement, WhatCannotStandInXmlIsAnError) {
  const auto reason = [](const std::string& text) -> std::string {
    try {
      xml_text(text_element("Name", text));
    } catch (const ImportError& error) {
      return error.description();
    }
    return "nothing was thrown";
  };
  EXPECT_EQ(reason("bell\a"), "'bell ' cannot stand in an XML file");
  EXPECT_EQ(reason(std::string("a\0z", 3)), "'a z' cannot stand in an XML file");
  EXPECT_EQ(reason("latin \xe9"), "'latin \xe9' cannot stand in an XML file");
}

TEST(XmlElement, ADocumentNamesItsEncodingAndMayCarryAComment) {
  EXPECT_EQ(xml_document(text_element("Schema", {}), " mark "),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- mark -->\n<Schema/>\n");
  EXPECT_EQ(xml_document(text_element("Schema", {}), ""),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Schema/>\n");
}

TEST(XmlElement, ACompactDocumentHasNothingBetweenItsElements) {
  auto root = text_element("a", {});
  root.add(text_element("b", "1")).add(text_element("c", {}));
  EXPECT_EQ(xml_document(root, "", XmlLayout::compact),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a><b>1<c/></b></a>\n");
}

/// What read_xml() says about a text that it refuses.
std::string refusal(std::string_view text) {
  try {
    read_xml(text, "a server");
  } catch (const ImportError& error) {
    EXPECT_EQ(error.source(), "a server");
    return error.description();
  }
  return "";
}

TEST(XmlRead, HoldsNamesTextsAndAttributesWithoutPrefixes) {
  const auto root = read_xml(
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
      "<a:x xmlns:a=\"urn:a\" xmlns=\"urn:b\"><!-- c --><y a:kind=\"k&amp;1\">caf\xE9 "
      "<![CDATA[<&>]]></y><z/><z>2</z></a:x>",
      "test");
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

TEST(XmlRead, FindsTheFirstElementInDocumentOrder) {
  const auto root = read_xml("<r><a><b>1</b></a><b>2</b></r>", "test");
  EXPECT_EQ(root.find("b")->text, "1");
  EXPECT_EQ(root.find("r"), &root);
  EXPECT_EQ(root.find("c"), nullptr);
}

TEST(XmlRead, WhatIsNoXmlIsRefusedWithReasonAndLine) {
  EXPECT_EQ(refusal("hello"), "it is no XML");
  EXPECT_THAT(refusal("<a>\n<b></a>"), HasSubstr("(line 2)"));
  EXPECT_THAT(refusal("<a><b>"), HasSubstr("line 1"));
  EXPECT_EQ(refusal(""), "it is no XML");
  EXPECT_NE(refusal("<a>\xFF</a>"), "");
  EXPECT_NE(refusal("<a/><b/>"), "");
}

TEST(XmlRead, DocumentTypesAndEntitiesAreRefused) {
  EXPECT_EQ(refusal("<!DOCTYPE html><html/>"), "it declares a document type");
  const std::string entities =
      R"(<!DOCTYPE a [<!ENTITY b "x"><!ENTITY c SYSTEM "file:///etc/passwd">]><a>&b;&c;</a>)";
  EXPECT_EQ(refusal(entities), "it declares a document type");
  EXPECT_NE(refusal("<a>&b;</a>"), "");
}

TEST(XmlRead, ElementsNestedTooDeeplyAreRefused) {
  std::string text;
  for (int i = 0; i < 100'000; ++i) {
    text += "<a>";
  }
  EXPECT_NE(refusal(text), "");
}

}  // namespace
}  // namespace importkcd
