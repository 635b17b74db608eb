#include "xmla/xmla_client.h"

#include <utility>

#include "base/import_error.h"
#include "base/text.h"
#include "xmla/dataset.h"
#include "xmla/xmla_address.h"

namespace importkcd {
namespace {

constexpr long lowest_failure_status = 300;
constexpr long unauthorized_status = 401;

std::vector<const XmlElement*> rows_of(const XmlElement& envelope) {
  std::vector<const XmlElement*> rows;
  if (const auto* const root = envelope.find("root")) {
    for (const auto& element : root->children) {
      if (element.name == "row") {
        rows.push_back(&element);
      }
    }
  }
  return rows;
}

/// Throws when a server reports an error inside of an answer that is no fault.
void check_exceptions(const XmlElement& envelope) {
  const auto* const root = envelope.find("root");
  const auto* const messages = root == nullptr ? nullptr : root->child("Messages");
  const auto* const error = messages == nullptr ? nullptr : messages->find("Error");
  if (error != nullptr) {
    throw ImportError(std::string(error->attribute("Description")), error_source::xmla_server);
  }
}

}  // namespace

XmlaClient::XmlaClient(std::string address, HttpLimits limits, HttpAccess access)
    : address_(std::move(address)), limits_(limits), access_(std::move(access)) {}

std::vector<std::string> XmlaClient::databases() const {
  std::vector<std::string> names;
  const auto answer = discover("DBSCHEMA_CATALOGS", {}, {});
  for (const auto* const row : rows_of(answer)) {
    names.emplace_back(row->child_text("CATALOG_NAME"));
  }
  return names;
}

std::vector<XmlaCube> XmlaClient::cubes(const std::string& database) const {
  std::vector<XmlaCube> cubes;
  const auto answer =
      discover("MDSCHEMA_CUBES", {{"CATALOG_NAME", database}}, {{"Catalog", database}});
  for (const auto* const row : rows_of(answer)) {
    if (row->child_text("CATALOG_NAME") == database) {
      cubes.push_back({std::string(row->child_text("CUBE_NAME")),
                       row->child_text("CUBE_TYPE") == "VIRTUAL CUBE",
                       std::string(row->child_text("DESCRIPTION"))});
    }
  }
  return cubes;
}

std::vector<UnservedCube> XmlaClient::unserved_cubes(const std::string& database) const {
  std::vector<UnservedCube> cubes;
  XmlElement answer;
  try {
    answer = discover("KCD_UNSERVED_CUBES", {{"CATALOG_NAME", database}}, {{"Catalog", database}});
  } catch (const ImportError&) {
    // A server of another make. One that is gone is found out by the next question.
    return cubes;
  }
  for (const auto* const row : rows_of(answer)) {
    cubes.push_back(
        {std::string(row->child_text("CUBE_NAME")), std::string(row->child_text("REASON"))});
  }
  return cubes;
}

void XmlaClient::forget_figures(const std::string& database) const {
  ask("Execute", clear_cache_envelope(database), {});
}

Dataset XmlaClient::execute(const std::string& mdx, const std::string& database,
                            const std::string& role) const {
  std::vector<std::string> headers;
  if (!role.empty()) {
    headers.push_back("Olap-Role: " + percent_encoded(role, ""));
  }
  const auto envelope = execute_envelope(mdx, {{"Catalog", database},
                                               {"Format", "Multidimensional"},
                                               {"AxisFormat", "TupleFormat"},
                                               {"Content", "Data"}});
  return read_dataset(ask("Execute", envelope, std::move(headers)));
}

XmlElement XmlaClient::discover(const std::string& request_type, const XmlaTexts& restrictions,
                                const XmlaTexts& properties) const {
  auto all = properties;
  all.emplace_back("Format", "Tabular");
  all.emplace_back("Content", "Data");
  return ask("Discover", discover_envelope(request_type, restrictions, all), {});
}

XmlElement XmlaClient::ask(const std::string& method, const std::string& envelope,
                           std::vector<std::string> headers) const {
  headers.emplace_back("Content-Type: text/xml; charset=utf-8");
  headers.push_back("SOAPAction: \"urn:schemas-microsoft-com:xml-analysis:" + method + "\"");
  // The library would wait for a permission that some servers never give.
  headers.emplace_back("Expect:");
  const auto answer = http_post({address_, std::move(headers), envelope, limits_, access_});
  const auto refuse = [&](const std::string& reason) -> ImportError {
    const auto status = answer.status >= lowest_failure_status
                            ? " (HTTP status " + std::to_string(answer.status) + ")"
                            : std::string();
    return {shown_address(address_) + " gives no XMLA answer" + status + ": " + reason,
            error_source::xmla_server};
  };
  if (answer.status == unauthorized_status) {
    // The address may have brought one along.
    const auto shown = shown_address(address_);
    const bool had_login = !access_.user.empty() || shown != address_;
    throw ImportError(
        shown + (had_login ? " refuses the login" : " asks for a login: --user names one"),
        error_source::xmla_server);
  }
  XmlElement root;
  try {
    root = read_xml(answer.body, error_source::xmla_server);
  } catch (const ImportError& error) {
    throw refuse(answer.body.empty() ? "it is empty" : error.description());
  }
  if (root.name != "Envelope") {
    throw refuse("it is an XML document of another kind (" + root.name + ")");
  }
  if (const auto fault = fault_text(root); !fault.empty()) {
    throw ImportError(fault, error_source::xmla_server);
  }
  check_exceptions(root);
  if (root.find("root") == nullptr) {
    throw refuse("it has no result");
  }
  return root;
}

}  // namespace importkcd
