#include "document/kcd_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/import_error.h"
#include "document/document_copy.h"
#include "tests/importer/system_folder.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using namespace std::string_literals;
using testing::TemporaryFolder;

class KcdDocumentTest : public ::testing::Test {
 protected:
  std::unique_ptr<KcdDocument> load(std::string_view bytes) {
    return KcdDocument::load(folder.write("document.xml", bytes));
  }

  /// The description of the error of loading these bytes; the test fails when there is none.
  std::string error_of(std::string_view bytes) {
    return error_of_file(folder.write("document.xml", bytes));
  }

  static std::string error_of_file(const std::string& path) {
    try {
      KcdDocument::load(path);
    } catch (const ImportError& error) {
      EXPECT_EQ(error.source(), "KCD document");
      return error.description();
    }
    return "no error";
  }

  TemporaryFolder folder;
};

using KcdDocumentErrors = KcdDocumentTest;

/// An element's tags, attributes and children in a form that is easily compared.
std::string outline(const KcdElement& element) {
  std::string text(element.tag());
  for (const auto& child : children_of(element)) {
    text += (&child == element.first_child() ? "(" : " ") + outline(child);
  }
  return element.first_child() == nullptr ? text : text + ")";
}

TEST_F(KcdDocumentTest, RootAloneIsKeptOfADocumentThatIsReadWhole) {
  const auto path = folder.write("document.xml", R"(<a b="1"><c d="2"><e/></c><c/></a>)");
  const auto document = KcdDocument::load_root(path);
  EXPECT_EQ(outline(document->root()), "a");
  EXPECT_EQ(document->root().attribute("b"), "1");
  EXPECT_EQ(document->root().attribute("d"), std::nullopt);
  const auto broken = folder.write("document.xml", "<a><b></a>");
  EXPECT_THAT([&] { KcdDocument::load_root(broken); },
              ::testing::ThrowsMessage<ImportError>(::testing::StrEq(
                  "line 1, column 11: Opening and ending tag mismatch: b line 1 and a")));
}

TEST_F(KcdDocumentTest, ElementsKeepTheirOrder) {
  const auto document = load("<a><b><c/><d/></b><e/><b/></a>");
  EXPECT_EQ(outline(document->root()), "a(b(c d) e b)");
}

TEST_F(KcdDocumentTest, OnlyElementsAreChildren) {
  const auto document = load(
      "<?xml version='1.0'?>\n<!-- x -->\n<a>\n text <b/><!-- <c/> --><?pi <d/>?>\n"
      "<![CDATA[ &x; <e/> ]]><f>&lt;&#65;</f>\n</a>\n<?pi?>\n");
  EXPECT_EQ(outline(document->root()), "a(b f)");
}

TEST_F(KcdDocumentTest, AttributesAreFoundByTheirExactName) {
  const auto document = load("<a name='n' Name='N' empty=''/>");
  EXPECT_EQ(document->root().attribute("name"), "n");
  EXPECT_EQ(document->root().attribute("Name"), "N");
  EXPECT_EQ(document->root().attribute("empty"), "");
  EXPECT_EQ(document->root().attribute("NAME"), std::nullopt);
  EXPECT_EQ(document->root().attribute("nam"), std::nullopt);
}

/// The attributes that number `number` of an element is to have: one for each set bit, falling
/// order for odd numbers.
std::vector<std::string> names_by_bits(unsigned number) {
  std::vector<std::string> names;
  for (unsigned bit = 0; bit < 11; ++bit) {
    if ((number >> bit & 1U) != 0) {
      names.insert(number % 2 == 0 ? names.end() : names.begin(), "bit" + std::to_string(bit));
    }
  }
  return names;
}

TEST_F(KcdDocumentTest, ElementsOfOneTagHaveAttributesOfTheirOwn) {
  constexpr unsigned elements = 4096;
  std::string text = "<a>";
  for (unsigned number = 0; number < elements; ++number) {
    text += "<b";
    for (const auto& name : names_by_bits(number)) {
      text.append(" ").append(name).append("='").append(name);
      text.append(std::to_string(number)).append("'");
    }
    text += "/>";
  }
  const auto document = load(text + "</a>");
  unsigned number = 0;
  for (const KcdElement& element : children_of(document->root())) {
    const auto names = names_by_bits(number);
    ASSERT_EQ(element.attributes().size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
      const auto value = names[i] + std::to_string(number);
      EXPECT_EQ(element.attributes()[i].name, names[i]);
      EXPECT_EQ(element.attributes()[i].value, value);
      EXPECT_EQ(element.attribute(names[i]), value);
    }
    EXPECT_EQ(element.attribute("bit0").has_value(), number % 2 == 1);
    ++number;
  }
  EXPECT_EQ(number, elements);
}

TEST_F(KcdDocumentTest, ChildrenAreFoundByTheirTag) {
  const auto document = load("<a><b n='1'/><cc n='0'/><c n='2'/><c n='3'/></a>");
  EXPECT_EQ(document->root().child("c")->attribute("n"), "2");
  EXPECT_EQ(document->root().child("C"), nullptr);
  EXPECT_EQ(document->root().child("b")->first_child(), nullptr);
}

TEST_F(KcdDocumentTest, QualifiedNamesKeepTheirPrefix) {
  const auto document = load("<x:a xmlns:x='u' x:b='1' b='2'><b/><x:b/></x:a>");
  EXPECT_EQ(outline(document->root()), "x:a(b x:b)");
  EXPECT_EQ(document->root().attribute("x:b"), "1");
  EXPECT_EQ(document->root().attribute("b"), "2");
}

TEST_F(KcdDocumentTest, ReferencesInValuesAreResolved) {
  struct Case {
    const char* written;
    const char* value;
  };
  const std::vector<Case> cases = {
      {"&amp;", "&"},
      {"&lt;&gt;&apos;&quot;", "<>'\""},
      {"&amp;amp;", "&amp;"},
      {"&amp;#38;", "&#38;"},
      {"&#38;#38;", "&#38;"},
      {"&#38;&#x26;", "&&"},
      {"a&#10;b&#13;c&#9;", "a\nb\rc\t"},
      {"a\nb\tc\r\nd", "a b c d"},
      {"&#8364;&#x1F600;", "\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"AT&amp;T &amp; Co", "AT&T & Co"},
  };
  for (const auto& c : cases) {
    const auto document = load("<a before='&amp;1' v=\""s + c.written + "\" after='&amp;2'/>");
    EXPECT_EQ(document->root().attribute("v"), c.value) << c.written;
    EXPECT_EQ(document->root().attribute("before"), "&1");
    EXPECT_EQ(document->root().attribute("after"), "&2");
  }
}

TEST_F(KcdDocumentTest, ADocumentTypeWithoutEntitiesIsHarmless) {
  for (const std::string text :
       {"<!DOCTYPE a><a b='1'/>", "<!DOCTYPE a SYSTEM 'http://127.0.0.1:1/a.dtd'><a b='1'/>",
        "<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a b='1'/>",
        "<!--x-->\n<!DOCTYPE a [<!ELEMENT a (b|c)*> <!ATTLIST a b (1|2) #IMPLIED c CDATA "
        "#REQUIRED> <!NOTATION n SYSTEM 'n'>]>\n<a b='1'/>"}) {
    EXPECT_EQ(load(text)->root().attribute("b"), "1") << text;
  }
}

TEST_F(KcdDocumentTest, LargeDocumentsKeepEveryElement) {
  std::string text = "<a>";
  for (int i = 0; i < 50'000; ++i) {
    text += "<n" + std::to_string(i % 3000) + " v='" + std::to_string(i) + "'/>\n";
  }
  const auto document = load(text + "</a>");
  int i = 0;
  for (const auto& child : children_of(document->root())) {
    ASSERT_EQ(child.tag(), "n" + std::to_string(i % 3000));
    ASSERT_EQ(child.attribute("v"), std::to_string(i));
    ++i;
  }
  EXPECT_EQ(i, 50'000);
}

TEST_F(KcdDocumentTest, DepthIsNotLimited) {
  constexpr int depth = 100'000;
  std::string text;
  for (int i = 0; i < depth; ++i) {
    text += "<a>";
  }
  for (int i = 0; i < depth; ++i) {
    text += "</a>";
  }
  const auto document = load(text);
  int found = 0;
  for (const auto* element = &document->root(); element != nullptr;
       element = element->first_child()) {
    ++found;
  }
  EXPECT_EQ(found, depth);
}

TEST_F(KcdDocumentTest, NamesAndValuesMayBeLong) {
  const std::string name(100'000, 'n');
  std::string value;
  value.resize(20'000'000, 'v');
  const auto document = load("<a " + name + "='" + value + "'><" + name + "/></a>");
  EXPECT_EQ(document->root().first_child()->tag(), name);
  EXPECT_TRUE(document->root().attribute(name) == value);
}

std::string with_attributes(int count) {
  std::string text = "<a";
  for (int i = 0; i < count; ++i) {
    text += " a" + std::to_string(i) + "='" + std::to_string(i) + "'";
  }
  return text + "/>";
}

TEST_F(KcdDocumentTest, AnElementMayHaveTenThousandAttributes) {
  const auto document = load(with_attributes(10'000));
  EXPECT_EQ(document->root().attribute("a9999"), "9999");
}

TEST_F(KcdDocumentErrors, MoreAttributesAreRefusedBeforeTheyCostTooMuch) {
  for (const int count : {10'001, 1'000'000}) {
    const auto error = error_of(with_attributes(count));
    EXPECT_EQ(error.substr(error.find(": ")), ": an element has more than 10000 attributes");
  }
}

TEST_F(KcdDocumentErrors, TooManyNameSpacesAreRefused) {
  std::string at_once = "<a";
  std::string nested;
  for (int i = 0; i < 50'000; ++i) {
    const auto declaration = " xmlns:n" + std::to_string(i) + "='u'";
    at_once += declaration;
    nested += "<a" + declaration + ">";
  }
  for (const auto& text : {at_once + "/>", nested}) {
    const auto error = error_of(text);
    EXPECT_EQ(error.substr(error.find(": ")),
              ": more than 1000 name space declarations are in force");
  }
}

TEST_F(KcdDocumentErrors, AFileThatCannotBeReadTellsTheSystemsDescription) {
  EXPECT_EQ(error_of_file(folder.file("missing.xml")), "No such file or directory");
  EXPECT_EQ(error_of_file(folder.path().string()), "Is a directory");
}

TEST_F(KcdDocumentErrors, TellPlaceAndReason) {
  struct Case {
    std::string text;
    const char* error;
  };
  const std::vector<Case> cases = {
      {"", "line 1, column 1: Document is empty"},
      {"hello", "line 1, column 1: Start tag expected, '<' not found"},
      {"<!-- x -->", "line 1, column 11: Start tag expected, '<' not found"},
      {"<a>\n  <b>\n</a>", "line 3, column 5: Opening and ending tag mismatch: b line 2 and a"},
      {"<a>\n<b>", "line 2, column 4: Premature end of data in tag b line 2"},
      {"<a/><b/>", "line 1, column 5: Extra content at the end of the document"},
      {"<a b='1' b='2'/>", "line 1, column 15: Attribute b redefined"},
      {"<a b=1/>", "line 1, column 6: AttValue: \" or ' expected"},
      {"<a b='<'/>", "line 1, column 7: Unescaped '<' not allowed in attributes values"},
      {"<1/>", "line 1, column 2: StartTag: invalid element name"},
      {"<a><!-- -- --></a>", "line 1, column 9: Double hyphen within comment"},
      {"<a b='&#0;'/>", "line 1, column 11: xmlParseCharRef: invalid xmlChar value 0"},
      {"<!DOCTYPE a [<!ATTLIST a b (x|x) #IMPLIED>]><a/>",
       "line 1, column 32: standalone: attribute enumeration value token x duplicated"},
      {"<a>\n<x:b/></a>", "line 2, column 5: Namespace prefix x on b is not defined"},
      {"<a x:b='1'/>", "line 1, column 11: Namespace prefix x for b on a is not defined"},
      {"\n<?xml version='1.0'?><a/>",
       "line 2, column 6: XML declaration allowed only at the start of the document"},
      {"<?xml version='1.0' encoding='klingon'?><a/>",
       "line 1, column 39: Unsupported encoding klingon"},
      {"<?xml version='1.0' encoding='UTF-16'?><a/>",
       "line 1, column 38: Document labelled UTF-16 but has UTF-8 content"},
      {"<a b='\xE4 b'/>", "line 1, column 7: Input is not proper UTF-8, indicate encoding !"},
      {"<?xml version='1.0' encoding='windows-1252'?><a b='\x81'/>",
       "line 1, column 44: input conversion failed due to input error"},
      {"<a/>\0"s, "line 1, column 5: characters after the end of the document"},
      {"<a/>\0<b/>"s, "line 1, column 5: characters after the end of the document"},
      {"<a>\0</a>"s, "line 1, column 4: Premature end of data in tag a line 1"},
      {"<a b='\0'/>"s, "line 1, column 7: Char 0x0 out of allowed range"},
      {"\xFF\xFE<\0a\0/\0>\0x"s, "line 1, column 5: characters after the end of the document"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(error_of(c.text), c.error) << ::testing::PrintToString(c.text);
  }
}

TEST_F(KcdDocumentErrors, EntitiesAreNeitherDeclaredNorUsed) {
  std::string bomb = "<!--x-->\n<!DOCTYPE a [<!ENTITY e0 'lol'>";
  for (int i = 1; i < 10; ++i) {
    const auto inner = "&e" + std::to_string(i - 1) + ";";
    bomb += "<!ENTITY e" + std::to_string(i) + " '";
    bomb += inner + inner;
    bomb += inner + inner;
    bomb += "'>";
  }
  struct Case {
    std::string text;
    const char* error;
  };
  const std::vector<Case> cases = {
      {bomb + "]>\n<a b='&e9;'>&e9;</a>", "line 2, column 31: entity 'e0' may not be declared"},
      {"<!DOCTYPE a [<!ENTITY e 'harmless'>]><a/>",
       "line 1, column 35: entity 'e' may not be declared"},
      {"<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>",
       "line 1, column 52: entity 'e' may not be declared"},
      {"<!DOCTYPE a [<!ENTITY % p SYSTEM 'http://127.0.0.1:1/p'> %p;]><a/>",
       "line 1, column 56: entity 'p' may not be declared"},
      {"<!DOCTYPE a [<!NOTATION n SYSTEM 'n'><!ENTITY u SYSTEM 'u' NDATA n>]><a/>",
       "line 1, column 67: entity 'u' may not be declared"},
      {"<!DOCTYPE a [%p;]><a/>", "line 1, column 17: entity 'p' is not declared"},
      {"<a>&e;</a>", "line 1, column 7: entity 'e' is not declared"},
      {"<a b='&e;'/>",
       "line 1, column 10: an attribute's value uses an entity that is not declared"},
      {"<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a>&e;</a>",
       "line 1, column 47: entity 'e' is not declared"},
      {"<!DOCTYPE a SYSTEM 'http://127.0.0.1:1/a.dtd'><a b='&e;'/>",
       "line 1, column 56: an attribute's value uses an entity that is not declared"},
      {"<!DOCTYPE a [<!ATTLIST a b CDATA 'x'>]><a/>",
       "line 1, column 37: a default of attribute 'b' may not be declared"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(error_of(c.text), c.error) << c.text;
  }
}

/// What a document's attribute `b` reads after preparation and loading.
std::string value_after_preparation(const std::string& path) {
  const auto prepared = PrepareDocument(path, CompanyPattern{"Foo", "Caf\xC3\xA9 \xE2\x82\xAC"});
  EXPECT_EQ(prepared.error, "");
  const auto document = KcdDocument::load(prepared.path);
  DeleteTempDocument(prepared.path);
  return std::string(document->root().attribute("b").value_or("absent"));
}

std::string widened(const std::string& text, bool big_endian) {
  std::string bytes = big_endian ? "\xFE\xFF" : "\xFF\xFE";
  for (const char c : text) {
    bytes += big_endian ? "\0"s + c : c + "\0"s;
  }
  return bytes;
}

TEST_F(KcdDocumentTest, PreparedDocumentsOfEveryEncodingArriveWithEveryCharacterRight) {
  const testing::SystemFolder system_folder(folder.path().string());
  const auto in = [](const char* encoding, const char* e_acute) {
    return "<?xml version='1.0' encoding='"s + encoding + "'?>\r\n<a b='" + e_acute + " Foo'/>\r\n";
  };
  const std::string text = "<a b='\xC3\xA9 Foo'/>";
  const std::string mark = "\xEF\xBB\xBF";
  for (const auto& bytes : std::vector<std::string>{
           text, mark + text, in("UTF-8", "\xC3\xA9"), mark + in("UTF-8", "\xC3\xA9"),
           "<!DOCTYPE a [<!ENTITY e 'x'>]>\r\n" + in("windows-1252", "\xE9"),
           mark + in("windows-1252", "\xC3\xA9"), in("windows-1252", "\xE9"),
           in("ISO-8859-1", "\xE9"), in("iso-8859-15", "\xE9"), in("macintosh", "\x8E"),
           in("IBM850", "\x82"), in("us-ascii", "&#233;"), widened(in("UTF-16", "\xE9"), true),
           widened(in("UTF-16", "\xE9"), false),
           widened("<!DOCTYPE a>\n<a b='\xE9 Foo'/>", true)}) {
    EXPECT_EQ(value_after_preparation(folder.write("document.kcd", bytes)),
              "\xC3\xA9 Caf\xC3\xA9 \xE2\x82\xAC")
        << ::testing::PrintToString(bytes);
  }
  // No pattern is replaced in such an encoding; the document itself is read.
  const auto chinese = folder.write("document.kcd", in("GB18030", "\xA8\xA6"));
  EXPECT_EQ(KcdDocument::load(chinese)->root().attribute("b"), "\xC3\xA9 Foo");
}

}  // namespace
}  // namespace importkcd
