#pragma once

#include <string>
#include <vector>

#include "base/xml_element.h"
#include "xmla/dataset.h"
#include "xmla/http_post.h"
#include "xmla/soap_envelope.h"

namespace importkcd {

/// A cube that an XMLA server offers.
struct XmlaCube {
  std::string name;
  bool is_virtual = false;
  std::string description;
};

/// A cube that cannot be asked now.
struct UnservedCube {
  std::string name;
  std::string reason;
};

/// Asks a server that speaks XMLA over HTTP. Every operation throws ImportError when the server
/// cannot be reached, refuses the question, in its own words, or does not answer as XMLA does.
class XmlaClient {
 public:
  /// `address` is the one that is_xmla_address knows.
  explicit XmlaClient(std::string address, HttpLimits limits = {}, HttpAccess access = {});

  /// The names of the databases (catalogues) that the server offers, in its order.
  std::vector<std::string> databases() const;

  /// The cubes of one of its databases, in its order.
  std::vector<XmlaCube> cubes(const std::string& database) const;

  /// Those of its cubes that cannot be asked now, with the reasons. Only the engine that `kcd
  /// serve` starts tells them; of other servers there are none.
  std::vector<UnservedCube> unserved_cubes(const std::string& database) const;

  /// Has the server forget the figures that it remembers, of one database or, without a name, of
  /// all.
  void forget_figures(const std::string& database) const;

  /// The answer to an MDX question to a database. `role` names the role in whose view it is asked;
  /// empty: in everyone's. Only the engine that `kcd serve` starts heeds it.
  Dataset execute(const std::string& mdx, const std::string& database,
                  const std::string& role = {}) const;

 private:
  XmlElement discover(const std::string& request_type, const XmlaTexts& restrictions,
                      const XmlaTexts& properties) const;
  XmlElement ask(const std::string& method, const std::string& envelope,
                 std::vector<std::string> headers) const;

  std::string address_;
  HttpLimits limits_;
  HttpAccess access_;
};

}  // namespace importkcd
