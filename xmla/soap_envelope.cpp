#include "xmla/soap_envelope.h"

#include <algorithm>

#include "base/text_encoding.h"

namespace importkcd {
namespace {

/// Characters that XML cannot hold, and bytes that are no UTF-8, become U+FFFD: the server answers
/// that it does not know the name.
std::string sendable(std::string_view text) {
  auto units = utf16_text(text);
  const auto is_control = [](char16_t unit) {
    return unit < 0x20 && unit != u'\t' && unit != u'\n' && unit != u'\r';
  };
  std::replace_if(units.begin(), units.end(), is_control, u'\uFFFD');
  return utf8_text(units);
}

/// An element with one child for each of the texts.
XmlElement list_element(std::string name, const XmlaTexts& texts) {
  auto list = text_element(std::move(name), {});
  for (const auto& [text_name, text] : texts) {
    list.add(text_element(text_name, sendable(text)));
  }
  return list;
}

XmlElement element_around(std::string name, XmlElement child) {
  auto element = text_element(std::move(name), {});
  element.add(std::move(child));
  return element;
}

/// A request: what it asks for, and the XMLA properties.
std::string enveloped(XmlElement method, const XmlaTexts& properties) {
  method.set("xmlns", "urn:schemas-microsoft-com:xml-analysis");
  method.add(element_around("Properties", list_element("PropertyList", properties)));
  auto envelope = element_around("Envelope", element_around("Body", std::move(method)));
  envelope.set("xmlns", "http://schemas.xmlsoap.org/soap/envelope/");
  return xml_document(envelope, "", XmlLayout::compact);
}

}  // namespace

std::string execute_envelope(std::string_view statement, const XmlaTexts& properties) {
  auto command = element_around("Command", text_element("Statement", sendable(statement)));
  return enveloped(element_around("Execute", std::move(command)), properties);
}

std::string discover_envelope(std::string_view request_type, const XmlaTexts& restrictions,
                              const XmlaTexts& properties) {
  auto discover = element_around("Discover", text_element("RequestType", sendable(request_type)));
  discover.add(element_around("Restrictions", list_element("RestrictionList", restrictions)));
  return enveloped(std::move(discover), properties);
}

std::string clear_cache_envelope(std::string_view database) {
  auto order = text_element("ClearCache", {});
  if (!database.empty()) {
    order.add(element_around("Object", text_element("DatabaseID", sendable(database))));
  }
  auto command = element_around("Command", std::move(order));
  return enveloped(element_around("Execute", std::move(command)), {});
}

std::string fault_text(const XmlElement& envelope) {
  const auto* const body = envelope.child("Body");
  const auto* const fault = body == nullptr ? nullptr : body->child("Fault");
  if (fault == nullptr) {
    return "";
  }
  if (const auto* const detail = fault->child("detail")) {
    if (const auto* const description = detail->find("desc")) {
      return description->text;
    }
    if (const auto* const error = detail->find("Error")) {
      return std::string(error->attribute("Description"));
    }
  }
  const auto text = fault->child_text("faultstring");
  return text.empty() ? "a fault without a text" : std::string(text);
}

}  // namespace importkcd
