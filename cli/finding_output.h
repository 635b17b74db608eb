#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "check/findings.h"

namespace importkcd {

/// What was found in one file.
struct FileFindings {
  /// As the person named it; "-" is shown as "<stdin>".
  std::string file;
  std::vector<Finding> findings;
};

/// Writes one finding as one line: "shop.kcd:17:11: error: cube 'Orders' > measure 'Revenue':
/// unknown attribute 'sourc_column'". A place or a path that is not known is left out.
void write_finding(std::ostream& out, const std::string& file, const Finding& finding);

/// Writes findings in the form that build servers read, SARIF 2.1.0. A finding about a name that is
/// no UTF-8 shows the replacement character there.
void write_sarif(std::ostream& out, const std::vector<FileFindings>& files);

/// "2 errors, 1 warning in shop.kcd", or "... in 3 files".
std::string summary_of(const std::vector<FileFindings>& files);

}  // namespace importkcd
