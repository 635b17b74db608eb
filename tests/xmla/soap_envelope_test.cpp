#include "xmla/soap_envelope.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

TEST(SoapEnvelope, ExecuteCarriesTheStatementAndItsProperties) {
  EXPECT_EQ(execute_envelope("select from [A&B] where 1 < 2", {{"Catalog", "Men's <x>"}}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<Envelope xmlns=\"http://schemas.xmlsoap.org/soap/envelope/\"><Body>"
            "<Execute xmlns=\"urn:schemas-microsoft-com:xml-analysis\"><Command><Statement>"
            "select from [A&amp;B] where 1 &lt; 2</Statement></Command><Properties><PropertyList>"
            "<Catalog>Men's &lt;x&gt;</Catalog></PropertyList></Properties></Execute>"
            "</Body></Envelope>\n");
}

TEST(SoapEnvelope, DiscoverCarriesRestrictionsAndProperties) {
  EXPECT_EQ(discover_envelope("MDSCHEMA_CUBES", {{"CATALOG_NAME", "A"}}, {{"Format", "Tabular"}}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<Envelope xmlns=\"http://schemas.xmlsoap.org/soap/envelope/\"><Body>"
            "<Discover xmlns=\"urn:schemas-microsoft-com:xml-analysis\">"
            "<RequestType>MDSCHEMA_CUBES</RequestType><Restrictions><RestrictionList>"
            "<CATALOG_NAME>A</CATALOG_NAME></RestrictionList></Restrictions><Properties>"
            "<PropertyList><Format>Tabular</Format></PropertyList></Properties></Discover>"
            "</Body></Envelope>\n");
}

TEST(SoapEnvelope, EveryTextGivesWellFormedXml) {
  const auto envelope = read_xml(execute_envelope("a\r\n\tb\x01z]]> ü \xFC", {}), "test");
  EXPECT_EQ(envelope.find("Statement")->text, "a\r\n\tb\uFFFDz]]> ü \uFFFD");
}

std::string fault_in(const std::string& fault) {
  return fault_text(read_xml(
      "<e:Envelope xmlns:e=\"urn:e\"><e:Body>" + fault + "</e:Body></e:Envelope>", "test"));
}

TEST(SoapEnvelope, AFaultsTextIsItsDescription) {
  EXPECT_EQ(fault_in("<e:Fault><faultcode>c</faultcode><faultstring>short</faultstring><detail>"
                     "<x:error xmlns:x=\"urn:x\"><code>1</code><desc>cube 'A' not "
                     "found</desc></x:error></detail></e:Fault>"),
            "cube 'A' not found");
  EXPECT_EQ(
      fault_in("<e:Fault><faultstring>short</faultstring><detail>"
               "<Error ErrorCode=\"1\" Description=\"The cube is gone.\"/></detail></e:Fault>"),
      "The cube is gone.");
}

TEST(SoapEnvelope, AFaultWithoutDetailsHasItsOwnText) {
  EXPECT_EQ(fault_in("<e:Fault><faultstring>short</faultstring></e:Fault>"), "short");
  EXPECT_EQ(fault_in("<e:Fault><faultstring>short</faultstring><detail/></e:Fault>"), "short");
  EXPECT_EQ(fault_in("<e:Fault/>"), "a fault without a text");
}

TEST(SoapEnvelope, AnElementOfThatNameInsideOfAResultIsNoFault) {
  EXPECT_EQ(fault_in("<r><root><Fault>3</Fault></root></r>"), "");
}

}  // namespace
}  // namespace importkcd
