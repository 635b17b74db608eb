#pragma once

#include <curl/curl.h>

#include "base/shared_library.h"
#include "xmla/xmla_error.h"

namespace importkcd {

/// The functions of the HTTP library, which brings thirty others along.
struct CurlLibrary {
  /// The library, set up for use. Throws ImportError when it cannot be; may be called from any
  /// thread.
  static const CurlLibrary& get();

  SharedLibrary library{HTTP_LIBRARY, "HTTP", xmla_server};

  LibraryFunction<decltype(&curl_global_init)> global_init{library, "curl_global_init"};
  LibraryFunction<decltype(&curl_easy_init)> easy_init{library, "curl_easy_init"};
  LibraryFunction<decltype(&curl_easy_cleanup)> easy_cleanup{library, "curl_easy_cleanup"};
  LibraryFunction<decltype(&curl_easy_setopt)> easy_setopt{library, "curl_easy_setopt"};
  LibraryFunction<decltype(&curl_easy_getinfo)> easy_getinfo{library, "curl_easy_getinfo"};
  LibraryFunction<decltype(&curl_easy_perform)> easy_perform{library, "curl_easy_perform"};
  LibraryFunction<decltype(&curl_easy_strerror)> easy_strerror{library, "curl_easy_strerror"};
  LibraryFunction<decltype(&curl_slist_append)> slist_append{library, "curl_slist_append"};
  LibraryFunction<decltype(&curl_slist_free_all)> slist_free_all{library, "curl_slist_free_all"};
};

}  // namespace importkcd
