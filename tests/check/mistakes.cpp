#include "tests/check/mistakes.h"

#include "base/import_error.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

std::string line_of(const Finding& finding) {
  return std::to_string(finding.position.line) + ":" + std::to_string(finding.position.column) +
         (finding.severity == Severity::error ? ": error: " : ": warning: ") + finding.path +
         (finding.path.empty() ? "" : ": ") + finding.message;
}

std::vector<std::string> lines_found(std::string_view text, const CheckOptions& options) {
  const TemporaryFolder folder;
  std::vector<std::string> lines;
  try {
    const auto document = KcdDocument::load_original(folder.write("document.kcd", text));
    for (const auto& finding : check_document(*document, options)) {
      lines.push_back(line_of(finding));
    }
  } catch (const DocumentSyntaxError& error) {
    lines.push_back(line_of({Severity::error, error.position(), "", "", error.reason()}));
  }
  return lines;
}

void expect_mistakes_found(const std::vector<Mistake>& mistakes) {
  for (const auto& [from, to, findings] : mistakes) {
    auto text = imported_document();
    const auto at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    EXPECT_EQ(lines_found(text.replace(at, from.size(), to)), findings) << from << " -> " << to;
  }
}

}  // namespace importkcd::testing
