#pragma once

#include <string>
#include <string_view>

#include "labels/odbc_library.h"

namespace importkcd {

/// Owns an ODBC handle, from its allocation in the constructor to its release in the destructor.
class OdbcHandle {
 public:
  /// Throws ImportError when the driver manager refuses; `owner` is the null handle for an
  /// environment.
  OdbcHandle(SQLSMALLINT type, SQLHANDLE owner);
  ~OdbcHandle() { OdbcLibrary::get().free_handle(type_, handle_); }
  OdbcHandle(const OdbcHandle&) = delete;
  OdbcHandle& operator=(const OdbcHandle&) = delete;

  SQLHANDLE get() const { return handle_; }

  /// Passes a result on that is a success, with or without further information, or no data. Throws
  /// ImportError with the driver's own description otherwise.
  SQLRETURN check(SQLRETURN result) const;

 private:
  std::string description() const;

  SQLSMALLINT type_;
  SQLHANDLE handle_ = SQL_NULL_HANDLE;
};

/// A text as the W functions of ODBC take it, valid for as long as this object.
class OdbcText {
 public:
  explicit OdbcText(std::string_view text);

  SQLWCHAR* data() { return reinterpret_cast<SQLWCHAR*>(text_.data()); }
  std::size_t units() const { return text_.size(); }

 private:
  std::u16string text_;
};

}  // namespace importkcd
