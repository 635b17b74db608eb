#include "cli/settings.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <system_error>

#include "base/files.h"
#include "base/import_error.h"

namespace importkcd {

/// One setting of a file.
struct Settings::Setting {
  /// The subcommand; empty for all.
  std::string section;
  std::string name;
  std::vector<std::string> values;
  std::size_t line = 0;
};

namespace {

namespace fs = std::filesystem;

constexpr const char* system_file = "/etc/importkcd/kcd.toml";
constexpr const char* server_positional = "SERVER";

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::string system_settings() {
  const char* const other = std::getenv("IMPORTKCD_SYSTEM_CONFIG");
  return other == nullptr ? system_file : other;
}

/// Empty when there is no place for it.
std::string user_settings() {
  // A relative folder is to be ignored, says the XDG base directory standard.
  fs::path folder = variable("XDG_CONFIG_HOME");
  if (!folder.is_absolute()) {
    const auto home = variable("HOME");
    if (home.empty()) {
      return {};
    }
    folder = fs::path(home) / ".config";
  }
  return (folder / "importkcd" / "kcd.toml").string();
}

/// The variable of an option: KCD_ON_ERROR is that of --on-error.
std::string variable_of(const std::string& option) {
  std::string name = "KCD_";
  for (const char character : option) {
    name += character == '-'
                ? '_'
                : static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
  }
  return name;
}

bool is_setting(const std::string& name) { return name != "help" && name != "version"; }

bool has_value(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

std::vector<CLI::App*> subcommands(CLI::App& program) {
  return program.get_subcommands([](CLI::App*) { return true; });
}

/// Null when there is none of that name.
CLI::App* subcommand_of(CLI::App& program, const std::string& name) {
  const auto all = subcommands(program);
  const auto found = std::find_if(
      all.begin(), all.end(), [&](const CLI::App* command) { return command->get_name() == name; });
  return found == all.end() ? nullptr : *found;
}

/// The name of an option behind its dashes; empty for a positional.
std::string long_name(const CLI::Option& option) {
  return option.get_lnames().empty() ? "" : option.get_lnames().front();
}

CLI::Option* option_of(CLI::App& command, const std::string& name) {
  return command.get_option_no_throw("--" + name);
}

/// The optional positional of a subcommand that names a server; null when it has none.
CLI::Option* server_of(CLI::App& command) {
  auto* option = command.get_option_no_throw(server_positional);
  return option == nullptr || option->get_required() ? nullptr : option;
}

[[noreturn]] void refuse(const std::string& place, const std::string& reason) {
  throw CLI::FileError(place + ": " + reason, CLI::ExitCodes::FileError);
}

/// The text without what a TOML comment is; a number sign within quotes stays.
std::string without_comment(const std::string& line) {
  char quote = '\0';
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (quote != '\0') {
      quote = line[i] == quote ? '\0' : quote;
    } else if (line[i] == '"' || line[i] == '\'') {
      quote = line[i];
    } else if (line[i] == '#') {
      return line.substr(0, i);
    }
  }
  return line;
}

std::string content_of(const std::string& file) {
  try {
    return text_of_file(file, "kcd");
  } catch (const ImportError& error) {
    throw CLI::FileError(error.description(), CLI::ExitCodes::FileError);
  }
}

bool is_text_in_quotes(const std::string& text) {
  return text.size() > 1 && (text.front() == '"' || text.front() == '\'') &&
         text.back() == text.front();
}

/// The values of a setting: one, or those of a list.
std::vector<std::string> values_of(const std::string& text, const std::string& place) {
  const bool is_list = text.size() > 1 && text.front() == '[' && text.back() == ']';
  if (text.empty() || (!is_list && !is_text_in_quotes(text) &&
                       text.find_first_of(" \t,\"'[]") != std::string::npos)) {
    refuse(place, "a text stands in quotes");
  }
  CLI::ConfigTOML reader;
  reader.comment('\x01');  // what is one was taken off
  std::istringstream stream("value = " + text);
  const auto items = reader.from_config(stream);
  if (items.empty() || items.front().inputs.empty()) {
    refuse(place, "a value is missing");
  }
  return items.front().inputs;
}

}  // namespace

Settings::Settings(CLI::App& program) : program_(program) {
  for (auto* command : subcommands(program)) {
    command
        ->add_option("--config", file_,
                     "A file of settings, in TOML: options without their dashes, such as mode = "
                     "\"update\", for all subcommands or behind [import]. The usual ones are "
                     "importkcd/kcd.toml in the user's folder of configurations and, behind it, " +
                         std::string(system_file))
        ->type_name("FILE");
    for (auto* option : command->get_options()) {
      const auto name = long_name(*option);
      if (!name.empty() && is_setting(name) && has_value(*option)) {
        option->envname(variable_of(name));
      }
    }
    if (auto* server = server_of(*command)) {
      server->description(server->get_description() + "; else what KCD_SERVER says");
    }
  }
}

std::vector<std::string> Settings::completed(std::vector<std::string> arguments) {
  look_at_arguments(arguments);
  if (command_ == nullptr || asks_for_help_) {
    return arguments;
  }
  if (file_.empty()) {
    file_ = variable("KCD_CONFIG");
  }
  take_environment();
  if (file_.empty()) {
    take_file(user_settings(), false);
    take_file(system_settings(), false);
  } else {
    take_file(file_, true);
  }
  arguments.insert(arguments.begin() + 1, added_.begin(), added_.end());
  return arguments;
}

void Settings::look_at_arguments(const std::vector<std::string>& arguments) {
  if (!arguments.empty()) {
    command_ = subcommand_of(program_, arguments.front());
  }
  for (std::size_t i = 1; command_ != nullptr && i < arguments.size(); ++i) {
    const auto& argument = arguments[i];
    if (argument == "--") {
      return;
    }
    if (argument == "--help" || argument == "-h") {
      asks_for_help_ = true;
    }
    const auto equal_sign = argument.find('=');
    auto* option = argument.starts_with("--")
                       ? command_->get_option_no_throw(argument.substr(0, equal_sign))
                       : nullptr;
    if (option == nullptr) {
      continue;
    }
    set_.insert(option);
    const bool takes_next = has_value(*option) && equal_sign == std::string::npos;
    if (argument.starts_with("--config") && has_value(*option)) {
      file_ = !takes_next                ? argument.substr(equal_sign + 1)
              : i + 1 < arguments.size() ? arguments[i + 1]
                                         : "";
    }
    i += takes_next ? 1 : 0;
  }
}

bool Settings::is_settled(CLI::Option* option) const {
  const auto excluded = option->get_excludes();
  return set_.count(option) != 0 ||
         std::any_of(excluded.begin(), excluded.end(),
                     [this](CLI::Option* other) { return set_.count(other) != 0; });
}

/// The library reads the variables, those that count.
void Settings::take_environment() {
  for (auto* option : command_->get_options()) {
    const auto name = option->get_envname();
    if (name.empty() || variable(name.c_str()).empty()) {
      continue;
    }
    if (is_settled(option)) {
      option->envname("");
    } else {
      set_.insert(option);
      origins_.emplace("--" + long_name(*option), name);
    }
  }
  auto* server = server_of(*command_);
  const auto value = variable(variable_of("server").c_str());
  if (server != nullptr && !value.empty()) {
    server->default_val(value);
    set_.insert(server);
  }
}

void Settings::take_file(const std::string& file, bool must_be_there) {
  std::error_code error;
  if (file.empty() || (!must_be_there && !fs::exists(file, error) && !error)) {
    return;
  }
  auto all = settings_in(file, content_of(file));
  // What is said of one subcommand counts more than what is said of all.
  std::stable_sort(all.begin(), all.end(), [](const Setting& left, const Setting& right) {
    return !left.section.empty() && right.section.empty();
  });
  for (const auto& setting : all) {
    take(setting, file + ":" + std::to_string(setting.line));
  }
}

std::vector<Settings::Setting> Settings::settings_in(const std::string& file,
                                                     const std::string& text) const {
  std::vector<Setting> all;
  std::set<std::string> names;
  std::string section;
  std::istringstream lines(text);
  std::string line;
  for (std::size_t number = 1; std::getline(lines, line); ++number) {
    const auto place = file + ":" + std::to_string(number);
    line = CLI::detail::trim_copy(without_comment(line));
    if (line.empty()) {
      continue;
    }
    if (line.front() == '[') {
      section = CLI::detail::trim_copy(line.substr(1, line.size() - 2));
      if (line.back() != ']' || subcommand_of(program_, section) == nullptr) {
        refuse(place, "'" + line + "' does not name a subcommand");
      }
      continue;
    }
    const auto equal_sign = line.find('=');
    if (equal_sign == std::string::npos || equal_sign == 0) {
      refuse(place, "a setting is written NAME = VALUE");
    }
    Setting setting{section, CLI::detail::trim_copy(line.substr(0, equal_sign)), {}, number};
    auto value = CLI::detail::trim_copy(line.substr(equal_sign + 1));
    while (!value.empty() && value.front() == '[' && value.back() != ']' &&
           std::getline(lines, line)) {
      ++number;
      value += CLI::detail::trim_copy(without_comment(line));
    }
    check_known(setting, place);
    if (!names.insert(section + " " + setting.name).second) {
      refuse(place, "'" + setting.name + "' is set a second time");
    }
    setting.values = values_of(value, place);
    all.push_back(std::move(setting));
  }
  return all;
}

void Settings::check_known(const Setting& setting, const std::string& place) const {
  const auto all = subcommands(program_);
  const auto knows = [&](CLI::App* command) {
    return (setting.section.empty() || setting.section == command->get_name()) &&
           (option_of(*command, setting.name) != nullptr ||
            (setting.name == "server" && server_of(*command) != nullptr));
  };
  if (!is_setting(setting.name) || setting.name == "config" ||
      std::none_of(all.begin(), all.end(), knows)) {
    refuse(place, "there is no option --" + setting.name +
                      (setting.section.empty() ? "" : " of kcd " + setting.section));
  }
}

void Settings::take(const Setting& setting, const std::string& place) {
  if (!setting.section.empty() && setting.section != command_->get_name()) {
    return;
  }
  auto* option = option_of(*command_, setting.name);
  auto* server = setting.name == "server" && option == nullptr ? server_of(*command_) : nullptr;
  if (server != nullptr && set_.insert(server).second) {
    server->default_val(setting.values.front());
  }
  if (option == nullptr || is_settled(option)) {
    return;
  }
  const auto name = "--" + setting.name;
  origins_.emplace(name, place);
  set_.insert(option);
  if (has_value(*option)) {
    for (const auto& value : setting.values) {
      added_.insert(added_.end(), {name, value});
    }
  } else if (setting.values.front() == "true") {
    added_.push_back(name);
  } else if (setting.values.front() != "false") {
    refuse(place, "'" + setting.name + "' is true or false");
  }
}

std::string Settings::origin_of(std::string_view message) const {
  const auto end = message.find_first_not_of("-abcdefghijklmnopqrstuvwxyz");
  const auto found = origins_.find(std::string(message.substr(0, end)));
  return found == origins_.end() ? "" : " (" + found->second + ")";
}

}  // namespace importkcd
