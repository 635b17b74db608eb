#pragma once

#include <cstddef>
#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string_view>

#include "xmla/dataset.h"

namespace importkcd {

/// Prints the answer to an MDX question as a table for people: the first axis makes the columns,
/// the second the rows, and every place of further axes a table of its own under a heading. Member
/// properties of the rows stand in columns of their own. An answer without axes is one figure.
/// Empty cells are blank. Throws ImportError when the table would have more than ten million cells.
void print_table(const Dataset& dataset, std::ostream& out);

/// How many columns of a terminal a UTF-8 text takes: wide characters take two, combining ones
/// none. Bytes that are not UTF-8 count one each.
std::size_t text_width(std::string_view text);

/// The answer for programs: `{"cube": ..., "axes": [{"name": ..., "hierarchies": [...], "tuples":
/// [[member, ...], ...]}, ...], "slicer": [member, ...], "cells": [{"ordinal": ..., "value": ...,
/// "formatted": ...}, ...]}`. A member has "hierarchy", "unique_name", "caption", "level" and
/// "properties". Ordinals count along the columns first; empty cells are left out. Values are
/// numbers where the server says so, and texts otherwise.
nlohmann::ordered_json dataset_json(const Dataset& dataset);

}  // namespace importkcd
