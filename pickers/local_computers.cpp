#include "pickers/local_computers.h"

#include <fstream>
#include <sstream>
#include <utility>

#include "pickers/hosts_file.h"
#include "servers/choice/server_choice.h"

namespace importkcd {
namespace {

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

std::unique_ptr<ComputerSource> make_this_computer_source() {
  return std::make_unique<ThisComputerSource>();
}

std::unique_ptr<ComputerSource> make_hosts_file_source(std::string path) {
  return std::make_unique<HostsFileSource>(std::move(path));
}

}  // namespace importkcd
