#include "tests/support/http_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace importkcd::testing {
namespace {

/// How much body the head of a request promises.
std::size_t promised_length(const std::string& head) {
  const std::string name = "Content-Length: ";
  const auto at = head.find(name);
  return at == std::string::npos ? 0 : std::strtoul(head.c_str() + at + name.size(), nullptr, 10);
}

bool is_whole(const std::string& request) {
  const auto end = request.find("\r\n\r\n");
  return end != std::string::npos &&
         request.size() - end - 4 >= promised_length(request.substr(0, end));
}

std::string read_request(int connection) {
  std::string request;
  std::array<char, 65536> buffer{};
  while (!is_whole(request)) {
    const auto count = recv(connection, buffer.data(), buffer.size(), 0);
    if (count <= 0) {
      break;
    }
    request.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return request;
}

/// The other side may have had enough before the end.
void send_all(int connection, const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const auto count = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) {
      return;
    }
    sent += static_cast<std::size_t>(count);
  }
}

}  // namespace

HttpServer::HttpServer(Script script)
    : script_(std::move(script)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof(address);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  EXPECT_EQ(bind(listener_, generic, length), 0);
  EXPECT_EQ(getsockname(listener_, generic, &length), 0);
  EXPECT_EQ(listen(listener_, SOMAXCONN), 0);
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { serve(); });
}

HttpServer::~HttpServer() {
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
  for (const int connection : silent_) {
    close(connection);
  }
}

std::string HttpServer::address() const {
  return "http://127.0.0.1:" + std::to_string(port_) + "/xmla";
}

std::vector<std::string> HttpServer::requests() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

void HttpServer::serve() {
  int connection = -1;
  while ((connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0) {
    answer(connection);
  }
}

void HttpServer::answer(int connection) {
  auto request = read_request(connection);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.push_back(request);
  }
  const auto bytes = script_(request);
  if (!bytes) {
    silent_.push_back(connection);
    return;
  }
  send_all(connection, *bytes);
  close(connection);
}

std::string http_answer(const std::string& body, const std::string& status,
                        const std::string& content_type) {
  return "HTTP/1.1 " + status + "\r\nContent-Type: " + content_type +
         "\r\nContent-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" +
         body;
}

std::string soap_answer(const std::string& content) {
  return http_answer(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" "
      "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
      "<SOAP-ENV:Body>" +
      content + "</SOAP-ENV:Body></SOAP-ENV:Envelope>\n");
}

std::string rowset_answer(const std::vector<std::string>& rows) {
  std::string content;
  for (const auto& row : rows) {
    content += "<row>" + row + "</row>";
  }
  return soap_answer(
      "<m:DiscoverResponse xmlns:m=\"urn:schemas-microsoft-com:xml-analysis\">"
      "<m:return><root xmlns=\"urn:schemas-microsoft-com:xml-analysis:rowset\">" +
      content + "</root></m:return></m:DiscoverResponse>");
}

}  // namespace importkcd::testing
