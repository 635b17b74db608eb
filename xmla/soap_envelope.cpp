#include "xmla/soap_envelope.h"

namespace importkcd {
namespace {

/// Characters that XML cannot hold become U+FFFD: the server answers that it does not know the
/// name.
std::string escaped(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (c == '&') {
      result += "&amp;";
    } else if (c == '<') {
      result += "&lt;";
    } else if (c == '>') {
      result += "&gt;";
    } else if (c == '\r') {
      result += "&#13;";
    } else if (code < 0x20 && c != '\t' && c != '\n') {
      result += "\xEF\xBF\xBD";
    } else {
      result += c;
    }
  }
  return result;
}

std::string elements(const XmlaTexts& texts) {
  std::string result;
  for (const auto& [name, value] : texts) {
    result.append("<").append(name).append(">");
    result.append(escaped(value)).append("</").append(name).append(">");
  }
  return result;
}

std::string enveloped(const std::string& method, const std::string& content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<Envelope xmlns=\"http://schemas.xmlsoap.org/soap/envelope/\"><Body><" +
         method + " xmlns=\"urn:schemas-microsoft-com:xml-analysis\">" + content + "</" + method +
         "></Body></Envelope>\n";
}

std::string property_list(const XmlaTexts& properties) {
  return "<Properties><PropertyList>" + elements(properties) + "</PropertyList></Properties>";
}

}  // namespace

std::string execute_envelope(std::string_view statement, const XmlaTexts& properties) {
  return enveloped("Execute", "<Command><Statement>" + escaped(statement) +
                                  "</Statement></Command>" + property_list(properties));
}

std::string discover_envelope(std::string_view request_type, const XmlaTexts& restrictions,
                              const XmlaTexts& properties) {
  return enveloped("Discover", "<RequestType>" + escaped(request_type) +
                                   "</RequestType><Restrictions><RestrictionList>" +
                                   elements(restrictions) + "</RestrictionList></Restrictions>" +
                                   property_list(properties));
}

std::string fault_text(const AnswerElement& envelope) {
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
