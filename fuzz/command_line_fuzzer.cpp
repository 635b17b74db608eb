// Any bytes as a command line: no character is lost, tokens can be joined and taken apart again,
// and options do nothing but what belongs to them.
//
// An input is a command line; taken apart at NULs it is an argument vector too.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frontend/command_line.h"
#include "frontend/command_line_options.h"
#include "fuzz/fuzz_support.h"
#include "tests/frontend/recording_target.h"

namespace {

using namespace importkcd;
using fuzz::require;
using testing::RecordingTarget;

using Texts = std::vector<std::string>;

/// The text less its quotes and the blanks outside of them: what all tokens together must be.
std::string kept_characters(std::string_view text) {
  std::string kept;
  bool in_quotes = false;
  for (const char c : text) {
    in_quotes = in_quotes != (c == '"');
    if (c != '"' && (in_quotes || (c != ' ' && c != '\t'))) {
      kept += c;
    }
  }
  return kept;
}

std::string joined(const Texts& texts) {
  std::string all;
  for (const auto& text : texts) {
    all += text;
  }
  return all;
}

Texts check_tokens(std::string_view text) {
  auto tokens = tokenize_command_line(text);
  require(tokens.size() <= max_command_line_tokens);
  for (const auto& token : tokens) {
    require(!token.empty() && token.find('"') == std::string::npos);
  }
  const auto kept = kept_characters(text);
  const auto all = joined(tokens);
  require(tokens.size() == max_command_line_tokens ? kept.rfind(all, 0) == 0 : kept == all);
  require(tokenize_command_line(join_command_line(tokens)) == tokens);
  return tokens;
}

void check_options(const Texts& tokens) {
  const auto uses = options_of_command_line(tokens);
  require(tokens.size() > 1 || uses.empty());
  auto token = tokens.begin();
  for (const auto& use : uses) {
    token = std::find_if(token, tokens.end(), [&](const std::string& t) {
      return (t.front() == '/' || t.front() == '-') && t.substr(1) == use.name;
    });
    require(token != tokens.end());
    ++token;
    require(use.value == (token == tokens.end() ? std::string() : *token));
  }
}

/// Whether an option that makes the start an unattended one is among them.
bool starts_unattended(const Texts& tokens) {
  const auto uses = options_of_command_line(tokens);
  return std::any_of(uses.begin(), uses.end(), [](const CommandLineOptionUse& use) {
    HiddenSettings settings;
    RecordingTarget target;
    try {
      ApplyCommandLineOption(use.name, use.value, settings, target);
    } catch (const StartUpError&) {
      return true;
    }
    return settings.CommandLineRun;
  });
}

void check_parse(std::string_view text, const Texts& tokens) {
  HiddenSettings settings;
  RecordingTarget target;
  try {
    ParseCommandLine(text, settings, target);
  } catch (const StartUpError& error) {
    require(std::string_view(error.what()).find(" in option '") != std::string_view::npos);
    return;
  }
  const bool locked = std::find(target.operations.begin(), target.operations.end(),
                                "disable cmdImport") != target.operations.end();
  require(locked == settings.CommandLineRun);
  require(!settings.CommandLineRun || starts_unattended(tokens));
  for (const auto& [box, value] : target.texts) {
    require(!box.empty());
    require(value.empty() || std::find(tokens.begin(), tokens.end(), value) != tokens.end());
  }
}

/// Arguments without quotes arrive as they are, but for empty ones.
void check_arguments(std::string_view text) {
  Texts arguments;
  for (std::size_t at = 0; at <= text.size();) {
    const auto end = std::min(text.find('\0', at), text.size());
    arguments.emplace_back(text.substr(at, end - at));
    at = end + 1;
  }
  const auto line = join_command_line(arguments);
  check_tokens(line);
  arguments.erase(std::remove(arguments.begin(), arguments.end(), ""), arguments.end());
  if (line.find('"') == std::string::npos || text.find('"') == std::string_view::npos) {
    arguments.resize(std::min(arguments.size(), max_command_line_tokens));
    require(tokenize_command_line(line) == arguments);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  const auto tokens = check_tokens(text);
  check_options(tokens);
  check_parse(text, tokens);
  check_arguments(text);
  return 0;
}
