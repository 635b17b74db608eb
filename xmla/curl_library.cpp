#include "xmla/curl_library.h"

#include "base/import_error.h"

namespace importkcd {
namespace {

CurlLibrary set_up() {
  CurlLibrary curl;
  if (curl.global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
    throw ImportError("the HTTP library cannot be used", xmla_server);
  }
  return curl;
}

}  // namespace

const CurlLibrary& CurlLibrary::get() {
  static const CurlLibrary curl = set_up();
  return curl;
}

}  // namespace importkcd
