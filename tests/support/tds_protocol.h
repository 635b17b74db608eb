#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace importkcd::testing {

/// The part of the Tabular Data Stream protocol, version 7.4, that a small server needs. Integers
/// are little-endian on the wire, texts UTF-16LE; here texts are UTF-8.

/// What a client's message is.
enum class TdsMessageType : std::uint8_t {
  sql_batch = 0x01,
  rpc = 0x03,
  response = 0x04,
  attention = 0x06,
  transaction = 0x0E,
  login = 0x10,
  prelogin = 0x12,
};

/// A login as it arrived.
struct TdsLogin {
  std::string user;
  std::string password;
  std::string database;
  bool integrated_security = false;
};

TdsLogin parse_tds_login(std::string_view message);

/// The statement of a batch.
std::string parse_tds_batch(std::string_view message);

/// The name of the stored procedure that an RPC message calls.
std::string parse_tds_procedure(std::string_view message);

/// A column of a result.
struct TdsColumn {
  std::string name;
  /// Whether it is an integer of four bytes; otherwise it is text.
  bool is_integer = false;
  /// The declared length of a text in characters; 0 for text without a limit.
  std::uint16_t length = 0;
};

/// Builds the answer to a message, token by token.
class TdsAnswer {
 public:
  TdsAnswer& prelogin();
  TdsAnswer& login_acknowledged();
  TdsAnswer& database_changed(std::string_view name, std::string_view former);
  TdsAnswer& error(std::uint32_t number, std::string_view text);
  TdsAnswer& information(std::uint32_t number, std::string_view text);
  TdsAnswer& columns(const std::vector<TdsColumn>& columns);
  /// The values of a row, in the order of `columns`; integers in decimal.
  TdsAnswer& row(const std::vector<TdsColumn>& columns,
                 const std::vector<std::optional<std::string>>& values);
  TdsAnswer& done(std::uint64_t rows);
  /// What ends the answer to a stored procedure.
  TdsAnswer& procedure_done(std::uint64_t rows);
  TdsAnswer& done_with_error();
  TdsAnswer& done_with_attention();

  const std::string& bytes() const { return bytes_; }

 private:
  void number(std::uint64_t value, int bytes);
  TdsAnswer& end(std::uint8_t token, std::uint16_t status, std::uint64_t rows);
  void short_text(std::string_view text);
  void message(std::uint8_t token, std::uint32_t number, std::uint8_t severity,
               std::string_view text);
  void change(std::uint8_t kind, std::string_view new_value, std::string_view old_value);
  void text_value(const TdsColumn& column, const std::optional<std::string>& value);

  std::string bytes_;
};

}  // namespace importkcd::testing
