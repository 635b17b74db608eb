#include "cli/argument_list.h"

#include <CLI/CLI.hpp>
#include <algorithm>

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

}  // namespace importkcd
