#include "base/text_encoding.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace importkcd {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

TextEncoding declared(const std::string& name) {
  auto encoding = TextEncoding::of_first_bytes("<?x");
  encoding.take_declaration("<?xml version='1.0' encoding='" + name + "'?>");
  return encoding;
}

TEST(TextEncoding, IsJudgedByTheFirstBytes) {
  struct Case {
    std::string_view bytes;
    const char* name;
    std::size_t unit;
    std::size_t byte_order_mark;
  };
  const std::vector<Case> cases = {
      {"", "UTF-8", 1, 0},
      {"<", "UTF-8", 1, 0},
      {"<?x", "UTF-8", 1, 0},
      {"\xEF\xBB\xBF", "UTF-8", 1, 3},
      {"\xEF\xBB", "UTF-8", 1, 0},
      {"\xFF\xFE<", "UTF-16LE", 2, 2},
      {"\xFE\xFF\0"sv, "UTF-16BE", 2, 2},
      {"\xFF\xFE", "UTF-16LE", 2, 2},
      {"<\0?"sv, "UTF-16LE", 2, 0},
      {"\0<\0"sv, "UTF-16BE", 2, 0},
  };
  for (const auto& c : cases) {
    const auto encoding = TextEncoding::of_first_bytes(c.bytes);
    EXPECT_EQ(encoding.name(), c.name);
    EXPECT_EQ(encoding.unit(), c.unit) << c.name;
    EXPECT_EQ(encoding.byte_order_mark(), c.byte_order_mark) << c.name;
  }
}

TEST(TextEncoding, TakesTheDeclaredEncoding) {
  struct Case {
    std::string_view text;
    const char* name;
  };
  const std::vector<Case> cases = {
      {R"(<?xml version="1.0" encoding="windows-1252"?><a/>)", "windows-1252"},
      {"<?xml version='1.0' encoding = 'ISO-8859-1' standalone='yes'?>", "ISO-8859-1"},
      {"<?xml version='1.0'\n\tencoding\n=\t'koi8-r'\n?>", "koi8-r"},
      {"<?xml version='1.0' encoding=''?>", "UTF-8"},
      {"<?xml version='1.0' encoding?>", "UTF-8"},
      {"<?xml version='1.0' encoding=", "UTF-8"},
      {"<?xml version='1.0' encoding=koi8-r?>", "UTF-8"},
      {"<?xml version='1.0'?><a encoding='koi8-r'/>", "UTF-8"},
      {"<a encoding='koi8-r'?>", "UTF-8"},
      {" <?xml encoding='koi8-r'?>", "UTF-8"},
      {"<?xml encoding='klingon'?>", "UTF-8"},
      {"<?xml encoding='koi8-r//TRANSLIT'?>", "UTF-8"},
      {"<?xml encoding='UTF-16'?>", "UTF-8"},
      {"<?xml encoding='UTF-32'?>", "UTF-8"},
      {"<?xml encoding='IBM037'?>", "UTF-8"},
      {"", "UTF-8"},
  };
  for (const auto& c : cases) {
    auto encoding = TextEncoding::of_first_bytes("<?x");
    encoding.take_declaration(c.text);
    EXPECT_EQ(encoding.name(), c.name) << c.text;
  }
}

TEST(TextEncoding, AByteOrderMarkOutweighsADeclaration) {
  const auto declaration = "<?xml version='1.0' encoding='windows-1252'?>";
  auto encoding = TextEncoding::of_first_bytes("\xEF\xBB\xBF");
  encoding.take_declaration(declaration);
  EXPECT_EQ(encoding.name(), "UTF-8");
  encoding = TextEncoding::of_first_bytes("\xFF\xFE<");
  encoding.take_declaration(declaration);
  EXPECT_EQ(encoding.name(), "UTF-16LE");
}

TEST(TextEncoding, EncodesTexts) {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC";  // a, e with acute, euro
  EXPECT_EQ(declared("UTF-8").encode(text), text);
  EXPECT_EQ(declared("utf-8").encode(text), text);
  EXPECT_EQ(declared("windows-1252").encode(text), "a\xE9\x80");
  EXPECT_EQ(declared("ISO-8859-15").encode(text), "a\xE9\xA4");
  EXPECT_EQ(TextEncoding::of_first_bytes("\xFF\xFE").encode(text), "a\0\xE9\0\xAC\x20"s);
  EXPECT_EQ(TextEncoding::of_first_bytes("\xFE\xFF").encode(text), "\0a\0\xE9\x20\xAC"s);
  EXPECT_EQ(TextEncoding::of_first_bytes("\xFE\xFF").encode("\xF0\x9F\x98\x80"),
            "\xD8\x3D\xDE\x00"s);
  EXPECT_EQ(declared("ISO-8859-1").encode(""), "");
}

TEST(TextEncoding, ATextWithALackingCharacterCannotBeEncoded) {
  EXPECT_EQ(declared("ISO-8859-1").encode("a\xE2\x82\xAC"), std::nullopt);
  EXPECT_EQ(declared("us-ascii").encode("\xC3\xA9"), std::nullopt);
}

TEST(TextEncoding, ReferencesStandForLackingCharacters) {
  EXPECT_EQ(declared("ISO-8859-1").encode_with_references("\xC3\xA9\xE2\x82\xAC!"), "\xE9&#8364;!");
  EXPECT_EQ(declared("us-ascii").encode_with_references("\xF0\x9F\x98\x80"), "&#128512;");
  EXPECT_EQ(declared("UTF-8").encode_with_references("\xE2\x82\xAC"), "\xE2\x82\xAC");
}

TEST(TextEncoding, BytesThatAreNoUtf8BecomeTheReplacementCharacter) {
  EXPECT_EQ(declared("ISO-8859-1").encode_with_references("a\xFF"), "a&#65533;");
  EXPECT_EQ(declared("ISO-8859-1").encode("a\xFF"), std::nullopt);
}

TEST(TextEncoding, TextIsFoundOnCodeUnitsOnly) {
  const auto text = "\0a\0b\0a\0b\0"sv;
  EXPECT_EQ(find_on_unit(text, "\0a"sv, 0, 2), 0U);
  EXPECT_EQ(find_on_unit(text, "\0a"sv, 2, 2), 4U);
  EXPECT_EQ(find_on_unit(text, "a\0"sv, 0, 2), std::string_view::npos);
  EXPECT_EQ(find_on_unit(text, "b", 0, 1), 3U);
  EXPECT_EQ(find_on_unit(text, "c", 0, 1), std::string_view::npos);
  EXPECT_EQ(find_on_unit(text, "\0b\0"sv, 10, 1), std::string_view::npos);
}

TEST(Utf16Text, GoesThereAndBack) {
  const std::string text = "a é € 日 😀 \xF4\x8F\xBF\xBF";
  EXPECT_EQ(utf16_text(text), u"a é € 日 😀 \U0010FFFF");
  EXPECT_EQ(utf8_text(utf16_text(text)), text);
  EXPECT_EQ(utf8_text(utf16_text("")), "");
}

TEST(Utf16Text, WhatIsNoTextBecomesTheReplacementCharacter) {
  EXPECT_EQ(utf16_text("a\xFF\xC3"), u"a\uFFFD\uFFFD");
  const std::u16string lone{u'a', char16_t{0xD83D}, u'b', char16_t{0xDE00}, char16_t{0xD83D}};
  EXPECT_EQ(utf8_text(lone), "a\uFFFDb\uFFFD\uFFFD");
  const std::u16string twice{char16_t{0xD83D}, char16_t{0xD83D}, u'b'};
  EXPECT_EQ(utf8_text(twice), "\uFFFD\uFFFDb");
}

}  // namespace
}  // namespace importkcd
