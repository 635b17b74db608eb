#pragma once

#include <string>

namespace importkcd::testing {

/// A connection to a server on this computer, for requests that no library would send.
class HttpClient {
 public:
  /// The port is that of an address "http://127.0.0.1:PORT/...".
  explicit HttpClient(const std::string& address);
  ~HttpClient();
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  /// False when the server has closed the connection.
  bool send(const std::string& bytes) const;
  /// Says that nothing more will be sent, while the answer is still waited for.
  void end_sending() const;
  /// Everything that comes until the server closes the connection.
  std::string receive() const;

 private:
  int socket_ = -1;
};

/// The answer to these bytes on a connection of their own.
std::string answer_to(const std::string& address, const std::string& bytes);

/// The body of an XMLA request that asks a database.
std::string xmla_question(const std::string& database, const std::string& mdx);

/// A request, by default one as it should be. Each of the further headers ends with "\r\n".
std::string http_request(const std::string& body, const std::string& host = "127.0.0.1",
                         const std::string& further_headers = "Content-Type: text/xml\r\n",
                         const std::string& first_line = "POST /xmla HTTP/1.1");

}  // namespace importkcd::testing
