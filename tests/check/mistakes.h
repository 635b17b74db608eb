#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "check/document_check.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {

/// A typing error in imported_document(), which has none, and all that a check finds then.
struct Mistake {
  std::string_view from;
  std::string_view to;
  /// As line_of() gives them.
  std::vector<std::string> findings;
};

/// "17:11: error: cube 'Orders' > measure 'Revenue': unknown attribute 'sourc_column'".
std::string line_of(const Finding& finding);

/// The lines of all findings of a document's text; of one that cannot be loaded its one error.
std::vector<std::string> lines_found(std::string_view text, const CheckOptions& options = {});

/// Each mistake by itself is found, and nothing else.
void expect_mistakes_found(const std::vector<Mistake>& mistakes);

}  // namespace importkcd::testing
