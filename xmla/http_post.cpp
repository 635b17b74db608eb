#include "xmla/http_post.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "base/import_error.h"
#include "base/shared_library.h"
#include "xmla/xmla_address.h"

namespace importkcd {
namespace {

constexpr long connect_milliseconds = 15'000;

/// The functions of the HTTP library, which brings thirty others along.
struct CurlLibrary {
  /// The library, set up for use. Throws ImportError when it cannot be; may be called from any
  /// thread.
  static const CurlLibrary& get();

  SharedLibrary library{HTTP_LIBRARY, "HTTP", error_source::xmla_server};

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

CurlLibrary set_up() {
  CurlLibrary curl;
  if (curl.global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
    throw ImportError("the HTTP library cannot be used", error_source::xmla_server);
  }
  return curl;
}

const CurlLibrary& CurlLibrary::get() {
  static const CurlLibrary curl = set_up();
  return curl;
}

struct Cleanup {
  void operator()(CURL* handle) const { CurlLibrary::get().easy_cleanup(handle); }
  void operator()(curl_slist* list) const { CurlLibrary::get().slist_free_all(list); }
};
using Handle = std::unique_ptr<CURL, Cleanup>;
using HeaderList = std::unique_ptr<curl_slist, Cleanup>;

struct Reception {
  std::string body;
  std::size_t most_bytes = 0;
  bool too_large = false;
};

/// The library's callback; taking less than there is ends the transfer.
std::size_t receive(const char* data, std::size_t, std::size_t count, void* context) {
  auto& reception = *static_cast<Reception*>(context);
  if (count > reception.most_bytes - reception.body.size()) {
    reception.too_large = true;
    return 0;
  }
  reception.body.append(data, count);
  return count;
}

HeaderList header_list(const std::vector<std::string>& headers) {
  HeaderList list;
  for (const auto& header : headers) {
    auto* const longer = CurlLibrary::get().slist_append(list.get(), header.c_str());
    if (longer == nullptr) {
      throw std::bad_alloc();
    }
    static_cast<void>(list.release());
    list.reset(longer);
  }
  return list;
}

void set_access(CURL* handle, const HttpAccess& access) {
  const auto& set = CurlLibrary::get().easy_setopt;
  if (!access.user.empty()) {
    set(handle, CURLOPT_HTTPAUTH, CURLAUTH_BASIC);
    set(handle, CURLOPT_USERNAME, access.user.c_str());
    set(handle, CURLOPT_PASSWORD, access.password.c_str());
  }
  if (!access.authorities_file.empty()) {
    set(handle, CURLOPT_CAINFO, access.authorities_file.c_str());
  }
}

void set_options(CURL* handle, const HttpRequest& request, const HeaderList& headers) {
  const auto& set = CurlLibrary::get().easy_setopt;
  set(handle, CURLOPT_URL, request.address.c_str());
  set(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  set(handle, CURLOPT_NOSIGNAL, 1L);
  set(handle, CURLOPT_HTTPHEADER, headers.get());
  set(handle, CURLOPT_POSTFIELDS, request.body.data());
  set(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
  set(handle, CURLOPT_CONNECTTIMEOUT_MS,
      std::min(connect_milliseconds, static_cast<long>(request.limits.time.count())));
  set(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(request.limits.time.count()));
  set_access(handle, request.access);
  if (is_loopback_address(request.address)) {
    // No proxy of the network reaches this computer's own interface.
    set(handle, CURLOPT_NOPROXY, "*");
  }
}

std::string failure_text(CURLcode code, const Reception& reception, const HttpLimits& limits,
                         const char* detail) {
  if (reception.too_large) {
    return "the answer is larger than " + std::to_string(limits.bytes >> 20U) + " MiB";
  }
  if (code == CURLE_OPERATION_TIMEDOUT) {
    const auto seconds = std::chrono::duration<double>(limits.time).count();
    auto text = std::to_string(seconds);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') {
      text.pop_back();
    }
    return "no whole answer within " + text + " seconds";
  }
  return *detail != '\0' ? detail : CurlLibrary::get().easy_strerror(code);
}

}  // namespace

HttpAnswer http_post(const HttpRequest& request) {
  const auto& curl = CurlLibrary::get();
  const Handle handle(curl.easy_init());
  if (!handle) {
    throw ImportError("the HTTP library cannot be used", error_source::xmla_server);
  }
  const auto headers = header_list(request.headers);
  Reception reception;
  reception.most_bytes = request.limits.bytes;
  std::array<char, CURL_ERROR_SIZE> detail{};
  set_options(handle.get(), request, headers);
  curl.easy_setopt(handle.get(), CURLOPT_ERRORBUFFER, detail.data());
  curl.easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, receive);
  curl.easy_setopt(handle.get(), CURLOPT_WRITEDATA, &reception);
  const auto code = curl.easy_perform(handle.get());
  if (code != CURLE_OK) {
    throw ImportError(shown_address(request.address) + ": " +
                          failure_text(code, reception, request.limits, detail.data()),
                      error_source::xmla_server);
  }
  HttpAnswer answer;
  curl.easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &answer.status);
  answer.body = std::move(reception.body);
  return answer;
}

}  // namespace importkcd
