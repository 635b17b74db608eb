#include "tests/support/tds_protocol.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "base/text_encoding.h"

namespace importkcd::testing {
namespace {

using namespace std::string_view_literals;

constexpr unsigned byte_bits = 8;
constexpr std::string_view collation = "\x09\x04\xD0\x00\x34"sv;

namespace token {
constexpr std::uint8_t column_metadata = 0x81;
constexpr std::uint8_t error = 0xAA;
constexpr std::uint8_t information = 0xAB;
constexpr std::uint8_t login_acknowledgement = 0xAD;
constexpr std::uint8_t return_status = 0x79;
constexpr std::uint8_t row = 0xD1;
constexpr std::uint8_t environment_change = 0xE3;
constexpr std::uint8_t done = 0xFD;
constexpr std::uint8_t done_procedure = 0xFE;
constexpr std::uint8_t done_in_procedure = 0xFF;
}  // namespace token

namespace type {
constexpr std::uint8_t integer = 0x26;
constexpr std::uint8_t text = 0xE7;
constexpr std::uint16_t no_limit = 0xFFFF;
}  // namespace type

std::string wide(std::string_view text) {
  std::string bytes;
  for (const char16_t unit : utf16_text(text)) {
    bytes += static_cast<char>(unit & 0xFFU);
    bytes += static_cast<char>(unit >> byte_bits);
  }
  return bytes;
}

std::string narrow(std::string_view bytes) {
  std::u16string units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    units += static_cast<char16_t>(static_cast<std::uint8_t>(bytes[i]) |
                                   (static_cast<std::uint8_t>(bytes[i + 1]) << byte_bits));
  }
  return utf8_text(units);
}

std::size_t number_at(std::string_view message, std::size_t at, std::size_t bytes) {
  std::size_t value = 0;
  for (std::size_t i = bytes; i-- > 0;) {
    value = (value << byte_bits) | static_cast<std::uint8_t>(message.at(at + i));
  }
  return value;
}

/// The bytes of a text of the login message whose place stands at `at`.
std::string_view login_text(std::string_view message, std::size_t at) {
  return message.substr(number_at(message, at, 2), 2 * number_at(message, at + 2, 2));
}

std::string revealed(std::string_view password) {
  std::string bytes;
  for (const char c : password) {
    const auto swapped = static_cast<unsigned>(static_cast<std::uint8_t>(c)) ^ 0xA5U;
    bytes += static_cast<char>(((swapped << 4U) | (swapped >> 4U)) & 0xFFU);
  }
  return bytes;
}

}  // namespace

TdsLogin parse_tds_login(std::string_view message) {
  constexpr std::size_t flags_at = 25;
  constexpr std::size_t user_at = 40;
  constexpr std::size_t password_at = 44;
  constexpr std::size_t database_at = 68;
  TdsLogin login;
  login.user = narrow(login_text(message, user_at));
  login.password = narrow(revealed(login_text(message, password_at)));
  login.database = narrow(login_text(message, database_at));
  login.integrated_security = (number_at(message, flags_at, 1) & 0x80U) != 0;
  return login;
}

std::string parse_tds_batch(std::string_view message) {
  return narrow(message.substr(number_at(message, 0, 4)));
}

std::string parse_tds_procedure(std::string_view message) {
  const auto headers = number_at(message, 0, 4);
  const auto length = number_at(message, headers, 2);
  return narrow(message.substr(headers + 2, 2 * length));
}

void TdsAnswer::number(std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) {
    bytes_ += static_cast<char>(value & 0xFFU);
    value >>= byte_bits;
  }
}

void TdsAnswer::short_text(std::string_view text) {
  const auto bytes = wide(text);
  number(bytes.size() / 2, 1);
  bytes_ += bytes;
}

TdsAnswer& TdsAnswer::prelogin() {
  // Version, encryption (not supported) and multiple result sets (none): places, then values.
  bytes_ +=
      "\x00\x00\x10\x00\x06"
      "\x01\x00\x16\x00\x01"
      "\x04\x00\x17\x00\x01"
      "\xFF"
      "\x0F\x00\x08\x00\x00\x00"
      "\x02"
      "\x00"sv;
  return *this;
}

TdsAnswer& TdsAnswer::login_acknowledged() {
  constexpr std::string_view interface_and_version = "\x01\x74\x00\x00\x04"sv;
  constexpr std::string_view program_version = "\x0F\x00\x08\x00"sv;
  const std::string_view program = "Microsoft SQL Server";
  number(token::login_acknowledgement, 1);
  number(interface_and_version.size() + 1 + 2 * program.size() + program_version.size(), 2);
  bytes_ += interface_and_version;
  short_text(program);
  bytes_ += program_version;
  return *this;
}

void TdsAnswer::change(std::uint8_t kind, std::string_view new_value, std::string_view old_value) {
  number(token::environment_change, 1);
  number(1 + 1 + wide(new_value).size() + 1 + wide(old_value).size(), 2);
  number(kind, 1);
  short_text(new_value);
  short_text(old_value);
}

TdsAnswer& TdsAnswer::database_changed(std::string_view name, std::string_view former) {
  constexpr std::uint8_t database = 1;
  constexpr std::uint32_t changed_database_context = 5701;
  change(database, name, former);
  return information(changed_database_context,
                     "Changed database context to '" + std::string(name) + "'.");
}

void TdsAnswer::message(std::uint8_t token, std::uint32_t number_of_message, std::uint8_t severity,
                        std::string_view text) {
  const std::string_view server = "TEST";
  const auto bytes = wide(text);
  number(token, 1);
  number(4 + 1 + 1 + 2 + bytes.size() + 1 + 2 * server.size() + 1 + 4, 2);
  number(number_of_message, 4);
  number(1, 1);
  number(severity, 1);
  number(bytes.size() / 2, 2);
  bytes_ += bytes;
  short_text(server);
  short_text("");
  number(1, 4);
}

TdsAnswer& TdsAnswer::error(std::uint32_t number_of_message, std::string_view text) {
  constexpr std::uint8_t severity = 16;
  message(token::error, number_of_message, severity, text);
  return *this;
}

TdsAnswer& TdsAnswer::information(std::uint32_t number_of_message, std::string_view text) {
  message(token::information, number_of_message, 0, text);
  return *this;
}

TdsAnswer& TdsAnswer::columns(const std::vector<TdsColumn>& columns) {
  constexpr std::uint16_t nullable = 1;
  number(token::column_metadata, 1);
  number(columns.size(), 2);
  for (const auto& column : columns) {
    number(0, 4);
    number(nullable, 2);
    if (column.is_integer) {
      number(type::integer, 1);
      number(4, 1);
    } else {
      number(type::text, 1);
      number(column.length == 0 ? type::no_limit : 2U * column.length, 2);
      bytes_ += collation;
    }
    short_text(column.name);
  }
  return *this;
}

void TdsAnswer::text_value(const TdsColumn& column, const std::optional<std::string>& value) {
  constexpr std::uint64_t null = ~std::uint64_t{0};
  const auto bytes = wide(value.value_or(""));
  if (column.length != 0) {
    number(value ? bytes.size() : type::no_limit, 2);
  } else if (!value) {
    number(null, 8);
    return;
  } else {
    number(bytes.size(), 8);
    if (!bytes.empty()) {
      number(bytes.size(), 4);
      bytes_ += bytes;
    }
    number(0, 4);
    return;
  }
  bytes_ += bytes;
}

TdsAnswer& TdsAnswer::row(const std::vector<TdsColumn>& columns,
                          const std::vector<std::optional<std::string>>& values) {
  number(token::row, 1);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const auto& value = values.at(i);
    if (!columns[i].is_integer) {
      text_value(columns[i], value);
    } else {
      number(value ? 4 : 0, 1);
      number(value ? static_cast<std::uint32_t>(std::stol(*value)) : 0, value ? 4 : 0);
    }
  }
  return *this;
}

TdsAnswer& TdsAnswer::end(std::uint8_t token, std::uint16_t status, std::uint64_t rows) {
  number(token, 1);
  number(status, 2);
  number(0, 2);
  number(rows, 8);
  return *this;
}

TdsAnswer& TdsAnswer::done(std::uint64_t rows) {
  constexpr std::uint16_t with_count = 0x10;
  return end(token::done, with_count, rows);
}

TdsAnswer& TdsAnswer::procedure_done(std::uint64_t rows) {
  constexpr std::uint16_t with_count_and_more = 0x11;
  end(token::done_in_procedure, with_count_and_more, rows);
  number(token::return_status, 1);
  number(0, 4);
  return end(token::done_procedure, 0, 0);
}

TdsAnswer& TdsAnswer::done_with_error() {
  constexpr std::uint16_t failed = 0x02;
  return end(token::done, failed, 0);
}

TdsAnswer& TdsAnswer::done_with_attention() {
  constexpr std::uint16_t attention = 0x20;
  return end(token::done, attention, 0);
}

}  // namespace importkcd::testing
