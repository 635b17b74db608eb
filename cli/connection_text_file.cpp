#include "cli/connection_text_file.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <istream>
#include <string_view>
#include <system_error>

#include "base/import_error.h"

namespace importkcd {
namespace {

/// Where a text is read from, and what it is.
struct Origin {
  const std::string& file;
  const char* what;
};

[[noreturn]] void refuse(const Origin& origin, const std::string& reason) {
  const auto name = origin.file == "-" ? "standard input" : "'" + origin.file + "'";
  throw ImportError(std::string("Cannot take ") + origin.what + " from " + name + ": " + reason,
                    "kcd");
}

std::string read_all(const Origin& origin, std::istream& in) {
  std::string text;
  std::array<char, 4096> buffer{};
  errno = 0;
  do {
    in.read(buffer.data(), buffer.size());
    text.append(buffer.data(), static_cast<std::size_t>(in.gcount()));
  } while (in);
  if (in.bad()) {
    refuse(origin, std::generic_category().message(errno));
  }
  return text;
}

std::string read_file(const Origin& origin) {
  errno = 0;
  std::ifstream stream(origin.file, std::ios::binary);
  if (!stream) {
    refuse(origin, std::generic_category().message(errno));
  }
  return read_all(origin, stream);
}

std::string read_line(const Origin& origin, std::istream& in) {
  constexpr std::string_view line_ends = "\r\n";
  auto text = origin.file == "-" ? read_all(origin, in) : read_file(origin);
  const auto line_end = text.find_first_of(line_ends);
  if (line_end != std::string::npos) {
    if (text.find_first_not_of(" \t\r\n", line_end) != std::string::npos) {
      refuse(origin, "it holds more than one line");
    }
    text.resize(line_end);
  }
  if (text.empty()) {
    refuse(origin, "it is empty");
  }
  return text;
}

}  // namespace

std::string read_connection_text(const std::string& file, std::istream& in) {
  return read_line({file, "a connection string"}, in);
}

std::string read_password(const std::string& file, std::istream& in) {
  return read_line({file, "a password"}, in);
}

}  // namespace importkcd
