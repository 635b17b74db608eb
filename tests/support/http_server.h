#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace importkcd::testing {

/// A server on the loopback interface that answers every request as the test says, whether that is
/// HTTP or not. It takes one connection after the other, each for one request.
class HttpServer {
 public:
  /// Gives the bytes to be sent for a whole request (head and body), after which the connection is
  /// closed; nothing means that no answer ever comes. Called in a thread of the server.
  using Script = std::function<std::optional<std::string>(const std::string& request)>;

  explicit HttpServer(Script script);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// "http://127.0.0.1:N/xmla".
  std::string address() const;

  /// The requests so far.
  std::vector<std::string> requests() const;

 private:
  void serve();
  void answer(int connection);

  Script script_;
  int listener_ = -1;
  int port_ = 0;
  mutable std::mutex mutex_;
  std::vector<std::string> requests_;
  /// Connections that are left without an answer.
  std::vector<int> silent_;
  std::thread thread_;
};

/// A whole HTTP answer.
std::string http_answer(const std::string& body, const std::string& status = "200 OK",
                        const std::string& content_type = "text/xml");

/// An XMLA answer: what stands between the tags of a SOAP body, as a whole HTTP answer.
std::string soap_answer(const std::string& content);

/// The answer to a Discover request with these rows, each the content of a `row` element.
std::string rowset_answer(const std::vector<std::string>& rows);

}  // namespace importkcd::testing
