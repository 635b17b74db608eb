#include "tests/support/tds_server.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace importkcd::testing {
namespace {

constexpr std::size_t header_bytes = 8;
constexpr std::size_t packet_bytes = 4096;

struct Message {
  TdsMessageType type{};
  std::string content;
};

/// One client's connection; bytes go in packets.
class TdsSocket {
 public:
  explicit TdsSocket(int number) : number_(number) {}

  std::optional<Message> receive() const {
    Message message;
    while (true) {
      std::string header;
      if (!receive_exactly(header_bytes, header)) {
        return std::nullopt;
      }
      const auto length = static_cast<std::size_t>(static_cast<unsigned char>(header[2])) * 256 +
                          static_cast<unsigned char>(header[3]);
      if (length < header_bytes || !receive_exactly(length - header_bytes, message.content)) {
        return std::nullopt;
      }
      message.type = static_cast<TdsMessageType>(header[0]);
      if ((static_cast<unsigned char>(header[1]) & 1U) != 0) {
        return message;
      }
    }
  }

  /// Without an end the client waits for more.
  void send(std::string_view bytes, bool with_end) const {
    do {
      const auto piece = bytes.substr(0, packet_bytes - header_bytes);
      bytes.remove_prefix(piece.size());
      const auto length = piece.size() + header_bytes;
      std::string packet(header_bytes, '\0');
      packet[0] = static_cast<char>(TdsMessageType::response);
      packet[1] = bytes.empty() && with_end ? 1 : 0;
      packet[2] = static_cast<char>(length / 256);
      packet[3] = static_cast<char>(length % 256);
      packet.append(piece);
      send_packet(packet);
    } while (!bytes.empty());
  }

 private:
  bool receive_exactly(std::size_t count, std::string& content) const {
    std::array<char, packet_bytes> buffer{};
    while (count > 0) {
      const auto received = ::recv(number_, buffer.data(), std::min(count, buffer.size()), 0);
      if (received <= 0) {
        return false;
      }
      content.append(buffer.data(), static_cast<std::size_t>(received));
      count -= static_cast<std::size_t>(received);
    }
    return true;
  }

  void send_packet(std::string_view packet) const {
    while (!packet.empty()) {
      const auto sent = ::send(number_, packet.data(), packet.size(), MSG_NOSIGNAL);
      if (sent <= 0) {
        return;
      }
      packet.remove_prefix(static_cast<std::size_t>(sent));
    }
  }

  int number_;
};

bool begins_with(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// SQL Server's spelling of texts and their types as SQLite takes it.
std::string for_sqlite(const std::string& batch) {
  return replaced(replaced(batch, " N'", " '"), "NVARCHAR(MAX)", "TEXT");
}

/// "use [a]]b]" names the database "a]b", and so does every statement with a name in brackets.
std::string name_in_brackets(std::string_view batch) {
  std::string name;
  const auto begin = batch.find('[');
  for (auto i = begin + 1; begin != std::string_view::npos && i < batch.size(); ++i) {
    if (batch[i] == ']' && batch.substr(i + 1, 1) != "]") {
      break;
    }
    i += batch[i] == ']' ? 1 : 0;
    name += batch[i];
  }
  return name;
}

/// A column like the one that SQLite declares: INT is a number, VARCHAR(N) a text of that length.
TdsColumn column_of(const SQLite::Statement& statement, int index) {
  TdsColumn column;
  column.name = statement.getColumnName(index);
  std::string type;
  try {
    type = statement.getColumnDeclaredType(index);
  } catch (const SQLite::Exception&) {
    return column;  // an expression; text without a limit
  }
  column.is_integer = type.find("INT") != std::string::npos;
  const auto parenthesis = type.find('(');
  if (parenthesis != std::string::npos) {
    column.length = static_cast<std::uint16_t>(std::stoi(type.substr(parenthesis + 1)));
  }
  return column;
}

std::vector<std::optional<std::string>> values_of(SQLite::Statement& statement) {
  std::vector<std::optional<std::string>> values;
  for (int i = 0; i < statement.getColumnCount(); ++i) {
    const auto value = statement.getColumn(i);
    values.push_back(value.isNull() ? std::nullopt : std::optional(value.getString()));
  }
  return values;
}

}  // namespace

class TdsServer::Implementation {
 public:
  explicit Implementation(const std::vector<DatabaseContent>& databases) {
    for (const auto& [name, statements] : databases) {
      create(name);
      for (const auto& statement : statements) {
        databases_[name]->exec(statement);
      }
    }
    listen_on_free_port();
    acceptor_ = std::thread([this] { accept_clients(); });
  }

  ~Implementation() {
    ::shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    for (auto& client : clients_) {
      ::shutdown(client.socket, SHUT_RDWR);
      client.thread.join();
      ::close(client.socket);
    }
    ::close(listener_);
  }

  Implementation(const Implementation&) = delete;
  Implementation& operator=(const Implementation&) = delete;

  std::uint16_t port() const { return port_; }

  /// What clients and the test share is used under this lock.
  mutable std::mutex mutex;
  std::vector<std::string> batches;
  std::vector<TdsLogin> logins;
  Breakdown breakdown = Breakdown::none;
  int rows_before_breakdown = 0;
  bool ignores_everything = false;

 private:
  struct Client {
    int socket = -1;
    std::thread thread;
  };
  enum class Next { go_on, hang_up, fall_silent };

  void create(const std::string& name) {
    names_.push_back(name);
    databases_[name] = std::make_unique<SQLite::Database>(
        ":memory:", SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  }

  void drop(const std::string& name) {
    names_.erase(std::remove(names_.begin(), names_.end(), name), names_.end());
    databases_.erase(name);
  }

  void listen_on_free_port() {
    constexpr int waiting_clients = 16;
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof(address);
    EXPECT_EQ(::bind(listener_, generic, length), 0);
    EXPECT_EQ(::listen(listener_, waiting_clients), 0);
    EXPECT_EQ(::getsockname(listener_, generic, &length), 0);
    port_ = ntohs(address.sin_port);
  }

  void accept_clients() {
    while (true) {
      const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (socket < 0) {
        return;
      }
      clients_.push_back({socket, std::thread([this, socket] { serve(socket); })});
    }
  }

  void serve(int number) {
    const TdsSocket socket(number);
    std::string database = first_database();
    while (const auto message = socket.receive()) {
      TdsAnswer answer;
      auto next = Next::go_on;
      {
        const std::lock_guard lock(mutex);
        if (ignores_everything) {
          continue;
        }
        next = respond(*message, database, answer);
      }
      socket.send(answer.bytes(), next == Next::go_on);
      if (next == Next::hang_up) {
        break;
      }
    }
    ::shutdown(number, SHUT_RDWR);
  }

  std::string first_database() const {
    const std::lock_guard lock(mutex);
    return names_.front();
  }

  Next respond(const Message& message, std::string& database, TdsAnswer& answer) {
    switch (message.type) {
      case TdsMessageType::prelogin:
        answer.prelogin();
        return Next::go_on;
      case TdsMessageType::login:
        return log_in(parse_tds_login(message.content), database, answer);
      case TdsMessageType::sql_batch:
        batches.push_back(parse_tds_batch(message.content));
        return run(batches.back(), database, answer);
      case TdsMessageType::rpc:
        batches.push_back("exec " + parse_tds_procedure(message.content));
        call(batches.back(), answer);
        return Next::go_on;
      case TdsMessageType::attention:
        answer.done_with_attention();
        return Next::go_on;
      default:
        answer.error(1, "This server does not know that message").done_with_error();
        return Next::go_on;
    }
  }

  Next log_in(const TdsLogin& login, const std::string& database, TdsAnswer& answer) {
    constexpr std::uint32_t login_failed = 18456;
    logins.push_back(login);
    if (login.integrated_security || login.user != user || login.password != password) {
      answer.error(login_failed, "Login failed for user '" + login.user + "'.").done_with_error();
      return Next::hang_up;
    }
    answer.database_changed(database, "").login_acknowledged().done(0);
    return Next::go_on;
  }

  Next run(const std::string& batch, std::string& database, TdsAnswer& answer) {
    if (begins_with(batch, "use ") || begins_with(batch, "USE ")) {
      use(name_in_brackets(batch), database, answer);
    } else if (begins_with(batch, "CREATE DATABASE ")) {
      create(name_in_brackets(batch));
      answer.done(0);
    } else if (begins_with(batch, "DROP DATABASE ")) {
      drop(name_in_brackets(batch));
      answer.done(0);
    } else if (begins_with(batch, "set ") || begins_with(batch, "SET ")) {
      answer.done(0);
    } else {
      return query(batch, database, answer);
    }
    return Next::go_on;
  }

  void use(const std::string& wanted, std::string& database, TdsAnswer& answer) {
    constexpr std::uint32_t no_such_database = 911;
    if (databases_.count(wanted) == 0) {
      answer.error(no_such_database, "Database '" + wanted + "' does not exist.").done_with_error();
      return;
    }
    answer.database_changed(wanted, database).done(0);
    database = wanted;
  }

  void call(const std::string& procedure, TdsAnswer& answer) const {
    constexpr std::uint32_t no_such_procedure = 2812;
    if (procedure == "exec sp_tables") {
      list_databases(answer);
    } else {
      answer.error(no_such_procedure, "Could not find the stored procedure.").done_with_error();
    }
  }

  void list_databases(TdsAnswer& answer) const {
    constexpr std::uint16_t name_length = 128;
    const std::vector<TdsColumn> columns{{"TABLE_QUALIFIER", false, name_length},
                                         {"TABLE_OWNER", false, name_length},
                                         {"TABLE_NAME", false, name_length},
                                         {"TABLE_TYPE", false, name_length},
                                         {"REMARKS", false, name_length}};
    answer.columns(columns);
    for (const auto& name : names_) {
      answer.row(columns, {name, std::nullopt, std::nullopt, std::nullopt, std::nullopt});
    }
    answer.procedure_done(names_.size());
  }

  Next query(const std::string& batch, const std::string& database, TdsAnswer& answer) const {
    constexpr std::uint32_t wrong_statement = 102;
    try {
      SQLite::Statement statement(*databases_.at(database), for_sqlite(batch));
      std::vector<TdsColumn> columns;
      columns.reserve(static_cast<std::size_t>(statement.getColumnCount()));
      for (int i = 0; i < statement.getColumnCount(); ++i) {
        columns.push_back(column_of(statement, i));
      }
      if (!columns.empty()) {
        answer.columns(columns);
      }
      std::uint64_t rows = 0;
      while (statement.executeStep()) {
        if (breakdown != Breakdown::none &&
            rows == static_cast<std::uint64_t>(rows_before_breakdown)) {
          return breakdown == Breakdown::hangs_up ? Next::hang_up : Next::fall_silent;
        }
        answer.row(columns, values_of(statement));
        ++rows;
      }
      answer.done(rows);
    } catch (const std::exception& error) {
      // A wrong statement, or a database that another client has dropped.
      answer.error(wrong_statement, error.what()).done_with_error();
    }
    return Next::go_on;
  }

  std::vector<std::string> names_;
  std::map<std::string, std::unique_ptr<SQLite::Database>> databases_;
  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::thread acceptor_;
  std::vector<Client> clients_;
};

TdsServer::TdsServer(const std::vector<DatabaseContent>& databases)
    : implementation_(std::make_unique<Implementation>(databases)) {}

TdsServer::~TdsServer() = default;

std::string TdsServer::address() const {
  return "127.0.0.1," + std::to_string(implementation_->port());
}

std::vector<std::string> TdsServer::batches() const {
  const std::lock_guard lock(implementation_->mutex);
  return implementation_->batches;
}

std::vector<TdsLogin> TdsServer::logins() const {
  const std::lock_guard lock(implementation_->mutex);
  return implementation_->logins;
}

void TdsServer::forget_batches() {
  const std::lock_guard lock(implementation_->mutex);
  implementation_->batches.clear();
}

void TdsServer::break_down_after(int rows, Breakdown breakdown) {
  const std::lock_guard lock(implementation_->mutex);
  implementation_->rows_before_breakdown = rows;
  implementation_->breakdown = breakdown;
}

void TdsServer::ignore_everything() {
  const std::lock_guard lock(implementation_->mutex);
  implementation_->ignores_everything = true;
}

}  // namespace importkcd::testing
