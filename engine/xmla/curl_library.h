#pragma once

#include <curl/curl.h>

namespace importkcd {

/// The functions of the HTTP library. It is loaded when a server is first asked: with the thirty
/// libraries that it brings along it would take two thirds of the time in which a program starts.
struct CurlLibrary {
  /// The library, set up for use. Throws ImportError when it cannot be; may be called from any
  /// thread.
  static const CurlLibrary& get();

  decltype(&curl_global_init) global_init = nullptr;
  decltype(&curl_easy_init) easy_init = nullptr;
  decltype(&curl_easy_cleanup) easy_cleanup = nullptr;
  decltype(&curl_easy_setopt) easy_setopt = nullptr;
  decltype(&curl_easy_getinfo) easy_getinfo = nullptr;
  decltype(&curl_easy_perform) easy_perform = nullptr;
  decltype(&curl_easy_strerror) easy_strerror = nullptr;
  decltype(&curl_slist_append) slist_append = nullptr;
  decltype(&curl_slist_free_all) slist_free_all = nullptr;
};

}  // namespace importkcd
