#include "cli/document_findings.h"

#include <optional>
#include <utility>

#include "base/import_error.h"
#include "check/document_check.h"
#include "check/kcd_format.h"
#include "document/document_copy.h"
#include "document/kcd_document.h"

namespace importkcd {
namespace {

/// The finding of `error`, or those of the document that `load` gives.
template <class Load>
std::vector<Finding> findings_of_loaded(Load load) {
  try {
    return check_document(*load());
  } catch (const ImportError& error) {
    return {finding_of(error)};
  }
}

/// As the import reads a document: in a copy, in which the pattern is replaced.
std::vector<Finding> findings_in_copy(const ImportOptions& options) {
  const auto copy = PrepareDocument(options.kcd_document_file_name,
                                    CompanyPattern{options.pattern_from, options.pattern_to});
  if (!copy.error.empty()) {
    return {{Severity::error, {}, "", rule::not_xml, copy.error}};
  }
  auto findings = findings_of_loaded([&] { return KcdDocument::load(copy.path); });
  DeleteTempDocument(copy.path);
  for (auto& finding : findings) {
    // Where the text before was replaced, the columns of the copy are not those of the document.
    finding.position.column = 0;
    finding.position.line += copy.lacks_first_line ? 1 : 0;
  }
  return findings;
}

}  // namespace

Finding finding_of(const std::exception& error) {
  if (const auto* fault = dynamic_cast<const DocumentSyntaxError*>(&error)) {
    return {Severity::error, fault->position(), "", rule::not_xml, fault->reason()};
  }
  return {Severity::error, {}, "", rule::not_xml, error.what()};
}

std::vector<Finding> findings_before(const ImportOptions& options) {
  return options.replace_pattern_yn() ? findings_in_copy(options) : findings_of_loaded([&] {
    return KcdDocument::load_original(options.kcd_document_file_name);
  });
}

std::vector<Finding> findings_of_failure(const ImportOLAPDBFromKCDDoc& importer) {
  if (importer.succeeded || importer.failed_position.line == 0) {
    return {};
  }
  const auto* const element = importer.failed_at;
  if (element == nullptr || importer.document() == nullptr) {
    return {{Severity::error, importer.failed_position, "", rule::not_xml, importer.failed_reason}};
  }
  std::vector<Finding> findings;
  for (auto& finding : check_document(*importer.document())) {
    if (finding.severity == Severity::error && finding.position == element->position()) {
      finding.position = importer.failed_position;
      findings.push_back(std::move(finding));
    }
  }
  if (findings.empty()) {
    findings.push_back({Severity::error,
                        importer.failed_position,
                        path_of(*importer.document(), *element),
                        {},
                        importer.failed_reason});
  }
  return findings;
}

}  // namespace importkcd
