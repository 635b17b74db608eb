#include "base/xml_element.h"

#include <gtest/gtest.h>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

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
  const auto reason = [](const std::string& text) {
    return testing::reason_of([&] { xml_text(text_element("Name", text)); });
  };
  EXPECT_EQ(reason("bell\a"), "'bell\a' cannot stand in an XML file");
  EXPECT_EQ(reason("latin \xe9"), "'latin \xe9' cannot stand in an XML file");
}

TEST(XmlElement, ADocumentNamesItsEncodingAndMayCarryAComment) {
  EXPECT_EQ(xml_document(text_element("Schema", {}), " mark "),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- mark -->\n<Schema/>\n");
  EXPECT_EQ(xml_document(text_element("Schema", {}), ""),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Schema/>\n");
}

}  // namespace
}  // namespace importkcd
