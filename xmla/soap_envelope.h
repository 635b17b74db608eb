#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/xml_element.h"

namespace importkcd {

/// Names and texts, in the order in which they are sent.
using XmlaTexts = std::vector<std::pair<std::string, std::string>>;

/// The SOAP envelope of an Execute request. `properties` are the XMLA properties.
std::string execute_envelope(std::string_view statement, const XmlaTexts& properties);

/// The SOAP envelope of a Discover request.
std::string discover_envelope(std::string_view request_type, const XmlaTexts& restrictions,
                              const XmlaTexts& properties);

/// The SOAP envelope of the order to forget the figures of a database; without a name, of all.
std::string clear_cache_envelope(std::string_view database);

/// The text of the fault that an answer carries: the description in its details when it has one, or
/// its own text. Empty when the answer carries no fault.
std::string fault_text(const XmlElement& envelope);

}  // namespace importkcd
