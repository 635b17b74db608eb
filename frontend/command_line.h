#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frontend/command_line_target.h"
#include "frontend/run_settings.h"

namespace importkcd {

/// A command line has no more tokens than this; what follows is dropped silently.
constexpr std::size_t max_command_line_tokens = 25;

/// The text of an argument vector (without the program's name): the arguments joined with blanks.
/// One that holds a blank or a tab, but no quote, is put in quotes, so that it stays one token.
std::string join_command_line(std::span<const std::string> arguments);

/// Splits a command line at blanks and tabs outside of double quotes. Quotes are dropped and do not
/// end a token.
std::vector<std::string> tokenize_command_line(std::string_view text);

/// An option as it stands on the command line: its name without the introducer, and the token that
/// follows, or the empty text.
struct CommandLineOptionUse {
  std::string name;
  std::string value;
  bool operator==(const CommandLineOptionUse&) const = default;
};

/// The options among the tokens, in order. A value that looks like an option is one as well. A
/// single token is no command line: it yields nothing.
std::vector<CommandLineOptionUse> options_of_command_line(std::span<const std::string> tokens);

/// Reads a command line: applies its options to the settings and the window, and locks the window's
/// controls when the start became an unattended one (HiddenSettings::CommandLineRun). Throws
/// StartUpError when a value cannot be converted; earlier options stay applied.
void ParseCommandLine(std::string_view text, HiddenSettings& settings, CommandLineTarget& target);

}  // namespace importkcd
