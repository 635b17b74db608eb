#include "cli/program_version.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <libxml/parser.h>
#include <utf8proc.h>

#include <CLI/Version.hpp>
#include <nlohmann/json.hpp>

#include "base/import_error.h"
#include "base/shared_library.h"

namespace importkcd {
namespace {

constexpr const char* library_is_missing = "missing";

/// "libcurl/7.88.1 OpenSSL/3.0 ..." without what the library was built with.
std::string http_library_version() {
  try {
    const SharedLibrary library(HTTP_LIBRARY, "HTTP", "kcd");
    const std::string text = LibraryFunction<const char* (*)()>{library, "curl_version"}();
    const auto begin = text.find('/') + 1;
    return text.substr(begin, text.find(' ', begin) - begin);
  } catch (const ImportError&) {
    return library_is_missing;
  }
}

/// The library does not tell its version.
std::string odbc_library_state() {
  try {
    const SharedLibrary library(ODBC_LIBRARY, "ODBC", "kcd");
    return ODBC_LIBRARY;
  } catch (const ImportError&) {
    return library_is_missing;
  }
}

/// "20914" is 2.9.14; what follows the number tells how the library was built.
std::string xml_library_version() {
  const auto number = std::stoul(xmlParserVersion);
  return std::to_string(number / 10000) + "." + std::to_string(number / 100 % 100) + "." +
         std::to_string(number % 100);
}

std::string json_library_version() {
  return std::to_string(NLOHMANN_JSON_VERSION_MAJOR) + "." +
         std::to_string(NLOHMANN_JSON_VERSION_MINOR) + "." +
         std::to_string(NLOHMANN_JSON_VERSION_PATCH);
}

}  // namespace

std::string program_version_in_detail(const std::string& commit) {
  return "kcd " KCD_VERSION "\ncommit " + commit + "\ncompiler " KCD_COMPILER "\nlibxml2 " +
         xml_library_version() + "\nSQLite " + SQLite::getLibVersion() + "\nSQLiteCpp " +
         SQLITECPP_VERSION + "\nutf8proc " + utf8proc_version() + "\nlibcurl " +
         http_library_version() + "\nunixODBC " + odbc_library_state() +
         "\nCLI11 " CLI11_VERSION "\nnlohmann_json " + json_library_version();
}

}  // namespace importkcd
