#include "base/name_folding.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/support/compiled_locale.h"

namespace importkcd {
namespace {

TEST(NameFolding, AsciiIsLowerCased) {
  EXPECT_EQ(lower_cased("Store SIZE [1]_@Z`z{A"), "store size [1]_@z`z{a");
  EXPECT_EQ(lower_cased(""), "");
}

TEST(NameFolding, OtherLettersAreLowerCasedToo) {
  EXPECT_EQ(lower_cased("ÜBERSICHT Straße"), "übersicht straße");
  EXPECT_EQ(lower_cased("ΑΒΓ ЖЁ ĄĘŁ"), "αβγ жё ąęł");
  // Outside the basic plane: Deseret long I.
  EXPECT_EQ(lower_cased("\xF0\x90\x90\x80"), "\xF0\x90\x90\xA8");
}

TEST(NameFolding, AsciiAfterOtherLettersIsLowerCased) { EXPECT_EQ(lower_cased("aÄB"), "aäb"); }

TEST(NameFolding, CharacterMayBecomeShorterOrLonger) {
  // The Kelvin sign becomes the letter k, A with stroke a longer character.
  EXPECT_EQ(lower_cased("\u212A"), "k");
  EXPECT_EQ(lower_cased("\u023A"), "\u2C65");
}

TEST(NameFolding, TextWithoutLettersStays) {
  EXPECT_EQ(lower_cased("日本語 123 €"), "日本語 123 €");
}

TEST(NameFolding, BytesThatAreNoTextAreKept) {
  EXPECT_EQ(lower_cased("A\xFF\xC3"), "a\xFF\xC3");
  EXPECT_EQ(lower_cased("\x80\xE2\x82Z"), "\x80\xE2\x82z");
  EXPECT_EQ(lower_cased(std::string_view("A\0B", 3)), std::string("a\0b", 3));
}

TEST(NameFolding, LocaleDoesNotMatter) {
  const testing::CompiledLocale turkish("tr_TR");
  EXPECT_EQ(lower_cased("TITLE"), "title");
  EXPECT_TRUE(same_name("TITLE", "title"));
}

TEST(SameName, LetterCaseDoesNotMatter) {
  EXPECT_TRUE(same_name("Store", "STORE"));
  EXPECT_TRUE(same_name("Größe", "GRÖßE"));
  EXPECT_TRUE(same_name("", ""));
  EXPECT_TRUE(same_name("\u212Aelvin", "kelvin"));
  EXPECT_TRUE(same_name("kelvin", "\u212Aelvin"));
}

TEST(SameName, DifferentNamesDiffer) {
  EXPECT_FALSE(same_name("Store", "Stores"));
  EXPECT_FALSE(same_name("Stores", "Store"));
  EXPECT_FALSE(same_name("Store", ""));
  EXPECT_FALSE(same_name("Store", "Score"));
  EXPECT_FALSE(same_name("Größe", "Grösse"));
  EXPECT_FALSE(same_name("É", "E"));
  EXPECT_FALSE(same_name("aé", "a"));
  EXPECT_FALSE(same_name("@", "`"));
  EXPECT_FALSE(same_name(" Store", "Store"));
}

TEST(SameName, AgreesWithLowerCasing) {
  const std::array<std::string_view, 19> names{
      "Store", "STORE", "stor",    "GRÖßE",   "größe", "Größe", "",   "k",     "\u212A", "\xFF",
      "\xC3",  "\xC3k", "\u023AB", "\u2C65b", "é1",    "É1",    "É2", "\xFFk", "\xFFK"};
  for (const auto left : names) {
    for (const auto right : names) {
      EXPECT_EQ(same_name(left, right), lower_cased(left) == lower_cased(right))
          << left << " / " << right;
    }
  }
}

TEST(AsciiCase, OtherLettersAreKept) {
  EXPECT_EQ(ascii_lower_cased("AZ[@äÄ"), "az[@äÄ");
  EXPECT_EQ(ascii_upper_cased("az{`äÄ"), "AZ{`äÄ");
}

}  // namespace
}  // namespace importkcd
