// Documents that are broken, or odd, as XML.

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "base/import_error.h"
#include "document/kcd_document.h"
#include "tests/importer/hostile/hostile_documents.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

using namespace std::string_literals;

std::string with_declaration(const std::string& declaration) {
  return "<?xml version='1.0'?>\n<!DOCTYPE database [" + declaration + "]>\n" + open_root + "/>";
}

using HostileMarkup = HostileDocuments;

TEST_F(HostileMarkup, NothingThatIsNoDocumentIsRead) {
  expect_all({
      {"empty file", "", unreadable("line 1, column 1: Document is empty")},
      {"only line ends", "\n\r\r\n\n",
       unreadable("line 5, column 1: Start tag expected, '<' not found")},
      {"only blanks", "   \t", unreadable("line 2, column 1: Start tag expected, '<' not found")},
      {"only a comment", "<!-- x -->",
       unreadable("line 2, column 1: Start tag expected, '<' not found")},
      {"only a processing instruction", "<?x y?>",
       unreadable("line 2, column 1: Start tag expected, '<' not found")},
      {"only a declaration", "<?xml version='1.0'?>",
       unreadable("line 2, column 1: Start tag expected, '<' not found")},
      {"only a document type after a first line", "\n<!DOCTYPE database>",
       unreadable("line 3, column 1: Start tag expected, '<' not found")},
      {"only a document type, which is dropped", "<!DOCTYPE database>" + open_root + "/>",
       unreadable("line 1, column 1: Document is empty")},
      {"plain text", "hello", unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"text in front", "x" + open_root + "/>",
       unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"JSON", R"({"database": {"version": "1.0.1073"}})",
       unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"a ZIP archive", "PK\x03\x04\x14\0\x08\0"s,
       unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"a line of 3,000,000 characters", std::string(3'000'000, 'x'),
       unreadable("line 1, column 1: Start tag expected, '<' not found")},
      {"3,000,000 line ends", std::string(3'000'000, '\n'),
       unreadable("line 3000001, column 1: Start tag expected, '<' not found")},
      {"1,000,000 NULs", std::string(1'000'000, '\0'),
       unreadable("line 1, column 1: Document is empty")},
  });
}

TEST_F(HostileMarkup, WhatIsNotTerminatedIsNotRead) {
  expect_all({
      {"lone less-than", "<", unreadable("line 1, column 2: StartTag: invalid element name")},
      {"open tag name", "<database",
       unreadable("line 2, column 1: Couldn't find end of Start Tag database line 1")},
      {"open start tag", open_root,
       unreadable("line 2, column 1: Couldn't find end of Start Tag database line 1")},
      {"open attribute value", open_root + " x=\"",
       unreadable("line 2, column 1: AttValue: ' expected")},
      {"open attribute value over lines", open_root + " x=\"\n\n\n",
       unreadable("line 4, column 1: AttValue: ' expected")},
      {"open open_root", open_root + ">",
       unreadable("line 2, column 1: Premature end of data in tag database line 1")},
      {"open library", open_root + ">\n<library>",
       unreadable("line 3, column 1: Premature end of data in tag library line 2")},
      {"open end tag", open_root + "></database", unreadable("line 2, column 1: expected '>'")},
      {"open comment", open_root + "><!-- ",
       unreadable("line 2, column 1: Comment not terminated")},
      {"open processing instruction", open_root + "><?x ",
       unreadable("line 2, column 1: ParsePI: PI x never end ...")},
      {"open CDATA section", open_root + "><![CDATA[ ",
       unreadable("line 2, column 1: CData section not finished")},
      {"open comment, of which nothing is told", open_root + "><!-- \xC3\xA9 PWD=secret",
       unreadable("line 2, column 1: Comment not terminated")},
      {"open CDATA section, of which nothing is told", open_root + "><![CDATA[PWD=secret ",
       unreadable("line 2, column 1: CData section not finished")},
      {"open declaration", "<?xml version='1.0'",
       unreadable("line 2, column 1: parsing XML declaration: '?>' expected")},
      {"open document type", "\n<!DOCTYPE database [",
       unreadable("line 3, column 1: internal error: xmlParseInternalSubset: error detected in "
                  "Markup declaration")},
      {"open element declaration", "\n<!DOCTYPE database [<!ELEMENT a (",
       unreadable("line 3, column 1: ContentDecl : Name or '(' expected")},
      {"open reference", open_root + " x=\"&amp",
       unreadable("line 1, column 62: EntityRef: expecting ';'")},
      {"open character reference", open_root + " x=\"&#12",
       unreadable("line 1, column 62: CharRef: invalid decimal value")},
      {"100,000 open elements", open_root + ">" + repeated("<a>", 100'000),
       unreadable("line 2, column 1: Premature end of data in tag a line 1")},
  });
}

TEST_F(HostileMarkup, NoDocumentIsReadThatEndsTooEarlyWhereverThatIs) {
  const std::string odd =
      "<?xml version='1.0' encoding='UTF-8'?>\n<!DOCTYPE a [<!ELEMENT a (b|c)*><!ATTLIST a x ID "
      "#IMPLIED>\n<!-- c --><?p q?>]>\n<!-- \u20AC --><?p q?><a x='&#x20AC;&amp;\u20AC'>\u20AC&lt;"
      "<![CDATA[ c ]]><n:b xmlns:n='u' n:y=\"z\"/></a>";
  const std::regex place_and_reason("line [0-9]+, column [0-9]+: [^\n]+");
  for (const auto& document : {odd, whole_document()}) {
    const auto path = folder.write("document.xml", document);
    for (auto size = document.find_last_of('>'); size > 0; --size) {
      std::filesystem::resize_file(path, size);
      try {
        KcdDocument::load(path);
        ADD_FAILURE() << "read: " << document.substr(0, size);
      } catch (const ImportError& error) {
        EXPECT_TRUE(std::regex_match(error.description(), place_and_reason)) << error.description();
      }
    }
  }
}

TEST_F(HostileMarkup, BrokenTagsAndTextsAreNotRead) {
  expect_all({
      {"two roots", open_root + "/>" + open_root + "/>",
       unreadable("line 1, column 56: Extra content at the end of the document")},
      {"text behind", open_root + "/>text",
       unreadable("line 1, column 56: Extra content at the end of the document")},
      {"CDATA behind", open_root + "/><![CDATA[x]]>",
       unreadable("line 1, column 56: Extra content at the end of the document")},
      {"end tag behind", open_root + "/></database>",
       unreadable("line 1, column 56: Extra content at the end of the document")},
      {"end tag only", "</database>",
       unreadable("line 1, column 2: StartTag: invalid element name")},
      {"wrong end tag", open_root + ">\n<library></cubes></database>",
       unreadable("line 2, column 18: Opening and ending tag mismatch: library line 2 and cubes")},
      {"end tag in other letter case", open_root + "></Database>",
       unreadable(
           "line 1, column 66: Opening and ending tag mismatch: database line 1 and Database")},
      {"end tag with an attribute", open_root + "></database x=''>",
       unreadable("line 1, column 66: expected '>'")},
      {"less-than in a value", open_root + " x=\"a<b\"/>",
       unreadable("line 1, column 59: Unescaped '<' not allowed in attributes values")},
      {"less-than in text", open_root + ">a < b</database>",
       unreadable("line 1, column 58: StartTag: invalid element name")},
      {"ampersand in a value", open_root + " x=\"a & b\"/>",
       unreadable("line 1, column 61: xmlParseEntityRef: no name")},
      {"ampersand in text", open_root + ">a & b</database>",
       unreadable("line 1, column 58: xmlParseEntityRef: no name")},
      {"value without quotes", open_root + " x=1/>",
       unreadable("line 1, column 57: AttValue: \" or ' expected")},
      {"attribute twice", open_root + " name=\"E\"/>",
       unreadable("line 1, column 63: Attribute name redefined")},
      {"attributes without a blank between", open_root + "x=\"\"/>",
       unreadable("line 1, column 54: attributes construct error")},
      {"typographic quotes",
       "<database version=\xE2\x80\x9C"
       "1.0\xE2\x80\x9D/>",
       unreadable("line 1, column 19: AttValue: \" or ' expected")},
      {"name that begins with a digit", open_root + "><1/></database>",
       unreadable("line 1, column 56: StartTag: invalid element name")},
      {"blank in front of a name", "< database/>",
       unreadable("line 1, column 2: StartTag: invalid element name")},
      {"end of CDATA in text", open_root + ">]]></database>",
       unreadable("line 1, column 55: Sequence ']]>' not allowed in content")},
      {"double hyphen in a comment", open_root + "><!-- -- --></database>",
       unreadable("line 1, column 60: Double hyphen within comment")},
      {"double hyphen in a comment, of which nothing is told",
       open_root + "><!-- PWD=secret -- --></database>",
       unreadable("line 1, column 71: Double hyphen within comment")},
      {"processing instruction named xml", open_root + "><?XML x?></database>",
       unreadable("line 1, column 60: Invalid PI name")},
      {"declaration on the second line", "\n<?xml version='1.0'?>" + open_root + "/>",
       unreadable("line 2, column 6: XML declaration allowed only at the start of the document")},
      {"declaration without a version", "<?xml encoding='UTF-8'?>" + open_root + "/>",
       unreadable("line 1, column 7: Malformed declaration expecting version")},
      {"declaration with unknown parts", "<?xml version='1.0' x='y'?>" + open_root + "/>",
       unreadable("line 1, column 21: parsing XML declaration: '?>' expected")},
      {"version 2.0 of XML", "<?xml version='2.0'?>" + open_root + "/>",
       unreadable("line 1, column 20: Unsupported version '2.0'")},
      {"version x of XML", "<?xml version='x'?>" + open_root + "/>",
       unreadable("line 1, column 16: String not closed expecting \" or '")},
  });
}

TEST_F(HostileMarkup, CharactersThatXmlForbidsAreNotRead) {
  expect_all({
      {"NUL in text", open_root + ">\0</database>"s,
       unreadable("line 1, column 55: Premature end of data in tag database line 1")},
      {"NUL in a value", open_root + " x=\"\0\"/>"s,
       unreadable("line 1, column 58: Char 0x0 out of allowed range")},
      {"NUL in a name", open_root + " x\0=\"\"/>"s,
       unreadable("line 1, column 56: Char 0x0 out of allowed range")},
      {"NUL in a comment", open_root + "><!-- \0 --></database>"s,
       unreadable("line 1, column 60: Char 0x0 out of allowed range")},
      {"NUL behind the open_root", open_root + "/>\0"s,
       unreadable("line 1, column 56: characters after the end of the document")},
      {"NUL and a second open_root", open_root + "/>\n\0"s + open_root + "/>",
       unreadable("line 2, column 1: characters after the end of the document")},
      {"backspace in a value", open_root + " x=\"\b\"/>",
       unreadable("line 1, column 58: invalid character in attribute value")},
      {"escape in text", open_root + ">\x1B[2J</database>",
       unreadable("line 1, column 55: PCDATA invalid Char value 27")},
      {"form feed between attributes", open_root + "\fx=\"\"/>",
       unreadable("line 1, column 54: attributes construct error")},
      {"reference to NUL", open_root + " x=\"&#0;\"/>",
       unreadable("line 1, column 62: xmlParseCharRef: invalid xmlChar value 0")},
      {"reference to a control character", open_root + " x=\"&#x1B;\"/>",
       unreadable("line 1, column 64: xmlParseCharRef: invalid xmlChar value 27")},
      {"reference to a surrogate", open_root + " x=\"&#xD800;\"/>",
       unreadable("line 1, column 66: xmlParseCharRef: invalid xmlChar value 55296")},
      {"reference beyond Unicode", open_root + " x=\"&#x110000;\"/>",
       unreadable("line 1, column 68: xmlParseCharRef: character reference out of bounds")},
      {"reference of many digits", open_root + " x=\"&#" + std::string(5'000, '9') + ";\"/>",
       unreadable("line 1, column 5061: xmlParseCharRef: character reference out of bounds")},
      {"reference without digits", open_root + " x=\"&#;\"/>",
       unreadable("line 1, column 61: xmlParseCharRef: invalid xmlChar value 0")},
      {"U+FFFF in a value", open_root + " x=\"\xEF\xBF\xBF\"/>",
       unreadable("line 1, column 58: Char 0xFFFF out of allowed range")},
  });
}

TEST_F(HostileMarkup, NameSpacesMustBeInOrder) {
  expect_all({
      {"undeclared prefix of a tag", "<k:database/>",
       unreadable("line 1, column 12: Namespace prefix k on database is not defined")},
      {"undeclared prefix of an attribute", open_root + " k:x=\"\"/>",
       unreadable("line 1, column 61: Namespace prefix k for x on database is not defined")},
      {"prefix declared too deep", open_root + "><k:a/><b xmlns:k='u'/></database>",
       unreadable("line 1, column 59: Namespace prefix k on a is not defined")},
      {"one attribute under two prefixes", open_root + " xmlns:a='u' xmlns:b='u' a:x='' b:x=''/>",
       unreadable("line 1, column 92: Namespaced Attribute x in 'u' redefined")},
      {"prefix declared twice", open_root + " xmlns:a='u' xmlns:a='v'/>",
       unreadable("line 1, column 78: Attribute xmlns:a redefined")},
      {"prefix declared as nothing", open_root + " xmlns:a=''/>",
       unreadable("line 1, column 65: xmlns:a: Empty XML namespace is not allowed")},
      {"prefix xmlns declared", open_root + " xmlns:xmlns='u'/>",
       unreadable("line 1, column 70: redefinition of the xmlns prefix is forbidden")},
      {"prefix xml declared as another", open_root + " xmlns:xml='u'/>",
       unreadable("line 1, column 68: xml namespace prefix mapped to wrong URI")},
      {"colon first", open_root + "><:a/></database>",
       unreadable("line 1, column 58: Failed to parse QName ':a'")},
      {"colon last", open_root + "><a:/></database>",
       unreadable("line 1, column 58: Failed to parse QName 'a:'")},
      {"two colons", open_root + " xmlns:a='u'><a:b:c/></database>",
       unreadable("line 1, column 71: Failed to parse QName 'a:b:'")},
      {"prefix of the open_root",
       "<k:database xmlns:k='u' version='1.0.1073' name='D' description='d'/>", "",
       "Creating database 'D'", stored_root},
      {"default name space", open_root + " xmlns='urn:kcd'/>", "", "", stored_root},
      {"prefixed attributes are others",
       "<database xmlns:k='u' k:version='1.0.1073' k:name='D' k:description='d'/>",
       stopped("Invalid use of Null")},
      {"prefixed library is another",
       open_root + " xmlns:k='u'><k:library><data_sources><x/>" +
           "</data_sources></k:library></database>",
       "", "Creating data sources", stored_root},
  });
}

TEST_F(HostileMarkup, NoEntityIsDeclaredOrFetched) {
  std::string bomb = "<!ENTITY e0 'lol'>";
  for (int i = 1; i < 10; ++i) {
    bomb += "<!ENTITY e" + std::to_string(i) + " '" +
            repeated("&e" + std::to_string(i - 1) + ";", 10) + "'>";
  }
  expect_all({
      {"billion laughs", with_declaration(bomb),
       unreadable("line 2, column 38: entity 'e0' may not be declared")},
      {"quadratic growth", with_declaration("<!ENTITY e '" + std::string(50'000, 'x') + "'>"),
       unreadable("line 2, column 50034: entity 'e' may not be declared")},
      {"file as an entity", with_declaration("<!ENTITY e SYSTEM 'file:///etc/passwd'>"),
       unreadable("line 2, column 59: entity 'e' may not be declared")},
      {"device as an entity", with_declaration("<!ENTITY e SYSTEM '/dev/random'>"),
       unreadable("line 2, column 52: entity 'e' may not be declared")},
      {"address as an entity", with_declaration("<!ENTITY e SYSTEM 'http://127.0.0.1:1/e'>"),
       unreadable("line 2, column 61: entity 'e' may not be declared")},
      {"public entity", with_declaration("<!ENTITY e PUBLIC 'p' 'ftp://127.0.0.1:1/e'>"),
       unreadable("line 2, column 64: entity 'e' may not be declared")},
      {"parameter entity", with_declaration("<!ENTITY % p '<!ELEMENT a ANY>'> %p;"),
       unreadable("line 2, column 52: entity 'p' may not be declared")},
      {"parameter entity of a file",
       with_declaration("<!ENTITY % p SYSTEM 'file:///etc/passwd'> %p;"),
       unreadable("line 2, column 61: entity 'p' may not be declared")},
      {"undeclared parameter entity", with_declaration("%p;"),
       unreadable("line 2, column 24: entity 'p' is not declared")},
      {"unparsed entity",
       with_declaration("<!NOTATION n SYSTEM 'n'><!ENTITY u SYSTEM 'u' NDATA n>"),
       unreadable("line 2, column 74: entity 'u' may not be declared")},
      {"predefined entity declared anew", with_declaration("<!ENTITY lt '&#38;#60;'>"),
       unreadable("line 2, column 44: entity 'lt' may not be declared")},
      {"default of an attribute", with_declaration("<!ATTLIST database x CDATA 'y'>"),
       unreadable("line 2, column 51: a default of attribute 'x' may not be declared")},
      {"fixed attribute", with_declaration("<!ATTLIST database x CDATA #FIXED 'y'>"),
       unreadable("line 2, column 58: a default of attribute 'x' may not be declared")},
      {"entity in a default", with_declaration("<!ATTLIST database x CDATA '&e;'>"),
       unreadable("line 2, column 52: an attribute's value uses an entity that is not declared")},
      {"default of a name space", with_declaration("<!ATTLIST database xmlns CDATA 'u'>"),
       unreadable("line 2, column 55: a default of attribute 'xmlns' may not be declared")},
      {"entity used in a value", open_root + " x=\"&e;\"/>",
       unreadable("line 1, column 61: an attribute's value uses an entity that is not declared")},
      {"entity used in text", open_root + ">&nbsp;</database>",
       unreadable("line 1, column 61: entity 'nbsp' is not declared")},
      {"entity of a document type elsewhere",
       "\n<!DOCTYPE database SYSTEM 'http://127.0.0.1:1/kcd.dtd'>\n" + open_root + " x=\"&e;\"/>",
       unreadable("line 3, column 61: an attribute's value uses an entity that is not declared")},
      {"document type on the network",
       "\n<!DOCTYPE database SYSTEM 'http://127.0.0.1:1/kcd.dtd'>\n" + open_root + "/>", "", "",
       stored_root},
      {"document type in a file",
       "\n<!DOCTYPE database SYSTEM 'file:///etc/passwd'>\n" + open_root + "/>", "", "",
       stored_root},
      {"document type of another open_root",
       "\n<!DOCTYPE x [<!ELEMENT x EMPTY>]>\n" + open_root + "/>", "", "", stored_root},
      {"document type twice", "\n<!DOCTYPE a><!DOCTYPE a>" + open_root + "/>",
       unreadable("line 2, column 14: StartTag: invalid element name")},
      {"document type behind the open_root", open_root + "/>\n<!DOCTYPE a>",
       unreadable("line 2, column 1: Extra content at the end of the document")},
      {"inclusion of another file",
       open_root + " xmlns:xi='http://www.w3.org/2001/XInclude'>" +
           "<xi:include href='file:///etc/passwd'/></database>",
       "", "", stored_root},
      {"style sheet of another file",
       "<?xml-stylesheet href='file:///etc/passwd' type='text/xsl'?>\n" + open_root + "/>", "", "",
       stored_root},
      {"schema of another file",
       open_root + " xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' " +
           "xsi:noNamespaceSchemaLocation='http://127.0.0.1:1/kcd.xsd'/>",
       "", "", stored_root},
      {"entities in the dropped first line",
       "<!DOCTYPE database [<!ENTITY e 'x'>]>\n" + open_root + "/>", "", "", stored_root},
      {"entities that go on behind the dropped line",
       "<!DOCTYPE database [\n<!ENTITY e 'x'>]>\n" + open_root + "/>",
       unreadable("line 1, column 2: StartTag: invalid element name")},
  });
}

TEST_F(HostileMarkup, OddDocumentsAreReadAllTheSame) {
  const std::string source = R"(<x name="S" connection_string="c"/>)";
  const auto with_sources = [&](const std::string& content) {
    return open_root + "><library><data_sources>" + content +
           "</data_sources></library></database>";
  };
  const std::string stored = "data source | S | c | \n";
  const std::string created = "Creating data source 'S'";
  expect_all({
      {"one line without an end", with_sources(source), "", created, stored},
      {"carriage returns only", "<?xml version='1.0'?>\r" + with_sources("\r" + source + "\r"), "",
       created, stored},
      {"version 1.1 of XML", "<?xml version='1.1'?>" + with_sources(source), "", created, stored},
      {"standalone", "<?xml version='1.0' standalone='yes'?>" + with_sources(source), "", created,
       stored},
      {"comments between", with_sources("<!-- <x/> -->" + source + "<!-- -->"), "", created,
       stored},
      {"processing instructions between", with_sources("<?x y?>" + source + "<?x?>"), "", created,
       stored},
      {"300,000 processing instructions", with_sources(repeated("<?x?>", 300'000) + source), "",
       created, stored},
      {"300,000 comments", with_sources(repeated("<!---->\n", 300'000) + source), "", created,
       stored},
      {"CDATA between", with_sources("<![CDATA[ <x name='T'/> ]]>" + source), "", created, stored},
      {"text between", with_sources("a" + source + "b &amp; c]]&gt;"), "", created, stored},
      {"value of 5,000,000 characters",
       open_root + " x=\"" + std::string(5'000'000, 'x') + "\">" + "</database>", "", "",
       stored_root},
      {"text of 5,000,000 characters",
       open_root + ">" + std::string(5'000'000, 'x') + "</database>", "", "", stored_root},
      {"5,000,000 blanks in a tag", open_root + std::string(5'000'000, ' ') + "/>", "", "",
       stored_root},
      {"name of 100,000 characters", open_root + " " + std::string(100'000, 'x') + "=\"\"/>", "",
       "", stored_root},
      {"prefix of 100,000 characters",
       open_root + " xmlns:" + std::string(100'000, 'x') + "='u'><" + std::string(100'000, 'x') +
           ":a/></database>",
       "", "", stored_root},
      {"comments and blanks behind", open_root + "/>\n<!-- x -->\n<?x?>\n  ", "", "", stored_root},
      {"unknown elements and attributes", open_root + " x='y'><x><y z=''/></x></database>", "", "",
       stored_root},
      {"open_root of any tag", "<x version='1.0.1073' name='D' description='d'/>", "", "",
       stored_root},
      {"single quotes and blanks",
       "<database\n version = '1.0.1073'\tname\n=\n'D' description='d'  />", "", "", stored_root},
      {"100,000 nested elements",
       open_root + ">" + repeated("<a>", 100'000) + repeated("</a>", 100'000) + "</database>", "",
       "", stored_root},
      {"references in a name", with_sources(R"(<x name="&#83;" connection_string="&#x63;"/>)"), "",
       created, stored},
      {"reserved attribute of XML", open_root + " xml:space='odd' xml:lang='' xml:id='1 2'/>", "",
       "", stored_root},
  });
}

TEST_F(HostileMarkup, WhatCostsFarMoreThanItsSizeIsNotRead) {
  std::string attributes;
  std::string prefixes;
  std::string choice;
  for (int i = 0; i < 1'000'000; ++i) {
    attributes += " a" + std::to_string(i) + "=''";
  }
  for (int i = 0; i < 20'000; ++i) {
    prefixes += " xmlns:n" + std::to_string(i) + "='u'";
    choice += (i == 0 ? "t" : "|t") + std::to_string(i);
  }
  expect_all({
      {"1,000,000 attributes", open_root + attributes + "/>",
       unreadable("line 1, column 143752: an element has more than 10000 attributes")},
      {"20,000 name spaces", open_root + prefixes + "/>",
       unreadable("line 1, column 43757: more than 1000 name space declarations are in force")},
      {"2,000,000 nested elements", open_root + ">" + repeated("<a>", 2'000'000),
       unreadable("line 1, column 3000057: elements are nested more than 1000000 deep")},
      {"20,000 values of an attribute",
       with_declaration("<!ATTLIST a b (" + choice + ") #IMPLIED>"),
       unreadable("line 2, column 71736: the document type is longer than 65536 bytes")},
      {"20,000 notations of an attribute",
       with_declaration("<!ATTLIST a b NOTATION (" + choice + ") #IMPLIED>"),
       unreadable("line 2, column 71731: the document type is longer than 65536 bytes")},
      {"long document type", with_declaration("<!--" + std::string(100'000, 'x') + "-->"),
       unreadable("line 2, column 71979: the document type is longer than 65536 bytes")},
      {"declared contents 5,000 deep",
       with_declaration("<!ELEMENT a " + repeated("(", 5'000) + "b" + repeated(")", 5'000) + ">"),
       unreadable("line 2, column 2082: xmlParseElementChildrenContentDecl : depth 2049 too deep, "
                  "use XML_PARSE_HUGE")},
  });
}

TEST_F(HostileMarkup, TheVersionIsAnExactText) {
  const auto with_version = [](const std::string& version) {
    return R"(<database version=")" + version + R"(" name="D" description="d"/>)";
  };
  const auto expected = [](const std::string& found) {
    return "Expected kcd document version '1.0.1073', but found version '" + found + "'.";
  };
  expect_all({
      {"older version", with_version("1.0.1051"), "", "", stored_root},
      {"absent version", R"(<database name="D" description="d"/>)", expected("")},
      {"empty version", with_version(""), expected("")},
      {"blank behind the version", with_version("1.0.1073 "), expected("1.0.1073 ")},
      {"line end in front of the version", with_version("\n1.0.1073"), expected(" 1.0.1073")},
      {"referenced line end", with_version("1.0.1073&#10;"), expected("1.0.1073\n")},
      {"longer version", with_version("1.0.10730"), expected("1.0.10730")},
      {"shorter version", with_version("1.0.107"), expected("1.0.107")},
      {"version in wide digits", with_version("１.0.1073"), expected("１.0.1073")},
      {"version of 100,000 characters", with_version(std::string(100'000, '1')),
       expected(std::string(100'000, '1'))},
      {"attribute in capitals", R"(<database VERSION="1.0.1073" name="D"/>)", expected("")},
      {"version of another element", R"(<x><database version="1.0.1073" name="D"/></x>)",
       stopped("Invalid use of Null")},
  });
}

}  // namespace
}  // namespace importkcd::testing
