#include "tests/olap/http_client.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>

namespace importkcd::testing {

HttpClient::HttpClient(const std::string& address)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port =
      htons(static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':') + 1))));
  place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  EXPECT_EQ(::connect(socket_, reinterpret_cast<const sockaddr*>(&place), sizeof(place)), 0);
  constexpr timeval longest_wait{60, 0};
  ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &longest_wait, sizeof(longest_wait));
}

HttpClient::~HttpClient() { ::close(socket_); }

bool HttpClient::send(const std::string& bytes) const {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const auto count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count < 0) {
      return false;
    }
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

void HttpClient::end_sending() const { EXPECT_EQ(::shutdown(socket_, SHUT_WR), 0); }

std::string HttpClient::receive() const {
  std::string received;
  std::array<char, 4096> buffer{};
  ssize_t count = 0;
  while ((count = ::recv(socket_, buffer.data(), buffer.size(), 0)) > 0) {
    received.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return received;
}

std::string answer_to(const std::string& address, const std::string& bytes) {
  const HttpClient client(address);
  client.send(bytes);
  return client.receive();
}

std::string xmla_question(const std::string& database, const std::string& mdx) {
  return R"(<?xml version="1.0"?><E:Envelope xmlns:E="http://schemas.xmlsoap.org/soap/envelope/">)"
         R"(<E:Body><Execute xmlns="urn:schemas-microsoft-com:xml-analysis"><Command><Statement>)" +
         mdx + "</Statement></Command><Properties><PropertyList><Catalog>" + database +
         "</Catalog><Format>Multidimensional</Format></PropertyList></Properties></Execute>"
         "</E:Body></E:Envelope>";
}

std::string http_request(const std::string& body, const std::string& host,
                         const std::string& further_headers, const std::string& first_line) {
  return first_line + "\r\nHost: " + host + "\r\n" + further_headers +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace importkcd::testing
