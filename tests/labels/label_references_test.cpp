#include "labels/label_references.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>

#include "base/import_error.h"

namespace importkcd {
namespace {

using namespace std::string_literals;

LoadedLabels labels_of(const std::map<int, std::string>& texts) {
  LoadedLabels labels;
  labels.loaded = true;
  labels.MinLabelID = static_cast<std::int16_t>(texts.begin()->first);
  labels.MaxLabelID = static_cast<std::int16_t>(texts.rbegin()->first);
  labels.LabelTable.resize(labels.index_of(labels.MaxLabelID) + 1);
  for (const auto& [id, text] : texts) {
    labels.LabelTable.at(labels.index_of(static_cast<std::int16_t>(id))) = text;
  }
  return labels;
}

const LoadedLabels labels =
    labels_of({{1, "One"}, {4, "Four"}, {5, "Five"}, {7, "  "}, {12, "Year"}, {50, "Last"}});

std::string substituted(const std::string& text) { return SubstituteLabelReferences(text, labels); }

TEST(LabelReferences, AReferenceBecomesItsLabel) {
  EXPECT_EQ(substituted("a$##12%b"), "aYearb");
  EXPECT_EQ(substituted("$##12%"), "Year");
  EXPECT_EQ(substituted("$##12%$##1%%$##5%"), "YearOne%Five");
  EXPECT_EQ(substituted("$## 12 %$##+1%"), "YearOne");
}

TEST(LabelReferences, WhatOpensNoReferenceStays) {
  EXPECT_EQ(substituted("a$##12b $##1%"), "a$##12b One");
  EXPECT_EQ(substituted("$##x%y$##1%"), "$##x%yOne");
  EXPECT_EQ(substituted("$##$##5%"), "$##Five");
  EXPECT_EQ(substituted("$##5%$##"), "Five$##");
  EXPECT_EQ(substituted("$##5%$##7"), "Five$##7");
  EXPECT_EQ(substituted("$##%$##5%"), "$##%Five");
  EXPECT_EQ(substituted("$##5%$#$##1%#"), "Five$#One#");
  EXPECT_EQ(substituted("$$##5%"), "$Five");
  EXPECT_EQ(substituted("$###5%$##5%"), "$###5%Five");
}

TEST(LabelReferences, MarkersAcrossLineEndsAreNone) {
  EXPECT_EQ(substituted("$#\n#5%$##5%"), "$#\n#5%Five");
  EXPECT_EQ(substituted("$##5\n%$##5%"), "$##5\n%Five");
  EXPECT_EQ(substituted("$##\r\n5%$##5%"), "$##\r\n5%Five");
}

TEST(LabelReferences, WithoutAnIdInRangeTheResultIsError) {
  EXPECT_EQ(substituted(""), "ERROR");
  EXPECT_EQ(substituted("no reference"), "ERROR");
  EXPECT_EQ(substituted("a$##12b"), "ERROR");
  EXPECT_EQ(substituted("$##99%"), "ERROR");
  EXPECT_EQ(substituted("$##0%$##-1%"), "ERROR");
}

TEST(LabelReferences, AnIdOutOfRangeIsUnknownWhenAnotherLiesInside) {
  EXPECT_EQ(substituted("$##99% $##12%"), "Unknown99 Year");
  EXPECT_EQ(substituted("$##-2%|$##12%"), "Unknown-2|Year");
}

TEST(LabelReferences, AnIdBelowTheFirstIsUnknownWhereverTheFirstLies) {
  const auto late = labels_of({{20, "Twenty"}, {21, "More"}});
  EXPECT_EQ(SubstituteLabelReferences("$##19%|$##20%|$##-20%|$##0%", late),
            "Unknown19|Twenty|Unknown-20|Unknown0");
  EXPECT_EQ(SubstituteLabelReferences("$##19%", late), "ERROR");
  const auto negative = labels_of({{-3, "a"}, {-2, "b"}});
  EXPECT_EQ(SubstituteLabelReferences("$##-4%$##-3%", negative), "Unknown-4a");
}

TEST(LabelReferences, AMissingOrBlankLabelIsUnknownAndCountsAsResolved) {
  EXPECT_EQ(substituted("$##7%"), "Unknown7");
  EXPECT_EQ(substituted("<$##6%>"), "<Unknown6>");
}

TEST(LabelReferences, AFractionIsRounded) {
  EXPECT_EQ(substituted("$##3.6%"), "Four");
  EXPECT_EQ(substituted("$##4.5%"), "Four");
  EXPECT_EQ(substituted("$##0.5%$##1%"), "Unknown0One");
}

TEST(LabelReferences, NegativeIdsAreOrdinaryOnes) {
  const auto negative = labels_of({{-3, "a"}, {-2, "b"}, {-1, "c"}});
  EXPECT_EQ(SubstituteLabelReferences("$##-2%$##-3%", negative), "ba");
  EXPECT_EQ(SubstituteLabelReferences("$##-1%", labels_of({{-1, "only"}})), "only");
}

TEST(LabelReferences, WhileNothingIsLoadedNoIdIsInRange) {
  EXPECT_EQ(SubstituteLabelReferences("$##-1%", LoadedLabels{}), "ERROR");
  auto stale = labels;
  stale.MinLabelID = -1;
  stale.MaxLabelID = -1;
  stale.loaded = false;
  EXPECT_EQ(SubstituteLabelReferences("$##-1%", stale), "ERROR");
}

TEST(LabelReferences, AnIdOutOf16BitsEndsTheSubstitution) {
  EXPECT_THAT([&] { substituted("$##12%$##32768%"); },
              ::testing::ThrowsMessage<ImportError>(
                  ::testing::HasSubstr("is out of range (-32768 to 32767)")));
  EXPECT_THAT([&] { substituted("$##70000%"); },
              ::testing::ThrowsMessage<ImportError>(
                  ::testing::HasSubstr("is out of range (-32768 to 32767)")));
}

TEST(LabelReferences, LabelsAreNotReadAgain) {
  EXPECT_EQ(SubstituteLabelReferences("$##1%2%", labels_of({{1, "$##"}, {2, "x"}})), "$##2%");
}

std::string utf16(std::string_view text, bool low_first) {
  std::string bytes = low_first ? "\xFF\xFE"s : "\xFE\xFF"s;
  for (const char character : text) {
    bytes += low_first ? std::string{character, '\0'} : std::string{'\0', character};
  }
  return bytes;
}

TEST(LabelReferences, Utf16TextsWorkInBothOrders) {
  for (const bool low_first : {true, false}) {
    const auto encoding = TextEncoding::of_first_bytes(utf16("", low_first));
    const auto convert = [&](const std::string& text) {
      return SubstituteLabelReferences(utf16(text, low_first), labels, encoding);
    };
    EXPECT_EQ(convert("a$##12%b$##x%$##99%"), utf16("aYearb$##x%Unknown99", low_first));
    EXPECT_EQ(convert("$##99%"), "ERROR");
    // "$##" must not be seen across two code units.
    const auto shifted = low_first ? "\x24\x23\x00\x23"s : "\x00\x24\x23\x00"s;
    EXPECT_EQ(SubstituteLabelReferences(utf16("$##1%", low_first) + shifted, labels, encoding),
              utf16("One", low_first) + shifted);
    // A digit's byte with another high byte is no digit.
    const auto wide = low_first ? "5\x01"s : "\x01"s + "5";
    const auto text = utf16("$##", low_first) + wide + utf16("%$##1%", low_first).substr(2);
    EXPECT_EQ(SubstituteLabelReferences(text, labels, encoding),
              utf16("$##", low_first) + wide + utf16("%One", low_first).substr(2));
  }
}

/// A text that comes in windows which first show `size` bytes, and grow when they do not suffice.
std::string substituted_in_windows(std::string_view text, std::size_t size,
                                   const TextEncoding& encoding) {
  LabelSubstitution substitution(labels, encoding);
  std::string result;
  auto shown = size;
  while (!text.empty()) {
    const auto window = text.substr(0, shown);
    const auto taken = substitution.take(window, shown > text.size(), result);
    EXPECT_LE(taken, window.size());
    shown = taken == 0 ? shown + 1 : size;
    text.remove_prefix(taken);
  }
  return substitution.resolved() ? result : "ERROR";
}

TEST(LabelReferences, ATextMayComeInPieces) {
  const std::string text = "a$##12%b$##x%$##99%$$##1%$##-5.25 $##1$##+0004.4 %%$##";
  const std::string result = "aYearb$##x%Unknown99$One$##-5.25 $##1Four%$##";
  for (std::size_t size = 1; size < 2 * text.size() + 4; ++size) {
    EXPECT_EQ(substituted_in_windows(text, size, TextEncoding::of_first_bytes(text)), result);
    for (const bool low_first : {true, false}) {
      const auto bytes = utf16(text, low_first);
      EXPECT_EQ(substituted_in_windows(bytes, size, TextEncoding::of_first_bytes(bytes)),
                utf16(result, low_first));
      EXPECT_EQ(substituted_in_windows(bytes + "$", size, TextEncoding::of_first_bytes(bytes)),
                utf16(result, low_first) + "$");
    }
  }
}

TEST(LabelReferences, OnlyWhatMayBecomeAReferenceIsLeftForLater) {
  const auto utf8 = TextEncoding::of_first_bytes({});
  LabelSubstitution substitution(labels, utf8);
  std::string result;
  EXPECT_EQ(substitution.take("abc$#", false, result), 3U);
  EXPECT_EQ(substitution.take("$##12", false, result), 0U);
  EXPECT_EQ(substitution.take("$##12x", false, result), 4U);
  EXPECT_EQ(result, "abc$##1");
  EXPECT_FALSE(substitution.resolved());
  EXPECT_EQ(substitution.take("$##12%", false, result), 6U);
  EXPECT_EQ(result, "abc$##1Year");
  EXPECT_TRUE(substitution.resolved());
}

TEST(LabelReferences, ACallEndsWhenItsResultIsLong) {
  const auto long_labels = labels_of({{1, std::string(10'000, 'x')}});
  const auto utf8 = TextEncoding::of_first_bytes({});
  LabelSubstitution substitution(long_labels, utf8);
  std::string text;
  for (int i = 0; i < 100; ++i) {
    text += "$##1%";
  }
  std::string result = "former";
  EXPECT_EQ(substitution.take(text, true, result), 27 * 5U);
  EXPECT_EQ(result.size(), 270'006U);
  EXPECT_EQ(SubstituteLabelReferences(text, long_labels), std::string(1'000'000, 'x'));
}

TEST(LabelReferences, LabelsAreBroughtIntoTheEncodingOfTheText) {
  const auto accents = labels_of({{1, "Été"}, {2, "€ 日"}});
  auto windows = TextEncoding::of_first_bytes("<?x");
  windows.take_declaration("<?xml version='1.0' encoding='windows-1252'?>");
  EXPECT_EQ(SubstituteLabelReferences("\xE9$##1%$##2%$##1%", accents, windows),
            "\xE9\xC9t\xE9\x80 &#26085;\xC9t\xE9");
  auto latin = TextEncoding::of_first_bytes("<?x");
  latin.take_declaration("<?xml version='1.0' encoding='ISO-8859-1'?>");
  EXPECT_EQ(SubstituteLabelReferences("$##2%", accents, latin), "&#8364; &#26085;");
}

TEST(LabelReferences, AnEncodingWithoutADollarSignHasNone) {
  auto finnish = TextEncoding::of_first_bytes("<?x");
  finnish.take_declaration("<?xml version='1.0' encoding='ISO646-FI'?>");
  ASSERT_EQ(finnish.encode("$"), std::nullopt);
  for (const auto* text : {"$##1%", "&#36;##1%"}) {
    EXPECT_EQ(SubstituteLabelReferences(text, labels_of({{1, "Year"}}), finnish),
              no_reference_resolved);
  }
}

TEST(LabelReferences, AMillionReferencesAreReplaced) {
  std::string text;
  for (int i = 0; i < 1'000'000; ++i) {
    text += "$##12%";
  }
  const auto result = substituted(text);
  EXPECT_EQ(result.size(), 4'000'000U);
  EXPECT_EQ(result.find_first_not_of("Year"), std::string::npos);
}

}  // namespace
}  // namespace importkcd
