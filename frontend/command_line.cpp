#include "frontend/command_line.h"

#include "frontend/command_line_options.h"

namespace importkcd {
namespace {

bool is_blank(char character) { return character == ' ' || character == '\t'; }

bool introduces_option(std::string_view token) {
  return !token.empty() && (token.front() == '/' || token.front() == '-');
}

}  // namespace

std::string join_command_line(std::span<const std::string> arguments) {
  std::string text;
  for (const std::string& argument : arguments) {
    const bool quote = argument.find_first_of(" \t") != std::string::npos &&
                       argument.find('"') == std::string::npos;
    if (&argument != arguments.data()) {
      text += ' ';
    }
    text += quote ? '"' + argument + '"' : argument;
  }
  return text;
}

std::vector<std::string> tokenize_command_line(std::string_view text) {
  std::vector<std::string> tokens;
  bool in_quotes = false;
  bool in_token = false;
  for (const char character : text) {
    if (character == '"') {
      in_quotes = !in_quotes;
      continue;
    }
    if (is_blank(character) && !in_quotes) {
      in_token = false;
      continue;
    }
    if (!in_token) {
      if (tokens.size() == max_command_line_tokens) {
        break;
      }
      tokens.emplace_back();
      in_token = true;
    }
    tokens.back() += character;
  }
  return tokens;
}

std::vector<CommandLineOptionUse> options_of_command_line(std::span<const std::string> tokens) {
  std::vector<CommandLineOptionUse> uses;
  if (tokens.size() <= 1) {
    return uses;
  }
  for (std::size_t index = 0; index < tokens.size(); ++index) {
    if (introduces_option(tokens[index])) {
      uses.push_back(
          {tokens[index].substr(1), index + 1 < tokens.size() ? tokens[index + 1] : std::string()});
    }
  }
  return uses;
}

void ParseCommandLine(std::string_view text, HiddenSettings& settings, CommandLineTarget& target) {
  settings.CommandLineRun = false;
  for (const auto& [name, value] : options_of_command_line(tokenize_command_line(text))) {
    ApplyCommandLineOption(name, value, settings, target);
  }
  if (settings.CommandLineRun) {
    lock_controls(target);
  }
}

}  // namespace importkcd
