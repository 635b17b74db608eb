#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace importkcd {

namespace error_source {
constexpr std::string_view xmla_server = "XMLA server";
}  // namespace error_source

/// How long and how large an answer may be.
struct HttpLimits {
  /// From the beginning of the connection to the end of the answer.
  std::chrono::milliseconds time{std::chrono::minutes(5)};
  std::size_t bytes = std::size_t{64} << 20U;
};

/// Who asks, and whom to believe who answers.
struct HttpAccess {
  /// Empty: without a login, unless the address has one.
  std::string user{};
  std::string password{};
  /// A file in PEM with the authorities whose certificates count; empty: the system's.
  std::string authorities_file{};
};

struct HttpRequest {
  /// With http or https; may carry a user and a password.
  std::string address;
  /// Whole lines: "Name: value".
  std::vector<std::string> headers;
  std::string body;
  HttpLimits limits;
  HttpAccess access{};
};

struct HttpAnswer {
  long status = 0;
  std::string body;
};

/// Sends a POST request and gives the answer, whatever its status; redirections are not followed.
/// Throws ImportError, whose description names the address without user and password, when there is
/// no connection, or no whole answer within the limits.
HttpAnswer http_post(const HttpRequest& request);

}  // namespace importkcd
