#include "engine/xmla/curl_library.h"

#include <dlfcn.h>

#include <string>

#include "engine/olap_model/import_error.h"
#include "engine/xmla/xmla_error.h"

namespace importkcd {
namespace {

[[noreturn]] void fail(const std::string& reason) {
  throw ImportError("the HTTP library cannot be used" + reason, xmla_server);
}

template <class Function>
void find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(::dlsym(library, name));
  if (function == nullptr) {
    fail(std::string(": it lacks ") + name);
  }
}

CurlLibrary load() {
  // Of this number since 2006; it stays loaded.
  void* const library = ::dlopen("libcurl.so.4", RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    fail(std::string(": ") + ::dlerror());
  }
  CurlLibrary functions;
  find(library, "curl_global_init", functions.global_init);
  find(library, "curl_easy_init", functions.easy_init);
  find(library, "curl_easy_cleanup", functions.easy_cleanup);
  find(library, "curl_easy_setopt", functions.easy_setopt);
  find(library, "curl_easy_getinfo", functions.easy_getinfo);
  find(library, "curl_easy_perform", functions.easy_perform);
  find(library, "curl_easy_strerror", functions.easy_strerror);
  find(library, "curl_slist_append", functions.slist_append);
  find(library, "curl_slist_free_all", functions.slist_free_all);
  if (functions.global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
    fail("");
  }
  return functions;
}

}  // namespace

const CurlLibrary& CurlLibrary::get() {
  static const CurlLibrary library = load();
  return library;
}

}  // namespace importkcd
