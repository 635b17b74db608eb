#include "frontend/command_line_options.h"

#include <algorithm>
#include <array>
#include <optional>

#include "base/name_folding.h"
#include "frontend/output_file_name.h"
#include "frontend/text_characters.h"

namespace importkcd {
namespace {

using Value = const std::string&;
using Settings = HiddenSettings&;
using Target = CommandLineTarget&;

void apply_machine(Value value, Settings /*settings*/, Target target) {
  target.set_text(control::txtOLAPServer, value);
  target.repaint(control::txtOLAPServer);
}

void apply_file(Value value, Settings /*settings*/, Target target) {
  target.set_text(control::txtKCDFilename, value);
  target.repaint(control::txtKCDFilename);
  target.DeriveOutputFileName();
  // Without this the labels options would mean nothing in an unattended start, where nobody leaves
  // the document box.
  target.set_kci_input(is_kci_name(value));
}

void apply_database_name(Value value, Settings /*settings*/, Target target) {
  target.set_text(control::txtOLAPDatabase, value);
  target.repaint(control::txtOLAPDatabase);
  target.check(control::cbAltOLAPDatabase);
}

void apply_data_source(Value value, Settings /*settings*/, Target target) {
  target.set_text(control::txtDatawarehouseServer, value);
  target.check(control::cbAltDWServer);
}

void apply_incremental(Value /*value*/, Settings settings, Target target) {
  target.select(control::obIncremental);
  settings.ImportTypeGiven = true;
}

void apply_replace(Value /*value*/, Settings /*settings*/, Target target) {
  target.select(control::obReplace);
}

void apply_update(Value /*value*/, Settings settings, Target target) {
  target.select(control::obUpdate);
  settings.ImportTypeGiven = true;
}

void apply_cube_partitions(Value /*value*/, Settings /*settings*/, Target target) {
  target.check(control::cbImportCubePartitionDefs);
}

void apply_pattern_from(Value value, Settings /*settings*/, Target target) {
  target.set_text(control::txtReplacePatternFrom, value);
  target.check(control::cbReplacePattern);
}

void apply_pattern_to(Value value, Settings /*settings*/, Target target) {
  target.set_text(control::txtReplacePatternTo, value);
  target.check(control::cbReplacePattern);
}

void apply_label_trusted(Value value, Settings /*settings*/, Target target) {
  target.select(label_trusted_value(value) ? control::optSecureLogin : control::optSQLLogin);
}

/// Puts the value into one box; the box is a template argument, so that the table holds plain
/// function pointers.
template <const ControlName& box>
void apply_text(Value value, Settings /*settings*/, Target target) {
  target.set_text(box, value);
}

template <std::string HiddenSettings::*setting>
void apply_setting(Value value, Settings settings, Target /*target*/) {
  settings.*setting = value;
}

template <bool HiddenSettings::*setting, bool flag>
void apply_flag(Value /*value*/, Settings settings, Target /*target*/) {
  settings.*setting = flag;
}

void apply_dw_trusted(Value value, Settings settings, Target /*target*/) {
  settings.DwTrusted = dw_trusted_value(value);
}

void apply_dw_password(Value value, Settings settings, Target /*target*/) {
  settings.DwPassword = dw_password_value(value);
}

constexpr std::array<CommandLineOption, 23> known_options{{
    {"machine", true, apply_machine},
    {"file", true, apply_file},
    {"databasename", true, apply_database_name},
    {"datasource", true, apply_data_source},
    {"dwdb", true, apply_setting<&HiddenSettings::DwDatabase>},
    {"dwnt", true, apply_dw_trusted},
    {"dwuser", true, apply_setting<&HiddenSettings::DwUser>},
    {"dwpwd", true, apply_dw_password},
    {"novirtualcubes", false, apply_flag<&HiddenSettings::ImportVirtualCubes, false>},
    {"incremental", false, apply_incremental},
    {"replace", false, apply_replace},
    {"update", false, apply_update},
    {"cubepartitions", false, apply_cube_partitions},
    {"patternfrom", false, apply_pattern_from},
    {"patternto", false, apply_pattern_to},
    {"noclose", false, apply_flag<&HiddenSettings::KeepOpen, true>},
    {"labelserver", false, apply_text<control::txtServer>},
    {"labeltrusted", false, apply_label_trusted},
    {"labelusername", false, apply_text<control::txtSQLUsername>},
    {"labelpassword", false, apply_text<control::txtSQLPassword>},
    {"labeldb", false, apply_text<control::cmbDB>},
    {"labellanguage", false, apply_text<control::cmbLanguage>},
    {"statusfile", false, apply_setting<&HiddenSettings::StatusFileName>},
}};

void disable_all(Target target, std::span<const ControlName> controls) {
  for (const ControlName name : controls) {
    target.disable(name);
  }
}

bool is_blank_text(const CommandLineTarget& target, ControlName box) {
  return trim_blanks(target.text(box)).empty();
}

/// Whether a decimal number is something other than 0; nothing when the text is no such number.
std::optional<bool> number_is_nonzero(std::string_view text) {
  std::size_t place = 0;
  const auto take_any_of = [&](std::string_view set) {
    const bool found = place < text.size() && set.find(text[place]) != std::string_view::npos;
    place += found ? 1U : 0U;
    return found;
  };
  const auto take_digits = [&] {
    const std::size_t first = place;
    place = std::min(text.find_first_not_of("0123456789", first), text.size());
    return text.substr(first, place - first);
  };

  take_any_of("+-");
  const auto whole = take_digits();
  const auto fraction = take_any_of(".") ? take_digits() : std::string_view{};
  if (whole.empty() && fraction.empty()) {
    return std::nullopt;
  }
  const bool nonzero = whole.find_first_not_of('0') != std::string_view::npos ||
                       fraction.find_first_not_of('0') != std::string_view::npos;
  if (take_any_of("eE")) {
    take_any_of("+-");
    if (take_digits().empty()) {
      return std::nullopt;
    }
  }
  return place == text.size() ? std::optional(nonzero) : std::nullopt;
}

}  // namespace

std::span<const CommandLineOption> command_line_options() { return known_options; }

void ApplyCommandLineOption(std::string_view name, const std::string& value,
                            HiddenSettings& settings, CommandLineTarget& target) {
  const std::string wanted = lower_cased(name);
  for (const CommandLineOption& option : known_options) {
    if (option.name == wanted) {
      option.apply(value, settings, target);
      settings.CommandLineRun = settings.CommandLineRun || option.sets_command_line_run;
    }
  }
}

void lock_controls(CommandLineTarget& target) {
  using namespace control;
  constexpr std::array<ControlName, 8> run_controls{
      cmdImport,         txtOLAPServer, txtKCDFilename, txtOLAPDatabase,
      cbAltOLAPDatabase, cbAltDWServer, obReplace,      obIncremental};
  constexpr std::array<ControlName, 13> labels_controls{
      lblServer,      txtServer,      cmdServer,      optSecureLogin, optSQLLogin,
      lblSQLUsername, txtSQLUsername, lblSQLPassword, txtSQLPassword, lblDB,
      cmbDB,          lblLanguage,    cmbLanguage};

  disable_all(target, run_controls);
  // Not obIncremental: an unattended run that names no mode, or names this one, is incremental.
  target.clear_selection(obReplace);
  target.clear_selection(obUpdate);
  target.disable(cbImportCubePartitionDefs);
  if (target.is_checked(cbReplacePattern) && (is_blank_text(target, txtReplacePatternFrom) ||
                                              is_blank_text(target, txtReplacePatternTo))) {
    target.uncheck(cbReplacePattern);
  }
  disable_all(target, labels_controls);
}

bool dw_trusted_value(std::string_view value) { return lower_cased(value) != "no"; }

std::string dw_password_value(std::string_view value) {
  if (character_count(value) < 2) {
    throw StartUpError("Invalid procedure call or argument in option 'dwpwd'");
  }
  return std::string(without_last_characters(without_first_character(value), 1));
}

bool label_trusted_value(std::string_view value) {
  const std::string word = lower_cased(value);
  if (word == "true" || word == "false") {
    return word == "true";
  }
  const auto nonzero = number_is_nonzero(trim_blanks(value));
  if (!nonzero) {
    throw StartUpError("Type mismatch in option 'labeltrusted'");
  }
  return *nonzero;
}

}  // namespace importkcd
