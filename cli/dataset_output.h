#pragma once

#include <cstddef>
#include <iosfwd>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "xmla/dataset.h"

namespace importkcd {

/// Prints the answer to an MDX question as a table for people: the first axis makes the columns,
/// the second the rows, and every place of further axes a table of its own under a heading. Member
/// properties of the rows stand in columns of their own. An answer without axes is one figure.
/// Empty cells are blank, cells that could not be computed show "#ERR". Throws ImportError when the
/// table would have more than ten million cells.
void print_table(const Dataset& dataset, std::ostream& out);

/// Why cells could not be computed: each reason once, with the number of cells that it is for.
std::map<std::string, std::size_t> cell_errors(const Dataset& dataset);

/// How many columns of a terminal a UTF-8 text takes: wide characters take two, combining ones
/// none. Bytes that are not UTF-8 count one each.
std::size_t text_width(std::string_view text);

/// The answer for programs: `{"cube": ..., "axes": [{"name": ..., "hierarchies": [...], "tuples":
/// [[member, ...], ...]}, ...], "slicer": [member, ...], "cells": [{"ordinal": ..., "value": ...,
/// "formatted": ...}, ...]}`. A member has "hierarchy", "unique_name", "caption", "level" and
/// "properties". Ordinals count along the columns first; empty cells are left out, or their value
/// is null. Values are numbers where the server says so, and texts otherwise. A cell that could not
/// be computed has the value null and an "error", the reason.
nlohmann::ordered_json dataset_json(const Dataset& dataset);

}  // namespace importkcd
