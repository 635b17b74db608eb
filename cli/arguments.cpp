#include "cli/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <istream>
#include <string_view>
#include <system_error>

#include "base/import_error.h"
#include "base/name_folding.h"

namespace importkcd {
namespace {

/// Whether the argument is the name of an option that has a value.
bool names_valued_option(const CLI::App& program, const std::string& argument) {
  if (!argument.starts_with("--")) {
    return false;
  }
  const auto commands = program.get_subcommands([](const CLI::App*) { return true; });
  return std::any_of(commands.begin(), commands.end(), [&](const CLI::App* command) {
    const auto* option = command->get_option_no_throw(argument);
    return option != nullptr && option->get_items_expected_max() > 0;
  });
}

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

std::string read_only_line(const Origin& origin, std::istream& in) {
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

std::vector<std::string> argument_list(const CLI::App& program, int count,
                                       const char* const* arguments) {
  std::vector<std::string> result;
  bool is_value = false;
  bool only_positionals = false;
  for (int i = 1; i < count; ++i) {
    std::string argument = arguments[i];
    only_positionals = only_positionals || (!is_value && argument == "--");
    if (is_value || only_positionals) {
      is_value = false;
    } else if (names_valued_option(program, argument)) {
      is_value = true;
    } else if (argument.size() > 1 && argument.back() == '=' &&
               names_valued_option(program, argument.substr(0, argument.size() - 1))) {
      argument.pop_back();
      result.push_back(argument);
      argument.clear();
    }
    result.push_back(argument);
  }
  return result;
}

std::string listed(const std::vector<std::string>& names) {
  std::string list;
  for (const auto& name : names) {
    list += list.empty() ? "" : ", ";
    list += "'" + name + "'";
  }
  return list;
}

bool is_kci_file(std::string_view file) {
  constexpr std::string_view extension = ".kci";
  return file.size() >= extension.size() &&
         same_name(file.substr(file.size() - extension.size()), extension);
}

std::string read_connection_text(const std::string& file, std::istream& in) {
  return read_only_line({file, "a connection string"}, in);
}

std::string read_pattern(const std::string& file, std::istream& in) {
  return read_only_line({file, "a pattern"}, in);
}

std::string read_password(const std::string& file, std::istream& in) {
  return read_only_line({file, "a password"}, in);
}

}  // namespace importkcd
