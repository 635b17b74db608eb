#include "base/connection_text.h"

#include <algorithm>
#include <cstddef>

#include "base/name_folding.h"
#include "base/quoting.h"
#include "base/text.h"

namespace importkcd {
namespace {

/// Takes the value of an item off the front of `rest`, up to the next semicolon outside of quotes.
void take_value(std::string_view& rest, std::string_view opening_quotes, ConnectionItem& item) {
  const auto start = std::min(rest.find_first_not_of(blanks), rest.size());
  auto end = start;
  if (start < rest.size() && opening_quotes.find(rest[start]) != std::string_view::npos) {
    const auto after = end_of_quotes(rest, start);
    const bool is_closed = after != std::string_view::npos;
    end = is_closed ? after : rest.size();
    item.closing_quote = closing_quote(rest[start]);
    item.quoted = rest.substr(start + 1, end - start - (is_closed ? 2 : 1));
  }
  item.value = rest.substr(0, rest.find(';', end));
  rest.remove_prefix(item.value.size());
}

bool names_a_password(std::string_view key) {
  const auto folded = lower_cased(key);
  return folded.find("password") != std::string::npos ||
         folded.find("passwd") != std::string::npos || folded.find("pwd") != std::string::npos;
}

constexpr std::string_view mask = "***";

std::string mask_items(std::string_view connection_string);

std::string masked_value(const ConnectionItem& item) {
  bool secret = names_a_password(item.key);
  std::string shown(item.value);
  if (item.closing_quote != '\0') {
    const auto masked =
        doubled(mask_items(undoubled(item.quoted, item.closing_quote)), item.closing_quote);
    const auto start = static_cast<std::size_t>(item.quoted.data() - item.value.data());
    const auto behind = item.value.substr(start + item.quoted.size());
    shown = item.value.substr(0, start);
    shown.append(masked).append(behind);
    // A password that holds the closing quote goes on behind it.
    const auto unquoted = behind.substr(std::min<std::size_t>(1, behind.size()));
    secret = secret || (masked != item.quoted && !trimmed(unquoted).empty());
  }
  return secret && !trimmed(item.value).empty() ? std::string(mask) : shown;
}

std::string mask_items(std::string_view connection_string) {
  std::string result;
  const char* copied = connection_string.data();
  for (const auto& item : connection_items(connection_string, all_connection_quotes)) {
    result.append(copied, item.value.data()).append(masked_value(item));
    copied = item.value.data() + item.value.size();
  }
  return result.append(copied, connection_string.data() + connection_string.size());
}

/// Whether there is nothing (left) to hide in a value, whatever quotes are closed behind it.
bool is_harmless(std::string_view value) {
  const auto bare = trimmed(value, " \t\r\n\"'{}()[]");
  return bare.empty() || bare == mask;
}

/// Masks the values that follow the key of a password anywhere: as parameters of an address, and
/// where quotes of a message and of what it quotes are entangled.
void mask_stray_values(std::string& text) {
  constexpr std::string_view before_keys = " \t\r\n?&;,'\"{(=";
  for (auto at = text.find('='); at != std::string::npos; at = text.find('=', at + 1)) {
    const auto before = trimmed(std::string_view(text).substr(0, at));
    const auto separator = before.find_last_of(before_keys);
    if (!names_a_password(before.substr(separator + 1))) {
      continue;
    }
    const bool is_parameter = separator != std::string_view::npos &&
                              (before[separator] == '?' || before[separator] == '&');
    auto end = std::min(text.find_first_of(is_parameter ? "&; \t\r\n" : ";", at), text.size());
    if (is_parameter) {
      // A message may have quoted the address.
      end = text.find_last_not_of("\"')}].,:", end - 1) + 1;
    }
    if (end > at + 1 && !is_harmless(std::string_view(text).substr(at + 1, end - at - 1))) {
      text.replace(at + 1, end - at - 1, mask);
    }
  }
}

/// Masks the password between a login's user, which stands at `start`, and the last "@" behind it.
void mask_login(std::string& text, std::size_t start, char before_password) {
  const auto whole = std::string_view(text).substr(start);
  auto login = whole.substr(0, whole.find_first_of("; \t\r\n\""));
  const auto parameters = std::min(login.find('?'), login.size());
  if (login.substr(0, login.rfind('@')).find('=', parameters) != std::string_view::npos) {
    login = login.substr(0, parameters);
  }
  const auto end = login.rfind('@');
  const auto begin = login.find(before_password);
  if (end != std::string_view::npos && begin < end) {
    text.replace(start + begin + 1, end - begin - 1, mask);
  }
}

void mask_logins(std::string& text) {
  constexpr std::string_view beside_host = "//";
  for (auto at = text.find(beside_host); at != std::string::npos;
       at = text.find(beside_host, at + beside_host.size())) {
    mask_login(text, at + beside_host.size(), ':');
  }
  for (const std::string_view driver : {"thin:", "oci:", "oci8:"}) {
    for (std::size_t at = 0; at + driver.size() <= text.size(); ++at) {
      if (same_name(std::string_view(text).substr(at, driver.size()), driver)) {
        mask_login(text, at + driver.size(), '/');
      }
    }
  }
}

/// Takes what stands behind the separator off the end of `text`.
std::string_view take_tail(std::string_view& text, char separator) {
  const auto at = text.find(separator);
  if (at == std::string_view::npos) {
    return {};
  }
  const auto tail = text.substr(at + 1);
  text = text.substr(0, at);
  return trimmed(tail, " ");
}

bool means_this_computer(std::string_view host) {
  return host.empty() || host == "." || same_name(host, "(local)");
}

}  // namespace

std::vector<ConnectionItem> connection_items(std::string_view connection_string,
                                             std::string_view opening_quotes) {
  std::vector<ConnectionItem> items;
  auto rest = connection_string;
  while (!rest.empty()) {
    auto& item = items.emplace_back();
    const auto key_end = std::min(rest.find_first_of("=;"), rest.size());
    item.key = trimmed(rest.substr(0, key_end));
    item.value = rest.substr(key_end, 0);
    rest.remove_prefix(key_end);
    if (rest.starts_with('=')) {
      rest.remove_prefix(1);
      take_value(rest, opening_quotes, item);
    }
    rest.remove_prefix(std::min<std::size_t>(1, rest.size()));
  }
  return items;
}

ConnectionValues::ConnectionValues(std::string_view connection_string) {
  for (const auto& item : connection_items(connection_string, all_connection_quotes)) {
    values_.emplace_back(item.key, item.closing_quote == '\0'
                                       ? std::string(trimmed(item.value))
                                       : undoubled(item.quoted, item.closing_quote));
  }
}

std::string ConnectionValues::value(std::initializer_list<std::string_view> keys) const {
  for (const auto key : keys) {
    const auto found = std::find_if(values_.begin(), values_.end(),
                                    [key](const auto& item) { return same_name(item.first, key); });
    if (found != values_.end()) {
      return found->second;
    }
  }
  return {};
}

std::string mask_passwords(std::string_view text) {
  auto result = mask_items(text);
  mask_stray_values(result);
  mask_logins(result);
  return result;
}

std::string without_passwords(std::string_view connection_string) {
  if (mask_passwords(connection_string) == connection_string) {
    return std::string(connection_string);
  }
  std::string kept;
  const char* begin = connection_string.data();
  for (const auto& item : connection_items(connection_string, all_connection_quotes)) {
    const char* const end = item.value.data() + item.value.size();
    if (item.value.empty() || masked_value(item) != mask) {
      kept.append(begin, end) += ';';
    }
    begin = end + 1;
  }
  if (!kept.empty()) {
    kept.pop_back();
  }
  return mask_passwords(kept);
}

ServerAddress server_address(std::string_view server) {
  constexpr std::string_view protocol = "tcp:";
  auto rest = trimmed(server, " ");
  if (same_name(rest.substr(0, protocol.size()), protocol)) {
    rest.remove_prefix(protocol.size());
  }
  ServerAddress address;
  address.port = take_tail(rest, ',');
  address.instance = take_tail(rest, '\\');
  const auto host = trimmed(rest, " ");
  address.host = means_this_computer(host) ? "localhost" : std::string(host);
  return address;
}

}  // namespace importkcd
