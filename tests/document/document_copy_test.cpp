#include "document/document_copy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "base/import_error.h"
#include "tests/importer/system_folder.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using namespace std::string_literals;
using testing::read_file;
using testing::SystemFolder;
using testing::TemporaryFolder;

/// Lets no file grow beyond a size while in scope.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t size) : old_handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &old_);
    const rlimit limit{size, old_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &old_);
    EXPECT_NE(std::signal(SIGXFSZ, old_handler_), SIG_ERR);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit old_{};
  void (*old_handler_)(int);
};

class DocumentPreparation : public ::testing::Test {
 protected:
  std::string copy_of(std::string_view document,
                      const std::optional<CompanyPattern>& pattern = std::nullopt) {
    const SystemFolder system_folder(folder.path().string());
    const auto prepared = PrepareDocument(folder.write("document.kcd", document), pattern);
    EXPECT_EQ(prepared.error, "");
    EXPECT_TRUE(prepared.usable);
    auto copy = read_file(prepared.path);
    DeleteTempDocument(prepared.path);
    return copy;
  }

  std::ptrdiff_t files_in_folder() const {
    return std::distance(std::filesystem::directory_iterator(folder.path()),
                         std::filesystem::directory_iterator());
  }

  TemporaryFolder folder;
};

std::string utf16(std::u16string_view text, bool big_endian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const auto high = static_cast<char>(unit >> 8U);
    const auto low = static_cast<char>(unit & 0xFFU);
    bytes += big_endian ? high : low;
    bytes += big_endian ? low : high;
  }
  return bytes;
}

TEST_F(DocumentPreparation, WithoutAPatternTheTextIsCopied) {
  const std::string text = "<?xml version=\"1.0\"?>\n<a b='\xC3\xA9'>\n\n  <c/>\n</a>\n";
  EXPECT_EQ(copy_of(text), text);
}

TEST_F(DocumentPreparation, EveryKindOfLineEndBecomesALineFeed) {
  struct Case {
    std::string text;
    std::string copy;
  };
  const std::vector<Case> cases = {
      {"", ""},
      {"a", "a\n"},
      {"a\n", "a\n"},
      {"a\r", "a\n"},
      {"a\r\n", "a\n"},
      {"a\rb\nc\r\nd", "a\nb\nc\nd\n"},
      {"a\n\nb", "a\n\nb\n"},
      {"a\r\rb", "a\n\nb\n"},
      {"a\n\rb", "a\n\nb\n"},
      {"a\r\r\nb", "a\n\nb\n"},
      {"a\r\n\nb", "a\n\nb\n"},
      {"\n", "\n"},
      {"\r\n\r\n", "\n\n"},
      {"a\0b\n"s, "a\0b\n"s},
      {"a\xC2\x85\x0B\x0C\n", "a\xC2\x85\x0B\x0C\n"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(copy_of(c.text), c.copy) << ::testing::PrintToString(c.text);
    EXPECT_EQ(copy_of(c.text, CompanyPattern{"Foo", "Bar"}), c.copy)
        << ::testing::PrintToString(c.text);
  }
}

TEST_F(DocumentPreparation, AFirstLineOfADocumentTypeIsDropped) {
  EXPECT_EQ(copy_of("<!DOCTYPE a SYSTEM \"a.dtd\">\n<a/>\n"), "<a/>\n");
  EXPECT_EQ(copy_of("<!DOC\r\n<a/>"), "<a/>\n");
  EXPECT_EQ(copy_of("<!DOC\r<a/>"), "<a/>\n");
  EXPECT_EQ(copy_of("<!DOC\n\n<a/>"), "\n<a/>\n");
  EXPECT_EQ(copy_of("<!DOC\r\n\r\n<a/>"), "\n<a/>\n");
  EXPECT_EQ(copy_of("<!DOCTYPE a><a/>"), "");
  EXPECT_EQ(copy_of("<!DOC"), "");
}

TEST_F(DocumentPreparation, NoOtherLineIsDropped) {
  for (const std::string text : {"<!doctype a>\n<a/>\n", " <!DOCTYPE a>\n<a/>\n", "<!DO\n<a/>\n",
                                 "<!--\n<!DOC -->\n<a/>\n", "\n<!DOCTYPE a>\n<a/>\n", "<! DOC\n"}) {
    EXPECT_EQ(copy_of(text), text);
  }
  EXPECT_EQ(copy_of("<!DOCTYPE a>\n<!DOCTYPE a>\n<a/>\n"), "<!DOCTYPE a>\n<a/>\n");
}

TEST_F(DocumentPreparation, TheByteOrderMarkIsNotPartOfTheFirstLine) {
  const std::string mark = "\xEF\xBB\xBF";
  EXPECT_EQ(copy_of(mark + "<!DOCTYPE a>\n<a/>\n"), mark + "<a/>\n");
  EXPECT_EQ(copy_of(mark + "<a/>"), mark + "<a/>\n");
  EXPECT_EQ(copy_of(mark), mark);
}

TEST_F(DocumentPreparation, TheFirstLineIsTestedBeforeThePatternIsReplaced) {
  EXPECT_EQ(copy_of("Foo x\n<a/>\n", CompanyPattern{"Foo", "<!DOC"}), "<!DOC x\n<a/>\n");
  EXPECT_EQ(copy_of("<!DOCTYPE\n<a/>\n", CompanyPattern{"<!DOC", ""}), "<a/>\n");
}

TEST_F(DocumentPreparation, EveryOccurrenceOfThePatternIsReplaced) {
  struct Case {
    CompanyPattern pattern;
    std::string text;
    std::string copy;
  };
  const std::vector<Case> cases = {
      {{"Foo", "Bar"}, "Foo FooFoo\nxFoo\n", "Bar BarBar\nxBar\n"},
      {{"Foo", "Bar"}, "foo FOO Fo o\n", "foo FOO Fo o\n"},
      {{"Foo", ""}, "aFoob\nFoo\n", "ab\n\n"},
      {{"Foo", ""}, "Foo", "\n"},
      {{"Foo", ""}, "a\rFoo\nb", "a\n\nb\n"},
      {{"Foo", "FooFoo"}, "Foo\n", "FooFoo\n"},
      {{"aa", "b"}, "aaaaa\n", "bba\n"},
      {{"aba", "x"}, "ababa ababab\n", "xba xbab\n"},
      {{"x", "yy"}, "xxx", "yyyyyy\n"},
      {{"Foo", "a\r\nb"}, "1Foo2\n", "1a\r\nb2\n"},
      {{"\xC3\xA9", "e"}, "\xC3\xA9t\xC3\xA9\n", "ete\n"},
      {{"$&", "\\1"}, "a$&b\n", "a\\1b\n"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(copy_of(c.text, c.pattern), c.copy) << c.pattern.from << " in " << c.text;
  }
}

TEST_F(DocumentPreparation, AnEmptyPatternChangesNothing) {
  EXPECT_EQ(copy_of("<a/>\n", CompanyPattern{"", "x"}), "<a/>\n");
}

TEST_F(DocumentPreparation, APatternWithALineEndNeverMatches) {
  for (const std::string from : {"a\nb", "a\rb", "a\r\nb", "\n", "\r"}) {
    EXPECT_EQ(copy_of("a\nb\na\r\nb\ra\rb\n", CompanyPattern{from, "x"}), "a\nb\na\nb\na\nb\n");
  }
}

TEST_F(DocumentPreparation, Utf16KeepsItsOrderAndItsMark) {
  for (const bool big_endian : {false, true}) {
    const auto in = [big_endian](std::u16string_view text) { return utf16(text, big_endian); };
    EXPECT_EQ(copy_of(in(u"\uFEFF<!DOCTYPE a>\r\n<a b='Foo \u20AC'/>\r\n")),
              in(u"\uFEFF<a b='Foo \u20AC'/>\n"));
    EXPECT_EQ(copy_of(in(u"\uFEFF<a b='FooFoo'/>"), CompanyPattern{"Foo", "B\xE2\x82\xAC"}),
              in(u"\uFEFF<a b='B\u20ACB\u20AC'/>\n"));
    EXPECT_EQ(copy_of(in(u"<?xml version='1.0'?>\r<a/>")), in(u"<?xml version='1.0'?>\n<a/>\n"));
    EXPECT_EQ(copy_of(in(u"\uFEFF")), in(u"\uFEFF"));
  }
}

TEST_F(DocumentPreparation, HalvesOfUtf16UnitsAreNeitherLineEndsNorMatches) {
  // The bytes of U+0A0D and U+0D0A look like line ends, those of U+6100 and U+0061 like "a".
  const std::u16string text = u"\uFEFF\u0A0D\u0D0A\u0A00\u000D\u0D00\u6100\u6161x\u0061\n";
  const std::u16string copy = u"\uFEFF\u0A0D\u0D0A\u0A00\u000A\u0D00\u6100\u6161xb\n";
  for (const bool big_endian : {false, true}) {
    EXPECT_EQ(copy_of(utf16(text, big_endian), CompanyPattern{"a", "b"}), utf16(copy, big_endian));
  }
}

TEST_F(DocumentPreparation, AStrayByteAtTheEndOfUtf16Stays) {
  EXPECT_EQ(copy_of(utf16(u"\uFEFF<a/>", false) + "x"), utf16(u"\uFEFF<a/>", false) + "x\n\0"s);
}

TEST_F(DocumentPreparation, ThePatternIsBroughtIntoTheDeclaredEncoding) {
  const std::string declaration = "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\n";
  EXPECT_EQ(copy_of(declaration + "<a b='\xE9\x80'/>\n",
                    CompanyPattern{"\xC3\xA9\xE2\x82\xAC", "\xC3\xA8"}),
            declaration + "<a b='\xE8'/>\n");
  // The declaration may follow a dropped first line.
  EXPECT_EQ(copy_of("<!DOCTYPE a>\r\n" + declaration + "<a b='\xE9'/>\n",
                    CompanyPattern{"\xC3\xA9", "e"}),
            declaration + "<a b='e'/>\n");
}

TEST_F(DocumentPreparation, ADeclarationCountsUpToTheSameByteHoweverMuchIsAtHand) {
  const auto copy_with_blanks = [this](std::size_t size) {
    const std::string encoding = "encoding='ISO-8859-1'";
    const std::string beginning = "<?xml version='1.0'";
    const std::string blanks(size - beginning.size() - encoding.size(), ' ');
    const auto copy = copy_of(beginning + blanks + encoding + "?><a b='Foo'/>\n",
                              CompanyPattern{"Foo", "\u00E9"});
    return copy.substr(copy.find("<a "));
  };
  EXPECT_EQ(copy_with_blanks(1024), "<a b='\xE9'/>\n");
  EXPECT_EQ(copy_with_blanks(1025), "<a b='\u00E9'/>\n");
}

TEST_F(DocumentPreparation, CharactersThatTheEncodingLacksBecomeReferences) {
  const std::string declaration = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n";
  EXPECT_EQ(copy_of(declaration + "<a b='Foo'/>\n", CompanyPattern{"Foo", "\xC3\xA9\xE2\x82\xAC"}),
            declaration + "<a b='\xE9&#8364;'/>\n");
}

TEST_F(DocumentPreparation, APatternThatTheEncodingLacksNeverMatches) {
  const std::string text =
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<a b='\xE2\x82\xAC ?'/>\n";
  EXPECT_EQ(copy_of(text, CompanyPattern{"\xE2\x82\xAC", "x"}), text);
}

std::string replaced_naively(std::string text, const CompanyPattern& pattern) {
  for (auto at = text.find(pattern.from); at != std::string::npos;
       at = text.find(pattern.from, at + pattern.to.size())) {
    text.replace(at, pattern.from.size(), pattern.to);
  }
  return text;
}

TEST_F(DocumentPreparation, MatchesAndLineEndsMayStandAnywhereInLongDocuments) {
  std::mt19937 random(7);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same documents every time
  for (const std::string from : {"ab", "abaab", "b"}) {
    const CompanyPattern pattern{from, "<to>"};
    std::string text;
    std::string expected_text;
    while (text.size() < 600'000) {
      std::string line;
      for (auto length = random() % 3000; length > 0; --length) {
        line += random() % 2 == 0 ? 'a' : 'b';
      }
      text += line + (random() % 3 == 0 ? "\n" : random() % 2 == 0 ? "\r\n" : "\r\r\n");
      const bool empty_line_follows = text.ends_with("\r\r\n");
      expected_text += replaced_naively(line, pattern) + (empty_line_follows ? "\n\n" : "\n");
    }
    EXPECT_TRUE(copy_of(text, pattern) == expected_text) << from;
  }
}

TEST_F(DocumentPreparation, ALineAndAPatternMayBeLongerThanAnyBuffer) {
  const std::string long_pattern(700'000, 'x');
  EXPECT_TRUE(copy_of("a" + long_pattern + long_pattern + "b", CompanyPattern{long_pattern, "-"}) ==
              "a--b\n");
  const std::string line(3'000'000, 'y');
  EXPECT_TRUE(copy_of(line) == line + "\n");
  EXPECT_EQ(copy_of("<!DOC" + line + "\r\n<a/>"), "<a/>\n");
}

std::string declared(const std::string& encoding) {
  return R"(<?xml version="1.0" encoding=")" + encoding + R"("?><a b="Foo"/>)" + "\n";
}

TEST_F(DocumentPreparation, APatternIsRefusedWhereOneCharacterLooksLikePartsOfOthers) {
  const SystemFolder system_folder(folder.path().string());
  for (const std::string encoding :
       {"Shift_JIS", "GBK", "GB18030", "Big5", "EUC-JP", "ISO-2022-JP", "ISO-2022-KR", "UTF-7"}) {
    const auto text = declared(encoding);
    const auto document = folder.write("document.kcd", text);
    const auto prepared = PrepareDocument(document, CompanyPattern{"Foo", "Bar"});
    EXPECT_EQ(prepared.error,
              std::string("Error in reading document ")
                  .append(document)
                  .append(" A pattern cannot be replaced in the encoding ")
                  .append(encoding)
                  .append(", where parts of one character look like another; save the document as "
                          "UTF-8"));
    EXPECT_FALSE(prepared.usable);
    EXPECT_EQ(copy_of(text), text);
    EXPECT_EQ(copy_of(text, CompanyPattern{"", "Bar"}), text) << "changes nothing";
  }
  for (const std::string encoding : {"ISO-8859-1", "windows-1252", "windows-1258", "KOI8-R",
                                     "US-ASCII", "IBM437", "utf-8", "UTF8", "unknown"}) {
    const auto text = declared(encoding);
    EXPECT_THAT(copy_of(text, CompanyPattern{"Foo", "Bar"}), ::testing::HasSubstr(R"(b="Bar")"));
  }
}

TEST_F(DocumentPreparation, TheCopyIsAFreshFileForItsOwnerOnly) {
  const SystemFolder system_folder(folder.path().string());
  const auto document = folder.write("document.kcd", "<a/>\n");
  const auto mask = umask(0);
  const auto first = PrepareDocument(document, std::nullopt);
  umask(mask);
  const auto second = PrepareDocument(document, std::nullopt);
  EXPECT_NE(first.path, second.path);
  const auto name = folder.path().string() + "/importkcd-[0-9a-f]+\\.tmp";
  EXPECT_TRUE(std::regex_match(first.path, std::regex(name))) << first.path;
  struct stat status {};
  ASSERT_EQ(stat(first.path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(DocumentPreparation, AMissingDocumentCannotBeOpened) {
  const auto document = folder.file("missing.kcd");
  const auto prepared = PrepareDocument(document, std::nullopt);
  EXPECT_EQ(prepared.error, "Error in opening document " + document + " No such file or directory");
  EXPECT_FALSE(prepared.usable);
  EXPECT_EQ(prepared.path, "");
}

TEST_F(DocumentPreparation, WithoutATemporaryFolderNoNameCanBeMade) {
  const auto document = folder.write("document.kcd", "<a/>");
  struct Case {
    std::string folder;
    std::string error;
  };
  const std::vector<Case> cases = {
      {folder.file("missing"), "Error in creating temporary file 2 : No such file or directory"},
      {document, "Error in creating temporary file 20 : Not a directory"},
  };
  for (const auto& c : cases) {
    const SystemFolder system_folder(c.folder);
    const auto prepared = PrepareDocument(document, std::nullopt);
    EXPECT_EQ(prepared.error, c.error);
    EXPECT_FALSE(prepared.usable);
    EXPECT_EQ(prepared.path, "");
  }
}

TEST_F(DocumentPreparation, AFolderThatTakesNoFilesFailsToOpenTheCopy) {
  const SystemFolder system_folder("/proc");
  const auto prepared = PrepareDocument(folder.write("document.kcd", "<a/>"), std::nullopt);
  const std::regex message(
      "Error in opening file for writing /proc/importkcd-[0-9a-f]+\\.tmp "
      "(No such file or directory|Permission denied)");
  EXPECT_TRUE(std::regex_match(prepared.error, message)) << prepared.error;
  EXPECT_FALSE(prepared.usable);
  EXPECT_EQ(prepared.path, "");
}

TEST_F(DocumentPreparation, ADocumentThatCannotBeReadFails) {
  const SystemFolder system_folder(folder.path().string());
  struct Case {
    std::string document;
    std::string description;
  };
  const std::vector<Case> cases = {
      {folder.path().string(), "Is a directory"},
      {"/proc/self/mem", "Input/output error"},
  };
  for (const auto& c : cases) {
    const auto prepared = PrepareDocument(c.document, std::nullopt);
    EXPECT_EQ(prepared.error, "Error in reading document " + c.document + " " + c.description);
    EXPECT_FALSE(prepared.usable);
    EXPECT_TRUE(std::filesystem::exists(prepared.path)) << prepared.path;
  }
}

TEST_F(DocumentPreparation, AFailedWriteEndsTheCopyingButNotTheRun) {
  const SystemFolder system_folder(folder.path().string());
  // One that fails when the last bytes are flushed, one that fails in the middle.
  for (const std::size_t size : {2'000U, 3'000'000U}) {
    const std::string text(size, 'x');
    const auto document = folder.write("document.kcd", text);
    PreparedDocument prepared;
    {
      const FileSizeLimit limit(1'000);
      prepared = PrepareDocument(document, std::nullopt);
    }
    EXPECT_EQ(prepared.error, "Error in writing to file " + prepared.path + " File too large");
    EXPECT_TRUE(prepared.usable);
    EXPECT_TRUE(read_file(prepared.path) == text.substr(0, 1'000)) << size;
  }
}

/// The description of the error of deleting a file; empty when there was none.
std::string deletion_error(const std::string& path) {
  try {
    DeleteTempDocument(path);
  } catch (const ImportError& error) {
    return error.description();
  }
  return "";
}

TEST_F(DocumentPreparation, TheCopyIsDeleted) {
  const auto path = folder.write("copy.tmp", "");
  EXPECT_EQ(deletion_error(path), "");
  EXPECT_EQ(files_in_folder(), 0);
}

TEST_F(DocumentPreparation, AReadOnlyCopyIsNotDeleted) {
  const auto path = folder.write("copy.tmp", "");
  std::filesystem::permissions(path, std::filesystem::perms::owner_read);
  EXPECT_EQ(deletion_error(path), "Permission denied");
  EXPECT_EQ(files_in_folder(), 1);
}

TEST_F(DocumentPreparation, DeletingTellsTheSystemsDescription) {
  EXPECT_EQ(deletion_error(folder.file("missing.tmp")), "No such file or directory");
  EXPECT_EQ(deletion_error(folder.path().string()), "Is a directory");
}

}  // namespace
}  // namespace importkcd
