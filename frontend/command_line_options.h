#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "frontend/command_line_target.h"
#include "frontend/run_settings.h"

namespace importkcd {

/// A command line value that cannot be converted. Nothing traps it during start-up: the program
/// shows what() in a message box and ends. what() never repeats the value, which may be a password.
class StartUpError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One command line option.
struct CommandLineOption {
  /// In lower case, without its introducer.
  std::string_view name;
  /// Whether the option makes the start an unattended one.
  bool sets_command_line_run;
  /// What the option does with its value. May throw StartUpError.
  void (*apply)(const std::string& value, HiddenSettings& settings, CommandLineTarget& target);
};

/// All options, in the order in which a name is compared with them.
std::span<const CommandLineOption> command_line_options();

/// Applies the option of that name, in any letter case; an unknown name does nothing. Throws
/// StartUpError when the value cannot be converted.
void ApplyCommandLineOption(std::string_view name, const std::string& value,
                            HiddenSettings& settings, CommandLineTarget& target);

/// Locks the controls for an unattended run, in a fixed order: what the options set stands.
void lock_controls(CommandLineTarget& target);

/// False for "no" in any letter case, true for everything else.
bool dw_trusted_value(std::string_view value);

/// The value without its first and its last character, which callers wrap around a password. Throws
/// StartUpError when it has fewer than two characters.
std::string dw_password_value(std::string_view value);

/// "True" or "False" in any letter case, or a decimal number, of which only 0 is false. Throws
/// StartUpError for any other text.
bool label_trusted_value(std::string_view value);

}  // namespace importkcd
