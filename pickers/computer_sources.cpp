#include "pickers/computer_sources.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <fstream>
#include <sstream>
#include <unordered_set>
#include <utility>

#include "base/name_folding.h"
#include "base/system.h"

namespace importkcd {
namespace {

constexpr std::string_view hosts_blanks = " \t\r\f\v";

/// Takes the first word off the line; empty when there is none.
std::string_view take_word(std::string_view& line) {
  const auto start = line.find_first_not_of(hosts_blanks);
  if (start == std::string_view::npos) {
    return {};
  }
  line.remove_prefix(start);
  const auto word = line.substr(0, line.find_first_of(hosts_blanks));
  line.remove_prefix(word.size());
  return word;
}

bool is_on_the_network(const in_addr& address) {
  constexpr std::uint32_t loopback = 127;
  constexpr std::uint32_t first_multicast = 224;
  const std::uint32_t first_byte = ntohl(address.s_addr) >> 24U;
  return first_byte != 0 && first_byte != loopback && first_byte < first_multicast;
}

bool is_on_the_network(const in6_addr& address) {
  constexpr unsigned multicast = 0xff;
  // The entry that Debian's installer writes for the local network as a whole.
  constexpr unsigned local_network_high = 0xfe;
  constexpr unsigned local_network_low = 0x00;
  const auto high = address.s6_addr[0];
  const auto low = address.s6_addr[1];
  return !IN6_IS_ADDR_UNSPECIFIED(&address) && !IN6_IS_ADDR_LOOPBACK(&address) &&
         high != multicast && !(high == local_network_high && low == local_network_low);
}

/// Whether the text is the address of a computer on the network.
bool is_network_address(std::string_view text) {
  // A link-local address may carry the name of its interface.
  const std::string address(text.substr(0, text.find('%')));
  in_addr v4{};
  if (inet_pton(AF_INET, address.c_str(), &v4) == 1) {
    return is_on_the_network(v4);
  }
  in6_addr v6{};
  return inet_pton(AF_INET6, address.c_str(), &v6) == 1 && is_on_the_network(v6);
}

class ThisComputerSource : public ComputerSource {
 public:
  void start(Found found, Finished finished) override {
    found(this_computer_name());
    finished();
  }
};

class HostsFileSource : public ComputerSource {
 public:
  explicit HostsFileSource(std::string path) : path_(std::move(path)) {}

  void start(Found found, Finished finished) override {
    std::ifstream file(path_, std::ios::binary);
    std::ostringstream text;
    // Unlike the buffer itself this reports a failed read by the stream's state.
    text << file.rdbuf();
    for (const auto& name : computers_in_hosts_file(text.str())) {
      found(name);
    }
    finished();
  }

 private:
  std::string path_;
};

}  // namespace

std::vector<std::string> computers_in_hosts_file(std::string_view text) {
  std::vector<std::string> computers;
  std::unordered_set<std::string> seen;
  while (!text.empty()) {
    const auto end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
    line = line.substr(0, line.find('#'));
    const auto address = take_word(line);
    const auto name = take_word(line);
    if (!name.empty() && is_network_address(address) && seen.insert(lower_cased(name)).second) {
      computers.emplace_back(name);
    }
  }
  return computers;
}

std::unique_ptr<ComputerSource> make_this_computer_source() {
  return std::make_unique<ThisComputerSource>();
}

std::unique_ptr<ComputerSource> make_hosts_file_source(std::string path) {
  return std::make_unique<HostsFileSource>(std::move(path));
}

}  // namespace importkcd
