#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/import_error.h"
#include "base/text_encoding.h"
#include "document/document_copy.h"
#include "document/kcd_document.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {

static void PrintTo(const DocumentPosition& position, std::ostream* out) {
  *out << position.line << ':' << position.column;
}

namespace {

using testing::TemporaryFolder;
using Positions = std::vector<DocumentPosition>;

void collect(const KcdElement& element, Positions& positions) {
  positions.push_back(element.position());
  for (const auto& child : children_of(element)) {
    collect(child, positions);
  }
}

class DocumentPositions : public ::testing::Test {
 protected:
  /// Of all elements, in document order.
  Positions positions_of(std::string_view bytes) {
    Positions positions;
    document_ = KcdDocument::load_original(folder_.write("document.kcd", bytes));
    collect(document_->root(), positions);
    return positions;
  }

  DocumentPosition error_position(std::string_view bytes) {
    try {
      KcdDocument::load_original(folder_.write("document.kcd", bytes));
    } catch (const DocumentSyntaxError& error) {
      return error.position();
    }
    return {};
  }

 private:
  TemporaryFolder folder_;
  std::unique_ptr<KcdDocument> document_;
};

TEST_F(DocumentPositions, AnElementStandsWhereItsTagBegins) {
  EXPECT_EQ(positions_of("<a><b/>\n  <c\n   d='1'\n   e='2'/><f/>\n\t<g>x</g></a>"),
            (Positions{{1, 1}, {1, 4}, {2, 3}, {4, 11}, {5, 2}}));
}

TEST_F(DocumentPositions, CarriageReturnsBelongToTheLineEnd) {
  EXPECT_EQ(positions_of("<a>\r\n <b\r\n c='&#13;\r\n'/><d/>\r\n</a>"),
            (Positions{{1, 1}, {2, 2}, {4, 4}}));
}

TEST_F(DocumentPositions, AByteOrderMarkIsNoCharacter) {
  EXPECT_EQ(positions_of("\xEF\xBB\xBF<a><b/></a>"), (Positions{{1, 1}, {1, 4}}));
}

TEST_F(DocumentPositions, ADroppedFirstLineCounts) {
  EXPECT_EQ(positions_of("<!DOCTYPE x>\n<a>\n<b/></a>"), (Positions{{2, 1}, {3, 1}}));
  EXPECT_EQ(positions_of("\xEF\xBB\xBF<!DOC\r\n<?xml version='1.0'?><a/>"), (Positions{{2, 22}}));
  EXPECT_EQ(positions_of("<?xml version='1.0'?>\n<!DOCTYPE x>\n<a/>"), (Positions{{3, 1}}));
}

TEST_F(DocumentPositions, OfFaultsCountADroppedFirstLine) {
  EXPECT_EQ(error_position("<a>\n<b>\n</a>").line, 3U);
  EXPECT_EQ(error_position("<!DOC\n<a>\n<b>\n</a>").line, 4U);
}

TEST_F(DocumentPositions, ACopyTellsThatItLacksTheFirstLine) {
  const TemporaryFolder folder;
  for (const bool drops : {false, true}) {
    const auto prepared = PrepareDocument(
        folder.write("document.kcd", drops ? "<!DOC\n<a/>" : "<a/>\n"), std::nullopt);
    EXPECT_EQ(prepared.lacks_first_line, drops);
    DeleteTempDocument(prepared.path);
  }
}

/// Writes a document of many odd tags, and notes where they begin.
class PlacedDocument {
 public:
  PlacedDocument(unsigned seed, std::u16string_view line_end, bool one_line)
      : random_(seed), line_end_(line_end), one_line_(one_line) {
    element(0);
  }

  const std::u16string& text() const { return text_; }
  const Positions& positions() const { return positions_; }

 private:
  unsigned below(unsigned limit) { return static_cast<unsigned>(random_()) % limit; }

  /// The same character several times; all are one UTF-16 unit long.
  void characters(std::u16string_view alphabet, unsigned most) {
    for (auto count = below(most); count > 0; --count) {
      put(alphabet.substr(below(static_cast<unsigned>(alphabet.size())), 1));
    }
  }

  void put(std::u16string_view text) {
    text_ += text;
    at_.column += static_cast<std::uint32_t>(text.size());
  }

  void white_space() {
    if (!one_line_ && below(3) == 0) {
      text_ += line_end_;
      at_ = {at_.line + 1, 1};
    }
    characters(u" \t", below(20) == 0 ? 90 : 6);
  }

  void content() {
    switch (below(6)) {
      case 0:
        put(u"<!-- ");
        characters(letters, 40);
        white_space();
        put(u" -->");
        break;
      case 1:
        put(u"<?pi ");
        characters(letters, 40);
        put(u"?>");
        break;
      case 2:
        put(u"<![CDATA[<");
        characters(letters, 40);
        put(u"]]>");
        break;
      case 3:
        put(u"&#233;&amp;");
        characters(letters, 1000);
        break;
      default:
        break;
    }
    white_space();
  }

  void element(int depth) {
    positions_.push_back(at_);
    put(u"<");
    const std::u16string tag = below(4) == 0 ? u"\u00E9l\u00E9ment" : u"element";
    put(tag);
    for (unsigned i = below(4); i > 0; --i) {
      put(u" ");
      white_space();
      put(std::u16string(1, static_cast<char16_t>(u'a' + i)));
      put(u"='");
      characters(letters, below(40) == 0 ? 9000 : 30);
      white_space();
      put(u"&lt;'");
    }
    white_space();
    if (depth > 4 || below(4) == 0) {
      put(u"/>");
      return;
    }
    put(u">");
    for (unsigned i = below(7); i > 0; --i) {
      content();
      element(depth + 1);
    }
    content();
    put(u"</");
    put(tag);
    white_space();
    put(u">");
  }

  /// All of them are in ISO-8859-1.
  static constexpr std::u16string_view letters = u"abc de\u00E9\u00FC\u00F1>\"";

  std::mt19937 random_;
  std::u16string line_end_;
  bool one_line_;
  std::u16string text_;
  DocumentPosition at_{1, 1};
  Positions positions_;
};

std::string bytes_of(const std::u16string& text, bool low_first) {
  std::string bytes = low_first ? "\xFF\xFE" : "\xFE\xFF";
  for (const auto unit : text) {
    const char low = static_cast<char>(unit & 0xFFU);
    const char high = static_cast<char>(unit >> 8U);
    bytes += low_first ? low : high;
    bytes += low_first ? high : low;
  }
  return bytes;
}

/// Behind a declaration, which is in the first line.
std::string latin_bytes(const std::u16string& text) {
  std::string bytes = "<?xml version='1.0' encoding='ISO-8859-1'?>\n";
  for (const auto unit : text) {
    bytes += static_cast<char>(unit);
  }
  return bytes;
}

/// Empty when there is none.
std::string first_difference(const Positions& found, const Positions& expected) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (i >= found.size() || !(found[i] == expected[i])) {
      return i >= found.size() ? "missing"
                               : ::testing::PrintToString(found[i]) + " is not " +
                                     ::testing::PrintToString(expected[i]);
    }
  }
  return "";
}

TEST_F(DocumentPositions, OfGeneratedDocumentsAreRightInEveryEncoding) {
  for (unsigned seed = 0; seed < 100; ++seed) {
    const PlacedDocument document(seed, seed % 2 == 0 ? u"\n" : u"\r\n", seed % 5 == 0);
    auto expected = document.positions();
    EXPECT_EQ(first_difference(positions_of(utf8_text(document.text())), expected), "") << seed;
    EXPECT_EQ(first_difference(positions_of(bytes_of(document.text(), true)), expected), "")
        << seed;
    EXPECT_EQ(first_difference(positions_of(bytes_of(document.text(), false)), expected), "")
        << seed;
    for (auto& position : expected) {
      ++position.line;
    }
    EXPECT_EQ(first_difference(positions_of(latin_bytes(document.text())), expected), "") << seed;
    ASSERT_FALSE(HasFailure());
  }
}

}  // namespace
}  // namespace importkcd
