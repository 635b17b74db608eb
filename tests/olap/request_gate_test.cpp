#include "tests/olap/http_client.h"
#include "tests/olap/olap_world.h"

namespace importkcd::testing {
namespace {

/// The 0x900000 bytes of one piece.
std::string more_than_a_body() {
  std::string text;
  text.resize(0x900000, ' ');
  return text;
}

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* plain_question = "SELECT FROM [Sales]";

std::string good_body() { return xmla_question(sales_database, plain_question); }

/// The bytes of a text of ASCII characters in UTF-16, the lower byte first.
std::string utf_16(const std::string& text, const std::string& byte_order_mark) {
  std::string bytes = byte_order_mark;
  for (const char c : text) {
    bytes += c;
    bytes += '\0';
  }
  return bytes;
}

/// A question whose cube is an entity that stands for a file.
std::string with_entity(const std::string& declaration) {
  auto body = xmla_question(sales_database, "SELECT FROM [&file;]");
  return declaration + R"(<!DOCTYPE a [<!ENTITY file SYSTEM "file:///etc/hostname">]>)" +
         body.substr(body.find("?>") + 2);
}

struct Hostile {
  std::string name;
  std::string request;
  std::string status;
  std::string reason;
};

void PrintTo(const Hostile& hostile, std::ostream* out) { *out << hostile.name; }

constexpr const char* xml_type = "Content-Type: text/xml\r\n";
constexpr const char* no_doctype = "a request may not declare a document type";
constexpr const char* not_ours = "this is not the host that the request is meant for";
constexpr const char* not_xml = "the content type must be text/xml or application/xml";
constexpr const char* no_formatter = "a question may not bring its own cell formatter";

std::vector<Hostile> hostile_texts() {
  const std::string declared = R"(<?xml version="1.0" encoding="UTF-16"?>)";
  std::string deep;
  for (int i = 0; i < 1000; ++i) {
    deep += "<a>";
  }
  const auto formatter = [](const std::string& property) {
    return http_request(xmla_question(
        sales_database, "WITH MEMBER [Measures].[X] AS '1', " + property +
                            "='return 1' SELECT {[Measures].[X]} ON COLUMNS FROM [Sales]"));
  };
  return {
      {"Entity", http_request(with_entity(R"(<?xml version="1.0"?>)")), "400", no_doctype},
      {"EntityInUtf16", http_request(utf_16(with_entity(""), "\xFF\xFE")), "400", no_doctype},
      {"EntityInDeclaredUtf16", http_request(utf_16(with_entity(declared), "")), "400", no_doctype},
      {"EntityBehindAComment", http_request(with_entity("<!-- -->\n")), "400", no_doctype},
      {"NoXml", http_request("hello"), "400", "the request cannot be read: "},
      {"Nothing", http_request(""), "400", "the request cannot be read: "},
      {"Depth", http_request(deep), "400", "its elements are nested too deeply"},
      {"Script", formatter("CELL_FORMATTER_SCRIPT"), "403", no_formatter},
      {"Formatter", formatter("Cell_Formatter"), "403", no_formatter},
      {"ScriptInPieces", formatter("CELL_<!-- -->FORM<![CDATA[ATTER_]]>SCR&#73;PT"), "403",
       no_formatter},
  };
}

std::vector<Hostile> hostile_heads() {
  const auto body = good_body();
  const auto from = [&](const std::string& host) { return http_request(body, host); };
  const auto with = [&](const std::string& headers) {
    return http_request(body, "127.0.0.1", headers);
  };
  const auto first = [&](const std::string& line) {
    return http_request(body, "127.0.0.1", xml_type, line);
  };
  const std::string xml = xml_type;
  return {
      {"OtherHost", from("evil.example"), "421", not_ours},
      {"LongerHost", from("127.0.0.1.evil.example"), "421", not_ours},
      {"UserBeforeHost", from("127.0.0.1@evil.example"), "421", not_ours},
      {"TwoHosts", with("Host: evil.example\r\n" + xml), "421", not_ours},
      {"OtherHostInTheFirstLine", first("POST http://evil.example/xmla HTTP/1.1"), "421", not_ours},
      {"OtherOrigin", with(xml + "Origin: http://evil.example\r\n"), "403", "other origins"},
      {"OtherPort", with(xml + "Origin: http://127.0.0.1:3000\r\n"), "403", "other origins"},
      {"NoOrigin", with(xml + "Origin: null\r\n"), "403", "other origins"},
      {"FormType", with("Content-Type: multipart/form-data; boundary=text/xml\r\n"), "415",
       not_xml},
      {"PlainType", with("Content-Type: text/plain;text/xml\r\n"), "415", not_xml},
      {"NoType", with(""), "415", not_xml},
      {"TwoTypes", with(xml + "Content-Type: text/plain\r\n"), "415", not_xml},
      {"Packed", with(xml + "Content-Encoding: gzip\r\n"), "415", "content encodings"},
      {"Picture", with(xml + "Accept: image/png\r\n"), "406", "answers are text/xml"},
      {"Get", first("GET /xmla HTTP/1.1"), "405", "questions come by POST"},
      {"Trace", first("TRACE /xmla HTTP/1.1"), "405", "questions come by POST"},
      {"Options", first("OPTIONS /xmla HTTP/1.1"), "405", "questions come by POST"},
      {"OtherPath", first("POST / HTTP/1.1"), "404", "there is only /xmla"},
      {"EncodedPath", first("POST /xml%61 HTTP/1.1"), "404", "there is only /xmla"},
      {"PathUpwards", first("POST /a/../xmla HTTP/1.1"), "404", "there is only /xmla"},
      {"HugeHeader", with("X: " + std::string(100'000, 'x') + "\r\n" + xml), "431", ""},
      {"TwoLengths", with(xml + "Transfer-Encoding: chunked\r\n"), "400", ""},
      {"AnnouncedSize",
       "POST /xmla HTTP/1.1\r\nHost: localhost\r\n" + xml + "Content-Length: 99999999999\r\n\r\n",
       "413", "a request has 8388608 bytes at most"},
      {"SizeInPieces",
       "POST /xmla HTTP/1.1\r\nHost: localhost\r\n" + xml +
           "Transfer-Encoding: chunked\r\n\r\n900000\r\n" + more_than_a_body() + "\r\n0\r\n\r\n",
       "413", "a request has 8388608 bytes at most"},
      {"NoPieces",
       "POST /xmla HTTP/1.1\r\nHost: localhost\r\n" + xml +
           "Transfer-Encoding: chunked\r\n\r\nzz\r\n",
       "400", ""},
  };
}

class RequestGate : public ::testing::TestWithParam<Hostile> {};

TEST_P(RequestGate, RefusesWithStatusAndReason) {
  const auto& [name, request, status, reason] = GetParam();
  const auto answer = answer_to(world().engine().address(), request);
  EXPECT_THAT(answer, AllOf(StartsWith("HTTP/1.1 " + status + " "), HasSubstr(reason)))
      << answer.substr(0, 500);
  EXPECT_THAT(answer, Not(HasSubstr("Envelope")));
}

const auto hostile_name = [](const ::testing::TestParamInfo<Hostile>& tested) {
  return tested.param.name;
};
INSTANTIATE_TEST_SUITE_P(Texts, RequestGate, ::testing::ValuesIn(hostile_texts()), hostile_name);
INSTANTIATE_TEST_SUITE_P(Heads, RequestGate, ::testing::ValuesIn(hostile_heads()), hostile_name);

void expect_answer(const std::string& request) {
  const auto answer = answer_to(world().engine().address(), request);
  EXPECT_THAT(answer, AllOf(StartsWith("HTTP/1.1 200 "), HasSubstr("CellData")))
      << answer.substr(0, 500);
}

TEST(OpenGate, LetsGoodRequestsPass) {
  const auto body = good_body();
  const auto& address = world().engine().address();
  const auto own = address.substr(7, address.rfind('/') - 7);
  expect_answer(http_request(body));
  expect_answer(http_request(body, "LOCALHOST:8712"));
  expect_answer(http_request(body, "[::1]:1"));
  expect_answer(http_request(body, own, std::string(xml_type) + "Origin: http://" + own + "\r\n"));
  expect_answer(http_request(body, own, "Content-Type: application/xml; charset=\"utf-8\"\r\n"));
  const auto undeclared = body.substr(body.find("?>") + 2);
  expect_answer(http_request(utf_16(undeclared, "\xFF\xFE")));
}

TEST(OpenGate, AnswersOneRequestOfAConnection) {
  const auto request = http_request(good_body());
  const auto answer = answer_to(world().engine().address(), request + request);
  EXPECT_EQ(answer.find("HTTP/1.1 200"), answer.rfind("HTTP/1.1 200"));
}

}  // namespace
}  // namespace importkcd::testing
