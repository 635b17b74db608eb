#pragma once

#include <string_view>

namespace importkcd {

/// The component that errors of this folder carry as their source.
constexpr std::string_view xmla_server = "XMLA server";

}  // namespace importkcd
