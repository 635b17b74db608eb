#include "labels/xml_escape_text.h"

#include <gtest/gtest.h>

#include "base/apostrophes.h"
#include "base/import_error.h"

namespace importkcd {
namespace {

std::string repeated(const std::string& text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

TEST(XmlEscapeText, ReplacesTheFiveCharactersAndNoOther) {
  EXPECT_EQ(XmlEscapeText("a\"b'c&d<e>f"), "a&#34;b&#39;c&#38;d&#60;e&#62;f");
  EXPECT_EQ(XmlEscapeText("é €\t\r\n#;%"), "é €\t\r\n#;%");
  EXPECT_EQ(XmlEscapeText("&#38;"), "&#38;#38;");
  EXPECT_EQ(XmlEscapeText(""), "");
}

TEST(XmlEscapeText, AfterTheApostrophesNoneIsLeftToEscape) {
  EXPECT_EQ(XmlEscapeText(EncodeApostrophes("Men's w<e>")), "Men@#$%s w&#60;e&#62;");
}

TEST(XmlEscapeText, ALengthOf32767CharactersIsTheMost) {
  EXPECT_EQ(XmlEscapeText(std::string(32767, '<')).size(), 5U * 32767);
  EXPECT_EQ(XmlEscapeText(repeated("é", 32767)), repeated("é", 32767));
  EXPECT_THROW(XmlEscapeText(std::string(32768, 'x')), ImportError);
  EXPECT_THROW(XmlEscapeText(repeated("é", 32768)), ImportError);
}

}  // namespace
}  // namespace importkcd
