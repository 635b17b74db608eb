#include "frontend/field_validation.h"

#include <array>
#include <filesystem>
#include <system_error>

#include "frontend/text_characters.h"

namespace importkcd {
namespace {

struct FieldCheck {
  bool (*fails)(const RunFields& fields);
  FieldFailure failure;
};

bool is_empty(const std::string& text) { return trim_blanks(text).empty(); }

constexpr std::array<FieldCheck, 12> checks{{
    {[](const RunFields& f) { return is_empty(f.kcd_filename); },
     {"Cube Definition Document", "KCD Filename field is empty ! Please fill it...",
      control::txtKCDFilename}},
    {[](const RunFields& f) { return !FileExists(f.kcd_filename); },
     {"Cube Definition Document", "Given KCD File does not exist ! Please select another...",
      control::txtKCDFilename}},
    // The document box takes the focus here, not the server box.
    {[](const RunFields& f) { return is_empty(f.olap_server); },
     {"Microsoft OLAP Server", "MS OLAP Server field is empty ! Please fill it...",
      control::txtKCDFilename}},
    {[](const RunFields& f) { return f.alt_olap_database && is_empty(f.olap_database); },
     {"Alternate OLAP Database", "Alt. OLAP Database field is empty ! Please fill it...",
      control::txtOLAPDatabase}},
    {[](const RunFields& f) { return f.alt_dw_server && is_empty(f.datawarehouse_server); },
     {"Alternate Datawarehouse Server",
      "Alt. Datawarehouse Server field is empty ! Please fill it...",
      control::txtDatawarehouseServer}},
    {[](const RunFields& f) { return f.replace_pattern && is_empty(f.replace_pattern_from); },
     {"Company Replace Pattern", "From Pattern field is empty ! Please fill it...",
      control::txtReplacePatternFrom}},
    {[](const RunFields& f) { return f.replace_pattern && is_empty(f.replace_pattern_to); },
     {"Company Replace Pattern", "To Pattern field is empty ! Please fill it...",
      control::txtReplacePatternTo}},
    {[](const RunFields& f) { return f.output_file && is_empty(f.output_file_name); },
     {"Output to File", "Output Filename field is empty ! Please fill it...",
      control::txtOutputFile}},
    {[](const RunFields& f) { return f.kci_input && is_empty(f.labels_server); },
     {"Labels Server", "The servername for the Labels database is empty ! Please fill it...",
      control::txtServer}},
    {[](const RunFields& f) { return f.kci_input && f.sql_login && is_empty(f.sql_username); },
     {"Labels SQL Username",
      "The SQL Username for the Labels database is empty ! Please fill it...",
      control::txtSQLUsername}},
    {[](const RunFields& f) { return f.kci_input && is_empty(f.labels_database); },
     {"Labels databasename", "The name of the Labels database  is empty ! Please fill it...",
      control::cmbDB}},
    {[](const RunFields& f) { return f.kci_input && is_empty(f.language); },
     {"Language", "The language to use for the labels is empty ! Please fill it...",
      control::cmbLanguage}},
}};

}  // namespace

std::optional<FieldFailure> ValidateInputs(const RunFields& fields) {
  for (const FieldCheck& check : checks) {
    if (check.fails(fields)) {
      return check.failure;
    }
  }
  return std::nullopt;
}

bool FileExists(const std::string& path) {
  std::error_code error;
  static_cast<void>(std::filesystem::file_size(path, error));
  return !error;
}

}  // namespace importkcd
