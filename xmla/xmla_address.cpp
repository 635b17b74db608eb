#include "xmla/xmla_address.h"

#include "base/name_folding.h"

namespace importkcd {
namespace {

bool begins_with(std::string_view text, std::string_view start) {
  return same_name(text.substr(0, start.size()), start);
}

struct AddressParts {
  /// "http://"
  std::string_view scheme;
  /// "host:port/path", without user and password.
  std::string_view place;
};

AddressParts split(std::string_view address) {
  const auto slashes = address.find("://");
  const auto start = slashes == std::string_view::npos ? 0 : slashes + 3;
  auto place = address.substr(start);
  const auto authority = place.substr(0, place.find_first_of("/?#"));
  if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
    place.remove_prefix(at + 1);
  }
  return {address.substr(0, start), place};
}

}  // namespace

bool is_xmla_address(std::string_view text) {
  return begins_with(text, "http://") || begins_with(text, "https://");
}

std::string shown_address(std::string_view address) {
  const auto parts = split(address);
  return std::string(parts.scheme).append(parts.place);
}

bool is_loopback_address(std::string_view address) {
  const auto place = split(address).place;
  const auto host = place.starts_with('[') ? place.substr(0, place.find(']') + 1)
                                           : place.substr(0, place.find_first_of(":/?#"));
  return host == "[::1]" || host.starts_with("127.") ||
         (host.size() == std::string_view("localhost").size() && begins_with(host, "localhost"));
}

}  // namespace importkcd
