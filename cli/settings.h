#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace importkcd {

/// Options that stand neither on the command line nor alone there: in variables of the environment
/// (KCD_ and the option's name in capitals, such as KCD_ON_ERROR), and in files of settings, in
/// TOML (`mode = "update"`, for all subcommands or behind the head `[import]`).
///
/// The command line counts more than the environment, that more than the user's file
/// (`importkcd/kcd.toml` in the user's folder of configurations), and that more than the system's
/// (`/etc/importkcd/kcd.toml`, or what IMPORTKCD_SYSTEM_CONFIG names). --config names one file in
/// place of both. An option that excludes one that counts more is left out.
class Settings {
 public:
  /// Gives every subcommand, all of which are there, an option --config and its variables. The
  /// program outlives this object.
  explicit Settings(CLI::App& program);

  /// The program's arguments, of the form that argument_list() gives, and the files' settings.
  /// Throws CLI::FileError, which names file and line, when a file cannot be used.
  std::vector<std::string> completed(std::vector<std::string> arguments);

  /// For a message of the command line library: where the option that it begins with was set, in
  /// brackets behind a blank; empty when that was on the command line.
  std::string origin_of(std::string_view message) const;

 private:
  struct Setting;

  void look_at_arguments(const std::vector<std::string>& arguments);
  void take_environment();
  void take_file(const std::string& file, bool must_be_there);
  void take(const Setting& setting, const std::string& place);
  /// Whether this or what excludes it is set already.
  bool is_settled(CLI::Option* option) const;
  std::vector<Setting> settings_in(const std::string& file, const std::string& text) const;
  void check_known(const Setting& setting, const std::string& place) const;

  CLI::App& program_;
  CLI::App* command_ = nullptr;
  std::string file_;
  bool asks_for_help_ = false;
  /// The options of the chosen subcommand that count more than what is looked at.
  std::set<CLI::Option*> set_;
  std::vector<std::string> added_;
  /// Where options were set, by their names with dashes.
  std::map<std::string, std::string> origins_;
};

}  // namespace importkcd
