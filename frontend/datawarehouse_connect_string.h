#pragma once

#include <string>

#include "frontend/run_settings.h"

namespace importkcd {

/// The connection text of the data warehouse: Provider, Data Source, Persist Security Info, User ID
/// and Password (or Integrated Security), Initial Catalog, separated by semicolons.
///
/// `server` is the data warehouse box's text; "(local)" in any letter case means `computer_name`.
/// Of `settings` the four Dw settings are read; an empty user is "sa". A value with a semicolon, a
/// quote, or a blank at an end stands in double quotes, with double quotes inside doubled.
std::string BuildDatawarehouseConnectString(const std::string& server,
                                            const std::string& computer_name,
                                            const HiddenSettings& settings);

}  // namespace importkcd
