#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// A connection string with the values of its password items (PWD and every key with the word
/// "password", any letter case) replaced by "***". Values may stand in single or double quotes,
/// doubled inside, or in braces; a connection string inside a quoted value is masked as well. A
/// value whose quote is not closed reaches to the end.
std::string mask_passwords(std::string_view connection_string);

}  // namespace importkcd
