#include "cli/connection_text_file.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <istream>
#include <string_view>
#include <system_error>

#include "engine/olap_model/import_error.h"

namespace importkcd {
namespace {

[[noreturn]] void refuse(const std::string& file, const std::string& reason) {
  const auto name = file == "-" ? "standard input" : "'" + file + "'";
  throw ImportError("Cannot take a connection string from " + name + ": " + reason, "kcd");
}

std::string read_all(const std::string& file, std::istream& in) {
  std::string text;
  std::array<char, 4096> buffer{};
  errno = 0;
  do {
    in.read(buffer.data(), buffer.size());
    text.append(buffer.data(), static_cast<std::size_t>(in.gcount()));
  } while (in);
  if (in.bad()) {
    refuse(file, std::generic_category().message(errno));
  }
  return text;
}

std::string read_file(const std::string& file) {
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    refuse(file, std::generic_category().message(errno));
  }
  return read_all(file, stream);
}

}  // namespace

std::string read_connection_text(const std::string& file, std::istream& in) {
  constexpr std::string_view line_ends = "\r\n";
  auto text = file == "-" ? read_all(file, in) : read_file(file);
  const auto line_end = text.find_first_of(line_ends);
  if (line_end != std::string::npos) {
    if (text.find_first_not_of(" \t\r\n", line_end) != std::string::npos) {
      refuse(file, "it holds more than one line");
    }
    text.resize(line_end);
  }
  if (text.empty()) {
    refuse(file, "it is empty");
  }
  return text;
}

}  // namespace importkcd
