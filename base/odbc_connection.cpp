#include "base/odbc_connection.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "base/shared_library.h"
#include "base/text_encoding.h"

namespace importkcd {
namespace {

/// The functions of the ODBC driver manager.
struct OdbcLibrary {
  /// Throws ImportError of the component `source` when there is no driver manager; may be called
  /// from any thread.
  static const OdbcLibrary& get(std::string_view source) {
    static const OdbcLibrary functions(source);
    return functions;
  }

  explicit OdbcLibrary(std::string_view source) : library(ODBC_LIBRARY, "ODBC", source) {}

  SharedLibrary library;
  LibraryFunction<decltype(&SQLAllocHandle)> alloc_handle{library, "SQLAllocHandle"};
  LibraryFunction<decltype(&SQLFreeHandle)> free_handle{library, "SQLFreeHandle"};
  LibraryFunction<decltype(&SQLGetDiagRecW)> get_diag_rec{library, "SQLGetDiagRecW"};
  LibraryFunction<decltype(&SQLSetEnvAttr)> set_env_attr{library, "SQLSetEnvAttr"};
  LibraryFunction<decltype(&SQLSetConnectAttr)> set_connect_attr{library, "SQLSetConnectAttr"};
  LibraryFunction<decltype(&SQLSetConnectAttrW)> set_connect_text{library, "SQLSetConnectAttrW"};
  LibraryFunction<decltype(&SQLEndTran)> end_transaction{library, "SQLEndTran"};
  LibraryFunction<decltype(&SQLDriverConnectW)> driver_connect{library, "SQLDriverConnectW"};
  LibraryFunction<decltype(&SQLDisconnect)> disconnect{library, "SQLDisconnect"};
  LibraryFunction<decltype(&SQLTablesW)> tables{library, "SQLTablesW"};
  LibraryFunction<decltype(&SQLSetStmtAttr)> set_stmt_attr{library, "SQLSetStmtAttr"};
  LibraryFunction<decltype(&SQLExecDirectW)> exec_direct{library, "SQLExecDirectW"};
  LibraryFunction<decltype(&SQLNumResultCols)> num_result_cols{library, "SQLNumResultCols"};
  LibraryFunction<decltype(&SQLColAttributeW)> col_attribute{library, "SQLColAttributeW"};
  LibraryFunction<decltype(&SQLFetch)> fetch{library, "SQLFetch"};
  LibraryFunction<decltype(&SQLGetData)> get_data{library, "SQLGetData"};
};

constexpr std::size_t message_units = 1024;

std::string utf8_of(const SQLWCHAR* units, std::size_t count) {
  return utf8_text({reinterpret_cast<const char16_t*>(units), count});
}

/// What all that belongs to one connection calls, and whose errors it throws.
struct OdbcContext {
  explicit OdbcContext(std::string_view component)
      : source(component), odbc(OdbcLibrary::get(component)) {}

  std::string source;
  const OdbcLibrary& odbc;
};

bool read_diagnostic(const OdbcContext& context, SQLSMALLINT type, SQLHANDLE handle,
                     SQLSMALLINT number, std::string& result) {
  std::array<SQLWCHAR, 6> state{};
  std::array<SQLWCHAR, message_units> message{};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  const auto outcome =
      context.odbc.get_diag_rec(type, handle, number, state.data(), &native, message.data(),
                                static_cast<SQLSMALLINT>(message.size()), &length);
  if (!SQL_SUCCEEDED(outcome)) {
    return false;
  }
  const auto end = std::find(message.begin(), message.end(), SQLWCHAR{0});
  result = utf8_of(message.data(), static_cast<std::size_t>(end - message.begin()));
  return true;
}

/// "Login failed" of "[unixODBC][FreeTDS][SQL Server]Login failed".
std::string_view without_components(std::string_view message) {
  while (message.substr(0, 1) == "[" && message.find(']') != std::string_view::npos) {
    message.remove_prefix(message.find(']') + 1);
  }
  return message;
}

/// What the driver says about the last failed call with that handle, `otherwise` when nothing.
std::string description_of(const OdbcContext& context, SQLSMALLINT type, SQLHANDLE handle,
                           const std::string& otherwise) {
  std::string result;
  std::string message;
  for (SQLSMALLINT i = 1; read_diagnostic(context, type, handle, i, message); ++i) {
    result.append(result.empty() ? "" : "; ").append(without_components(message));
  }
  return result.empty() ? otherwise : result;
}

/// Owns an ODBC handle, from its allocation in the constructor to its release in the destructor.
class OdbcHandle {
 public:
  /// An environment. The context outlives this object.
  explicit OdbcHandle(const OdbcContext& context);
  /// A handle that belongs to another one: a connection to an environment, a statement to a
  /// connection. Throws ImportError with the owner's reason when there is none to be had.
  OdbcHandle(SQLSMALLINT type, const OdbcHandle& owner);
  ~OdbcHandle() { context_.odbc.free_handle(type_, handle_); }
  OdbcHandle(const OdbcHandle&) = delete;
  OdbcHandle& operator=(const OdbcHandle&) = delete;

  SQLHANDLE get() const { return handle_; }

  /// Passes a result on that is a success, with or without further information, or no data. Throws
  /// ImportError with the driver's own description otherwise.
  SQLRETURN check(SQLRETURN result) const;

 private:
  bool allocated(SQLHANDLE owner) {
    return SQL_SUCCEEDED(context_.odbc.alloc_handle(type_, owner, &handle_));
  }

  const OdbcContext& context_;
  SQLSMALLINT type_;
  SQLHANDLE handle_ = SQL_NULL_HANDLE;
};

constexpr const char* no_handle_left = "The ODBC driver manager has no handle left";

OdbcHandle::OdbcHandle(const OdbcContext& context) : context_(context), type_(SQL_HANDLE_ENV) {
  if (!allocated(SQL_NULL_HANDLE)) {
    throw ImportError(no_handle_left, context_.source);
  }
}

OdbcHandle::OdbcHandle(SQLSMALLINT type, const OdbcHandle& owner)
    : context_(owner.context_), type_(type) {
  if (!allocated(owner.get())) {
    // A connection that the server has ended gives no statement either.
    throw ImportError(description_of(context_, owner.type_, owner.get(), no_handle_left),
                      context_.source);
  }
}

SQLRETURN OdbcHandle::check(SQLRETURN result) const {
  if (SQL_SUCCEEDED(result) || result == SQL_NO_DATA) {
    return result;
  }
  throw ImportError(
      description_of(context_, type_, handle_, "The database driver failed without a reason"),
      context_.source);
}

/// A text as the W functions of ODBC take it, valid for as long as this object.
class OdbcText {
 public:
  explicit OdbcText(std::string_view text) : text_(utf16_text(text)) {}

  SQLWCHAR* data() { return reinterpret_cast<SQLWCHAR*>(text_.data()); }
  std::size_t units() const { return text_.size(); }

 private:
  std::u16string text_;
};

/// ODBC takes numbers as attribute values in the place of a pointer.
SQLPOINTER as_pointer(std::int64_t number) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  return reinterpret_cast<SQLPOINTER>(number);
}

class DriverRows : public OdbcRows {
 public:
  DriverRows(const OdbcContext& context, std::unique_ptr<OdbcHandle> statement)
      : context_(context), statement_(std::move(statement)) {
    SQLSMALLINT count = 0;
    statement_->check(odbc_.num_result_cols(statement_->get(), &count));
    for (SQLSMALLINT i = 1; i <= count; ++i) {
      names_.push_back(column_name(i));
    }
  }

  bool next() override {
    return !names_.empty() && statement_->check(odbc_.fetch(statement_->get())) != SQL_NO_DATA;
  }

  std::size_t column(std::string_view name) const override {
    const auto found = std::find_if(names_.begin(), names_.end(), [name](const std::string& other) {
      return same_name(other, name);
    });
    if (found == names_.end()) {
      throw ImportError("no such column: " + std::string(name), context_.source);
    }
    return static_cast<std::size_t>(found - names_.begin());
  }

  /// Reads in pieces: the declared length of a column says nothing about its values.
  std::optional<std::string> text(std::size_t column) override {
    std::u16string value;
    SQLLEN length = 0;
    while (read_piece(column, length) != SQL_NO_DATA) {
      if (length == SQL_NULL_DATA) {
        return std::nullopt;
      }
      constexpr std::size_t most = piece_units - 1;
      const bool truncated =
          length == SQL_NO_TOTAL || static_cast<std::size_t>(length) / sizeof(SQLWCHAR) > most;
      value.append(reinterpret_cast<const char16_t*>(piece_.data()),
                   truncated ? most : static_cast<std::size_t>(length) / sizeof(SQLWCHAR));
      if (!truncated) {
        break;
      }
    }
    return utf8_text(value);
  }

 private:
  static constexpr std::size_t piece_units = 4096;

  std::string column_name(SQLSMALLINT number) {
    SQLSMALLINT bytes = 0;
    statement_->check(odbc_.col_attribute(
        statement_->get(), static_cast<SQLUSMALLINT>(number), SQL_DESC_LABEL, piece_.data(),
        static_cast<SQLSMALLINT>(sizeof(piece_)), &bytes, nullptr));
    const auto units = std::min(static_cast<std::size_t>(bytes) / sizeof(SQLWCHAR), piece_units);
    return utf8_text({reinterpret_cast<const char16_t*>(piece_.data()), units});
  }

  SQLRETURN read_piece(std::size_t column, SQLLEN& length) {
    return statement_->check(
        odbc_.get_data(statement_->get(), static_cast<SQLUSMALLINT>(column + 1), SQL_C_WCHAR,
                       piece_.data(), static_cast<SQLLEN>(sizeof(piece_)), &length));
  }

  const OdbcContext& context_;
  const OdbcLibrary& odbc_ = context_.odbc;
  std::unique_ptr<OdbcHandle> statement_;
  std::vector<std::string> names_;
  std::array<SQLWCHAR, piece_units> piece_{};
};

/// An environment that speaks ODBC 3.
class OdbcEnvironment {
 public:
  explicit OdbcEnvironment(const OdbcContext& context) : handle_(context) {
    handle_.check(context.odbc.set_env_attr(handle_.get(), SQL_ATTR_ODBC_VERSION,
                                            as_pointer(SQL_OV_ODBC3), 0));
  }
  const OdbcHandle& handle() const { return handle_; }

 private:
  OdbcHandle handle_;
};

class DriverConnection : public OdbcConnection {
 public:
  DriverConnection(const std::string& connection_string, const OdbcTimeouts& timeouts,
                   std::string_view source)
      : context_(source),
        environment_(context_),
        connection_(SQL_HANDLE_DBC, environment_.handle()),
        timeouts_(timeouts) {
    connection_.check(odbc_.set_connect_attr(connection_.get(), SQL_ATTR_LOGIN_TIMEOUT,
                                             as_pointer(timeouts.connecting.count()),
                                             SQL_IS_UINTEGER));
    OdbcText text(connection_string);
    if (text.units() > std::numeric_limits<SQLSMALLINT>::max()) {
      throw ImportError("The connection string is too long", context_.source);
    }
    connection_.check(odbc_.driver_connect(connection_.get(), nullptr, text.data(),
                                           static_cast<SQLSMALLINT>(text.units()), nullptr, 0,
                                           nullptr, SQL_DRIVER_NOPROMPT));
  }
  ~DriverConnection() override {
    if (is_in_transaction_) {
      // It would keep some drivers from disconnecting.
      odbc_.end_transaction(SQL_HANDLE_DBC, connection_.get(), SQL_ROLLBACK);
    }
    odbc_.disconnect(connection_.get());
  }
  DriverConnection(const DriverConnection&) = delete;
  DriverConnection& operator=(const DriverConnection&) = delete;

  std::vector<std::string> catalogs() override {
    auto statement = new_statement();
    OdbcText all("%");
    OdbcText none("");
    statement->check(odbc_.tables(statement->get(), all.data(), SQL_NTS, none.data(), 0,
                                  none.data(), 0, none.data(), 0));
    DriverRows rows(context_, std::move(statement));
    std::vector<std::string> names;
    while (rows.next()) {
      names.push_back(rows.text(0).value_or(""));
    }
    return names;
  }

  void use_database(const std::string& name) override {
    OdbcText text(name);
    // With a length in bytes the MariaDB driver reads that many units, beyond the text's end.
    connection_.check(
        odbc_.set_connect_text(connection_.get(), SQL_ATTR_CURRENT_CATALOG, text.data(), SQL_NTS));
  }

  std::unique_ptr<OdbcRows> execute(const std::string& statement_text) override {
    auto statement = new_statement();
    OdbcText text(statement_text);
    statement->check(
        odbc_.exec_direct(statement->get(), text.data(), static_cast<SQLINTEGER>(text.units())));
    return std::make_unique<DriverRows>(context_, std::move(statement));
  }

  void begin() override { commit_by_itself(SQL_AUTOCOMMIT_OFF); }

  void commit() override {
    connection_.check(odbc_.end_transaction(SQL_HANDLE_DBC, connection_.get(), SQL_COMMIT));
    commit_by_itself(SQL_AUTOCOMMIT_ON);
  }

  void roll_back() override {
    connection_.check(odbc_.end_transaction(SQL_HANDLE_DBC, connection_.get(), SQL_ROLLBACK));
    commit_by_itself(SQL_AUTOCOMMIT_ON);
  }

 private:
  void commit_by_itself(std::int64_t mode) {
    connection_.check(odbc_.set_connect_attr(connection_.get(), SQL_ATTR_AUTOCOMMIT,
                                             as_pointer(mode), SQL_IS_UINTEGER));
    is_in_transaction_ = mode == SQL_AUTOCOMMIT_OFF;
  }

  std::unique_ptr<OdbcHandle> new_statement() const {
    auto statement = std::make_unique<OdbcHandle>(SQL_HANDLE_STMT, connection_);
    // A driver without such a limit reports an error, which does not matter.
    odbc_.set_stmt_attr(statement->get(), SQL_ATTR_QUERY_TIMEOUT,
                        as_pointer(timeouts_.answering.count()), SQL_IS_UINTEGER);
    odbc_.set_stmt_attr(statement->get(), SQL_ATTR_NOSCAN, as_pointer(SQL_NOSCAN_ON),
                        SQL_IS_UINTEGER);
    return statement;
  }

  OdbcContext context_;
  const OdbcLibrary& odbc_ = context_.odbc;
  OdbcEnvironment environment_;
  OdbcHandle connection_;
  OdbcTimeouts timeouts_;
  bool is_in_transaction_ = false;
};

}  // namespace

std::unique_ptr<OdbcConnection> open_odbc(const std::string& connection_string,
                                          const OdbcTimeouts& timeouts, std::string_view source) {
  return std::make_unique<DriverConnection>(connection_string, timeouts, source);
}

}  // namespace importkcd
