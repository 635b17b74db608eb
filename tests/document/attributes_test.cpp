#include "document/attributes.h"

#include <gtest/gtest.h>

#include <clocale>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/import_error.h"
#include "tests/support/compiled_locale.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using testing::CompiledLocale;
using testing::TemporaryFolder;

class Attributes : public ::testing::Test {
 protected:
  const KcdElement& parse(const std::string& xml) {
    documents_.push_back(KcdDocument::load(folder_.write("document.xml", xml)));
    return documents_.back()->root();
  }

  /// An element whose attribute `n` has this value, written without special characters.
  const KcdElement& with_value(const std::string& value) {
    return parse("<element n=\"" + value + "\"/>");
  }

 private:
  TemporaryFolder folder_;
  std::vector<std::unique_ptr<KcdDocument>> documents_;
};

/// The description of the error that `read` must end with.
std::string error_of(const std::function<void()>& read) {
  try {
    read();
  } catch (const ImportError& error) {
    EXPECT_EQ(error.source(), "KCD document");
    return error.description();
  }
  return "no error";
}

TEST_F(Attributes, RawTextIsTakenAsItStands) {
  EXPECT_EQ(raw_text(parse("<e t='a@#$%b &amp; c'/>"), "t"), "a@#$%b & c");
  EXPECT_EQ(raw_text(parse("<e t=''/>"), "t"), "");
}

TEST_F(Attributes, DecodedTextHasApostrophes) {
  EXPECT_EQ(decoded_text(parse("<e t='a@#$%b@#$%'/>"), "t"), "a'b'");
}

TEST_F(Attributes, AbsentAttributesAreAnInvalidUseOfNull) {
  const auto& element = parse("<e N='1'/>");
  const std::string message = "Invalid use of Null";
  EXPECT_EQ(error_of([&] { raw_text(element, "n"); }), message);
  EXPECT_EQ(error_of([&] { decoded_text(element, "n"); }), message);
  EXPECT_EQ(error_of([&] { int16_number(element, "n"); }), message);
  EXPECT_EQ(error_of([&] { int32_number(element, "n"); }), message);
  EXPECT_EQ(error_of([&] { double_number(element, "n"); }), message);
}

TEST_F(Attributes, WholeNumbersAreReadFromDecimalTexts) {
  struct Case {
    const char* text;
    std::int32_t number;
  };
  const std::vector<Case> cases = {
      {"12", 12},
      {"+12", 12},
      {"-12", -12},
      {"  12 ", 12},
      {"&#9;-12&#9;", -12},
      {"0", 0},
      {"-0", 0},
      {"00000000000000000000000012", 12},
      {"5.", 5},
      {".5", 0},
      {"-.5", 0},
      {"-3.5", -4},
      {"12.0", 12},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(int32_number(with_value(c.text), "n"), c.number) << c.text;
    EXPECT_EQ(int16_number(with_value(c.text), "n"), c.number) << c.text;
  }
}

TEST_F(Attributes, HalvesAreRoundedToEven) {
  struct Case {
    const char* text;
    std::int32_t number;
  };
  const std::vector<Case> cases = {
      {"0.5", 0},
      {"1.5", 2},
      {"2.5", 2},
      {"3.5", 4},
      {"-1.5", -2},
      {"-2.5", -2},
      {"2.49", 2},
      {"2.51", 3},
      {"2.50000", 2},
      {"2.4", 2},
      {"2.6", 3},
      {"-2.6", -3},
      {"2.4999999999999999999999999999", 2},
      {"2.5000000000000000000000000001", 3},
      {"0.50000000000000000000000000010", 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(int32_number(with_value(c.text), "n"), c.number) << c.text;
  }
}

TEST_F(Attributes, OtherTextsThanDecimalNumbersAreATypeMismatch) {
  for (const char* text :
       {"",       " ",       "+",       "-",   ".",    "-.",       "abc",   "12a",
        "a12",    "1 2",     "- 1",     "+ 1", "+-1",  "--1",      "1-",    "1.2.3",
        "1,5",    "1,000",   "1e3",     "1E3", "0x10", "&#38;H10", "1_000", "&#10;1",
        "1&#13;", "&#160;1", "&#x661;", "1..", "true", "inf",      "nan"}) {
    EXPECT_EQ(error_of([&] { int16_number(with_value(text), "n"); }), "Type mismatch") << text;
    EXPECT_EQ(error_of([&] { int32_number(with_value(text), "n"); }), "Type mismatch") << text;
  }
}

TEST_F(Attributes, SixteenBitNumbersKeepTheirRange) {
  for (const char* text : {"32767", "32767.4", "32766.5"}) {
    EXPECT_GE(int16_number(with_value(text), "n"), 32766) << text;
  }
  EXPECT_EQ(int16_number(with_value("-32768"), "n"), -32768);
  EXPECT_EQ(int16_number(with_value("-32768.5"), "n"), -32768);
  for (const char* text : {"32768", "32767.5", "-32769", "-32768.51", "2147483648"}) {
    EXPECT_EQ(error_of([&] { int16_number(with_value(text), "n"); }), "Overflow") << text;
  }
}

TEST_F(Attributes, ThirtyTwoBitNumbersKeepTheirRange) {
  EXPECT_EQ(int32_number(with_value("2147483647"), "n"), 2147483647);
  EXPECT_EQ(int32_number(with_value("2147483646.5"), "n"), 2147483646);
  EXPECT_EQ(int32_number(with_value("-2147483648.5"), "n"), std::int32_t{-2147483647} - 1);
  for (const char* text : {"2147483648", "2147483647.5", "-2147483649", "4294967296", "4294967297",
                           "18446744073709551617", "100000000000000000000000000000000000000000"}) {
    EXPECT_EQ(error_of([&] { int32_number(with_value(text), "n"); }), "Overflow") << text;
  }
}

TEST_F(Attributes, AMismatchAfterManyDigitsIsNoOverflow) {
  EXPECT_EQ(error_of([&] { int32_number(with_value("99999999999999999999x"), "n"); }),
            "Type mismatch");
}

TEST_F(Attributes, FloatingNumbersAreReadFromDecimalTexts) {
  struct Case {
    const char* text;
    double number;
  };
  const std::vector<Case> cases = {
      {"1000", 1000},   {"+2.5", 2.5},  {"-2.5", -2.5},
      {" 1e3 ", 1000},  {"1E+3", 1000}, {"1.5e-3", .0015},
      {"&#9;.5", 0.5},  {"5.", 5},      {"0", 0},
      {"1e308", 1e308}, {"0.1", 0.1},   {"123456789012345678", 123456789012345678.},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(double_number(with_value(c.text), "n"), c.number) << c.text;
  }
}

TEST_F(Attributes, OtherTextsThanFloatingNumbersAreATypeMismatch) {
  for (const char* text :
       {"",   " ",   "+",  "-",   ".",   "inf", "-inf", "infinity", "nan",  "NaN", "0x10",
        "1e", "1e+", "e3", "1,5", "1 2", "- 1", "+-1",  "--1",      "1.5f", "abc"}) {
    EXPECT_EQ(error_of([&] { double_number(with_value(text), "n"); }), "Type mismatch") << text;
  }
}

TEST_F(Attributes, FloatingNumbersOutOfRangeOverflow) {
  for (const char* text : {"1e309", "-1e309", "1e99999"}) {
    EXPECT_EQ(error_of([&] { double_number(with_value(text), "n"); }), "Overflow") << text;
  }
  EXPECT_EQ(error_of([&] { double_number(with_value(std::string(400, '9')), "n"); }), "Overflow");
}

TEST_F(Attributes, NumbersDoNotDependOnTheLocale) {
  const CompiledLocale german("de_DE");
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  EXPECT_EQ(double_number(with_value("1.5"), "n"), 1.5);
  EXPECT_EQ(int32_number(with_value("1.5"), "n"), 2);
}

TEST_F(Attributes, ARequiredChildIsTheFirstOfItsTag) {
  const auto& element = parse("<e><a n='0'/><b n='1'/><b n='2'/></e>");
  EXPECT_EQ(raw_text(required_child(element, "b"), "n"), "1");
}

TEST_F(Attributes, AMissingRequiredChildIsAnError) {
  const auto& element = parse("<e><cube_levels/></e>");
  EXPECT_EQ(error_of([&] { required_child(element, "cube_roles"); }),
            "element 'cube_roles' is missing");
  EXPECT_EQ(error_of([&] { required_child(element, "Cube_levels"); }),
            "element 'Cube_levels' is missing");
}

}  // namespace
}  // namespace importkcd
