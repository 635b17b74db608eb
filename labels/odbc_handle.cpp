#include "labels/odbc_handle.h"

#include <algorithm>
#include <array>

#include "base/import_error.h"
#include "base/text_encoding.h"

namespace importkcd {
namespace {

constexpr std::size_t message_units = 1024;

std::string text_of(const SQLWCHAR* units, std::size_t count) {
  return utf8_text({reinterpret_cast<const char16_t*>(units), count});
}

bool read_diagnostic(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT number, std::string& result) {
  std::array<SQLWCHAR, 6> state{};
  std::array<SQLWCHAR, message_units> message{};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  const auto outcome =
      OdbcLibrary::get().get_diag_rec(type, handle, number, state.data(), &native, message.data(),
                                      static_cast<SQLSMALLINT>(message.size()), &length);
  if (!SQL_SUCCEEDED(outcome)) {
    return false;
  }
  const auto end = std::find(message.begin(), message.end(), SQLWCHAR{0});
  result = text_of(message.data(), static_cast<std::size_t>(end - message.begin()));
  return true;
}

/// "[unixODBC][FreeTDS][SQL Server]Login failed" says no more with its prefixes.
std::string_view without_components(std::string_view message) {
  while (message.substr(0, 1) == "[" && message.find(']') != std::string_view::npos) {
    message.remove_prefix(message.find(']') + 1);
  }
  return message;
}

}  // namespace

OdbcHandle::OdbcHandle(SQLSMALLINT type, SQLHANDLE owner) : type_(type) {
  if (!SQL_SUCCEEDED(OdbcLibrary::get().alloc_handle(type, owner, &handle_))) {
    throw ImportError("The ODBC driver manager has no handle left", error_source::labels_database);
  }
}

SQLRETURN OdbcHandle::check(SQLRETURN result) const {
  if (SQL_SUCCEEDED(result) || result == SQL_NO_DATA) {
    return result;
  }
  throw ImportError(description(), error_source::labels_database);
}

std::string OdbcHandle::description() const {
  std::string result;
  std::string message;
  for (SQLSMALLINT i = 1; read_diagnostic(type_, handle_, i, message); ++i) {
    result.append(result.empty() ? "" : "; ").append(without_components(message));
  }
  return result.empty() ? "The database driver failed without a reason" : result;
}

OdbcText::OdbcText(std::string_view text) : text_(utf16_text(text)) {}

}  // namespace importkcd
