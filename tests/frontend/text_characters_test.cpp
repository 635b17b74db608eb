#include "frontend/text_characters.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

constexpr std::string_view mixed = "a\u00e4\u20ac\U0001F600z";

TEST(TextCharacters, CountsCharactersAndNotBytes) {
  EXPECT_EQ(character_count(""), 0U);
  EXPECT_EQ(character_count(mixed), 5U);
}

TEST(TextCharacters, TakesCharactersFromTheEnd) {
  EXPECT_EQ(last_characters(mixed, 0), "");
  EXPECT_EQ(last_characters(mixed, 2), "\U0001F600z");
  EXPECT_EQ(last_characters(mixed, 5), mixed);
  EXPECT_EQ(last_characters(mixed, 6), mixed);
  EXPECT_EQ(without_last_characters(mixed, 0), mixed);
  EXPECT_EQ(without_last_characters(mixed, 3), "a\u00e4");
  EXPECT_EQ(without_last_characters(mixed, 9), "");
}

TEST(TextCharacters, DropsTheFirstCharacter) {
  EXPECT_EQ(without_first_character(""), "");
  EXPECT_EQ(without_first_character("a"), "");
  EXPECT_EQ(without_first_character("\u20ac1"), "1");
}

TEST(TextCharacters, TakesBytesThatAreNoTextAsTheyCome) {
  EXPECT_EQ(character_count("\x80\xff\xfe"), 3U);
  EXPECT_EQ(last_characters("\x80\xff", 1), "\xff");
  EXPECT_EQ(without_last_characters("\x80", 1), "");
}

TEST(TextCharacters, TrimsBlanksOnly) {
  EXPECT_EQ(trim_blanks(""), "");
  EXPECT_EQ(trim_blanks("   "), "");
  EXPECT_EQ(trim_blanks("  a b "), "a b");
  EXPECT_EQ(trim_blanks("\t a\n"), "\t a\n");
}

}  // namespace
}  // namespace importkcd
