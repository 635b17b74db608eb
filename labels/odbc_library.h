#pragma once

#include <sql.h>
#include <sqlext.h>

#include "base/shared_library.h"
#include "labels/labels_connection.h"

namespace importkcd {

/// The functions of the ODBC driver manager.
struct OdbcLibrary {
  /// Throws ImportError when there is no driver manager; may be called from any thread.
  static const OdbcLibrary& get() {
    static const OdbcLibrary functions;
    return functions;
  }

  SharedLibrary library{ODBC_LIBRARY, "ODBC", error_source::labels_database};
  LibraryFunction<decltype(&SQLAllocHandle)> alloc_handle{library, "SQLAllocHandle"};
  LibraryFunction<decltype(&SQLFreeHandle)> free_handle{library, "SQLFreeHandle"};
  LibraryFunction<decltype(&SQLGetDiagRecW)> get_diag_rec{library, "SQLGetDiagRecW"};
  LibraryFunction<decltype(&SQLSetEnvAttr)> set_env_attr{library, "SQLSetEnvAttr"};
  LibraryFunction<decltype(&SQLSetConnectAttr)> set_connect_attr{library, "SQLSetConnectAttr"};
  LibraryFunction<decltype(&SQLSetConnectAttrW)> set_connect_text{library, "SQLSetConnectAttrW"};
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

}  // namespace importkcd
