#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace importkcd {

// Rules about names that the main window follows while its fields are filled.

/// The output file's name for a document of that name: the name less its last four characters,
/// "_Out_", the date as yyyymmdd, ".txt". Nothing for a name of fewer than five characters.
std::optional<std::string> DeriveOutputFileName(std::string_view document_name,
                                                std::chrono::year_month_day date);

/// Today in the local time zone.
std::chrono::year_month_day local_date();

/// What leaving the document box does to `cbReplacePattern`; its click behaviour runs for check and
/// uncheck alike.
enum class SingleCompanyRule { leave, check, uncheck };

/// A document in a folder whose name ends in "SC" (any letter case) before a three-letter extension
/// is a single-company cube. A name without a folder separator ("/" or "\", the last two characters
/// not looked at) or of at most five characters leaves the box alone.
SingleCompanyRule single_company_rule(std::string_view document_name);

/// Whether a name means a label-reference file: it ends in "kci", in any letter case.
bool is_kci_name(std::string_view document_name);

/// Whether a character may stand in the alternate database's name: A to Z, a to z, 0 to 9, "_".
bool IsNameChar(char32_t character);

/// Whether the alternate database box takes a typed character: name characters, the blank, and
/// backspace (8).
bool database_box_takes_key(char32_t character);

}  // namespace importkcd
