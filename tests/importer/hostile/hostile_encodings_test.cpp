// Documents whose bytes are not what they say, or nothing at all.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/importer/hostile/hostile_documents.h"

namespace importkcd::testing {
namespace {

using namespace std::string_literals;

const std::string mark8 = "\xEF\xBB\xBF";

/// A document whose database has this description, with this encoding declared; empty: none.
std::string document(const std::string& encoding, const std::string& description = "d") {
  const auto declaration =
      encoding.empty() ? "" : "<?xml version='1.0' encoding='" + encoding + "'?>\n";
  return declaration + R"(<database version="1.0.1073" name="D" description=")" + description +
         "\"/>\n";
}

/// ASCII text in UTF-16, without a byte order mark.
std::string wide(const std::string& text, bool low_byte_first) {
  std::string bytes;
  for (const char c : text) {
    bytes += low_byte_first ? c + "\0"s : "\0"s + c;
  }
  return bytes;
}
std::string low(const std::string& text) { return wide(text, true); }
std::string high(const std::string& text) { return wide(text, false); }

/// ASCII text in four bytes a character, low byte first.
std::string four_bytes(const std::string& text) {
  std::string bytes;
  for (const char c : text) {
    bytes += c + "\0\0\0"s;
  }
  return bytes;
}

const std::string mark_low = "\xFF\xFE";
const std::string mark_high = "\xFE\xFF";

using HostileEncodings = HostileDocuments;

TEST_F(HostileEncodings, Utf16IsReadWithAMarkAndWithoutOne) {
  expect_all({
      {"low byte first, with a mark", mark_low + low(document("UTF-16")), "", "", stored_root},
      {"high byte first, with a mark", mark_high + high(document("UTF-16")), "", "", stored_root},
      {"low byte first, no mark, declared", low(document("UTF-16")), "", "", stored_root},
      {"high byte first, no mark, declared", high(document("UTF-16")), "", "", stored_root},
      {"low byte first, no mark, order declared", low(document("UTF-16LE")), "", "", stored_root},
      {"low byte first, no mark, nothing declared", low(document("")),
       unreadable("line 1, column 2: Char 0x0 out of allowed range")},
      {"high byte first, no mark, nothing declared", high(document("")),
       unreadable("line 1, column 1: Document is empty")},
      {"mark of the other order", mark_high + low(document("")),
       unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"other order declared", mark_low + low(document("UTF-16BE")),
       unreadable("line 2, column 10: error parsing attribute name")},
      {"UTF-8 declared", mark_low + low(document("UTF-8")), "", "", stored_root},
      {"windows-1252 declared", mark_low + low(document("windows-1252")),
       unreadable("line 2, column 1: Start tag expected, '<' not found")},
      {"UTF-8 behind a mark of UTF-16", mark_low + document("UTF-8"),
       unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"UTF-16 declared of UTF-8", document("UTF-16"),
       unreadable("line 1, column 38: Document labelled UTF-16 but has UTF-8 content")},
      {"UTF-16 declared of marked UTF-8", mark8 + document("UTF-16"), "", "", stored_root},
      {"mark only", mark_low, unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"two marks", mark_low + mark_low + low(document("")),
       unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"a byte too much", mark_low + low(document("")) + "x",
       unreadable("line 2, column 1: Extra content at the end of the document")},
      {"a byte too few", mark_low + low(document("")).substr(0, low(document("")).size() - 3),
       unreadable("line 1, column 54: attributes construct error")},
      {"lone first surrogate",
       mark_low + low(document("", "~")).replace(low(document("", "~")).find('~'), 2, "\x3D\xD8"),
       unreadable("line 1, column 1: input conversion failed due to input error")},
      {"lone second surrogate",
       mark_low + low(document("", "~")).replace(low(document("", "~")).find('~'), 2, "\x00\xDE"s),
       unreadable("line 1, column 52: Char 0xDE00 out of allowed range")},
      {"surrogates in the wrong order",
       mark_low +
           low(document("", "~")).replace(low(document("", "~")).find('~'), 2, "\x00\xDE\x3D\xD8"s),
       unreadable("line 1, column 1: input conversion failed due to input error")},
      {"surrogates in the right order",
       mark_low +
           low(document("", "~")).replace(low(document("", "~")).find('~'), 2, "\x3D\xD8\x00\xDE"s),
       "", "", "database | D | \xF0\x9F\x98\x80\n"},
      {"NUL character", mark_low + low(document("", "\0"s)),
       unreadable("line 1, column 52: Char 0x0 out of allowed range")},
      {"dropped first line", mark_low + low("<!DOCTYPE x>\r\n" + document("")), "", "",
       stored_root},
  });
}

TEST_F(HostileEncodings, BytesThatAreNoUtf8AreNotRead) {
  expect_all({
      {"lone byte", document("", "\xE4 x"),
       unreadable("line 1, column 52: Input is not proper UTF-8, indicate encoding !")},
      {"lone byte, declared", document("UTF-8", "\xE4 x"),
       unreadable("line 2, column 52: Input is not proper UTF-8, indicate encoding !")},
      {"lone byte behind a mark", mark8 + document("", "\xE4 x"),
       unreadable("line 1, column 52: Input is not proper UTF-8, indicate encoding !")},
      {"cut-off character", document("", "\xE2\x82"),
       unreadable("line 1, column 52: Input is not proper UTF-8, indicate encoding !")},
      {"continuation only", document("", "\x80"),
       unreadable("line 1, column 52: Input is not proper UTF-8, indicate encoding !")},
      {"overlong slash", document("", "\xC0\xAF"),
       unreadable("line 1, column 52: Input is not proper UTF-8, indicate encoding !")},
      {"overlong less-than", document("", "\xE0\x80\xBC"),
       unreadable("line 1, column 52: Input is not proper UTF-8, indicate encoding !")},
      {"overlong NUL", document("", "\xC0\x80"),
       unreadable("line 1, column 52: Input is not proper UTF-8, indicate encoding !")},
      {"surrogate", document("", "\xED\xA0\x80"),
       unreadable("line 1, column 52: Char 0xD800 out of allowed range")},
      {"pair of surrogates", document("", "\xED\xA0\xBD\xED\xB8\x80"),
       unreadable("line 1, column 52: Char 0xD83D out of allowed range")},
      {"beyond Unicode", document("", "\xF4\x90\x80\x80"),
       unreadable("line 1, column 52: Char 0x110000 out of allowed range")},
      {"five bytes", document("", "\xF8\x88\x80\x80\x80"),
       unreadable("line 1, column 52: Input is not proper UTF-8, indicate encoding !")},
      {"byte FF", document("", "\xFF"),
       unreadable("line 1, column 52: Input is not proper UTF-8, indicate encoding !")},
      {"in a tag", "<d\xE4/>",
       unreadable("line 1, column 3: Input is not proper UTF-8, indicate encoding !")},
      {"in a comment", "<!-- \xE4 -->" + document(""),
       unreadable("line 1, column 6: Input is not proper UTF-8, indicate encoding !")},
      {"in text", "<a>\xE4</a>",
       unreadable("line 1, column 4: Input is not proper UTF-8, indicate encoding !")},
      {"at the very end", "<a/>\xC3",
       unreadable("line 1, column 5: Extra content at the end of the document")},
      {"mark twice", mark8 + mark8 + document(""),
       unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"mark behind a line end", "\n" + mark8 + document(""),
       unreadable("line 2, column 1: Start tag expected, '<' not found")},
      {"half a mark", "\xEF\xBB" + document(""),
       unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"mark only", mark8, unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"mark inside a value", document("", mark8), "", "", "database | D | " + mark8 + "\n"},
  });
}

TEST_F(HostileEncodings, ADeclaredEncodingMustBeKnownAndRight) {
  expect_all({
      {"windows-1252", document("windows-1252", "\x80\xE9"), "", "",
       "database | D | \xE2\x82\xAC\xC3\xA9\n"},
      {"windows-1252 byte 81", document("windows-1252", "\x81 x"),
       unreadable("line 1, column 44: input conversion failed due to input error")},
      {"windows-1252 byte 8D", document("windows-1252", "\x8D x"),
       unreadable("line 1, column 44: input conversion failed due to input error")},
      {"windows-1252 byte 8F", document("windows-1252", "\x8F x"),
       unreadable("line 1, column 44: input conversion failed due to input error")},
      {"windows-1252 byte 90", document("windows-1252", "\x90 x"),
       unreadable("line 1, column 44: input conversion failed due to input error")},
      {"windows-1252 byte 9D", document("windows-1252", "\x9D x"),
       unreadable("line 1, column 44: input conversion failed due to input error")},
      {"ISO-8859-1 byte 81", document("ISO-8859-1", "\x81"), "", "", "database | D | \xC2\x81\n"},
      {"US-ASCII with a foreign byte", document("US-ASCII", "\xE4 x"),
       unreadable("line 2, column 52: AttValue: ' expected")},
      {"Shift_JIS cut off", document("Shift_JIS", "\x83"),
       unreadable("line 1, column 41: input conversion failed due to input error")},
      {"GB18030", document("GB18030", "\xA8\xA6"), "", "", "database | D | \xC3\xA9\n"},
      {"GB18030 beyond Unicode", document("GB18030", "\xFE\x39\xFE\x39"),
       unreadable("line 1, column 39: input conversion failed due to input error")},
      {"UTF-8 in capitals and small letters", document("uTf-8", "\xC3\xA9"), "", "",
       "database | D | \xC3\xA9\n"},
      {"unknown name", document("klingon"),
       unreadable("line 1, column 39: Unsupported encoding klingon")},
      {"empty name", "<?xml version='1.0' encoding=''?><a/>",
       unreadable("line 1, column 31: Invalid XML encoding name")},
      {"name with blanks", document("UTF 8"),
       unreadable("line 1, column 34: String not closed expecting \" or '")},
      {"name with control over the converter", document("UTF-8//IGNORE"),
       unreadable("line 1, column 36: String not closed expecting \" or '")},
      {"name that is a path", document("../../etc/passwd"),
       unreadable("line 1, column 31: Invalid XML encoding name")},
      {"name of 10,000 characters", document(std::string(10'000, 'x')),
       unreadable("line 1, column 10032: Unsupported encoding " + std::string(10'000, 'x'))},
      {"name without quotes", "<?xml version='1.0' encoding=UTF-8?><a/>",
       unreadable("line 1, column 30: String not started expecting ' or \"")},
      {"declared behind 2,000 blanks",
       "<?xml version='1.0'" + std::string(2'000, ' ') + "encoding='ISO-8859-1'?>" +
           document("", "\xE9"),
       "", "", "database | D | \xC3\xA9\n"},
      {"UCS-4 declared of UTF-8", document("UCS-4"),
       unreadable("line 1, column 37: Blank needed here")},
      {"UTF-7 declared", document("UTF-7", "+AOk-"), "", "", "database | D | \xC3\xA9\n"},
      {"EBCDIC declared of ASCII", document("IBM037"),
       unreadable("line 1, column 38: Blank needed here")},
      {"windows-1252 behind a mark", mark8 + document("windows-1252", "\xC3\xA9"), "", "",
       "database | D | \xC3\xA9\n"},
  });
}

TEST_F(HostileEncodings, FourBytesACharacterAndEbcdicAreNotRead) {
  expect_all({
      {"UTF-32, low byte first", four_bytes(document("")),
       unreadable("line 1, column 1: input conversion failed due to input error")},
      {"UTF-32, with a mark", "\xFF\xFE\0\0"s + four_bytes(document("")),
       unreadable("line 1, column 1: Document is empty")},
      {"UTF-32, high byte first", "\0\0\0"s + four_bytes(document("")), "", "", stored_root},
      {"EBCDIC", "\x4C\x6F\xA7\x94\x93\x40"s,
       unreadable("line 1, column 7: Malformed declaration expecting version")},
      {"UTF-7 mark", "+/v8-" + document(""),
       unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"compressed (gzip)", "\x1F\x8B\x08\0\0\0\0\0"s,
       unreadable("line 1, column 1: Start tag expected, '<' not found")},
  });
}

TEST_F(HostileEncodings, AWrongByteBehindTheRootIsSeen) {
  expect_all({
      {"US-ASCII", document("US-ASCII") + "\xE4",
       unreadable("line 3, column 1: characters after the end of the document")},
      {"windows-1252", document("windows-1252") + "\x81   ",
       unreadable("line 1, column 44: input conversion failed due to input error")},
      {"half a character of UTF-16", mark_low + low(document("")) + "\x3D\xD8",
       unreadable("line 1, column 1: input conversion failed due to input error")},
  });
}

TEST_F(HostileEncodings, ThePatternIsTakenAsItStands) {
  const auto expect_with = [this](const std::string& to, const HostileDocument& hostile) {
    options.replace_pattern(true);
    options.pattern_from = "~";
    options.pattern_to = to;
    expect_all({hostile});
  };
  expect_with("<",
              {"markup", document("", "~"),
               unreadable("line 1, column 52: Unescaped '<' not allowed in attributes values")});
  expect_with("&", {"half a reference", document("", "~"),
                    unreadable("line 1, column 53: xmlParseEntityRef: no name")});
  expect_with("\"", {"end of the value", document("", "~"),
                     unreadable("line 1, column 53: attributes construct error")});
  expect_with("\xFF", {"no UTF-8", document("", "~"),
                       unreadable("line 1, column 52: Input is not proper UTF-8, indicate encoding "
                                  "!")});
  expect_with("\xFF", {"no UTF-8 in another encoding", document("windows-1252", "~"), "", "",
                       "database | D | \xEF\xBF\xBD\n"});
  expect_with("\0"s, {"NUL", document("", "~"),
                      unreadable("line 1, column 52: Char 0x0 out of allowed range")});
  expect_with(
      "&e;",
      {"entity", document("", "~"),
       unreadable("line 1, column 55: an attribute's value uses an entity that is not declared")});
  expect_with(std::string(1'000'000, 'x'),
              {"1,000,000 characters", document("", "~"), "", "", "database | D | xxxx"});
  expect_with("\xE2\x82\xAC", {"lacking in the encoding", document("ISO-8859-1", "~"), "", "",
                               "database | D | \xE2\x82\xAC\n"});
}

}  // namespace
}  // namespace importkcd::testing
