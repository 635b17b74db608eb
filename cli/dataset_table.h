#pragma once

#include <iosfwd>

#include "xmla/dataset.h"

namespace importkcd {

/// Prints the answer to an MDX question as a table for people: the first axis makes the columns,
/// the second the rows, and every place of further axes a table of its own under a heading. Member
/// properties of the rows stand in columns of their own. An answer without axes is one figure.
/// Empty cells are blank. Throws ImportError when the table would have more than ten million cells.
void print_table(const Dataset& dataset, std::ostream& out);

}  // namespace importkcd
