#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace importkcd {

/// Component names that an ImportError carries as its source.
namespace error_source {
constexpr std::string_view olap_server = "OLAP server";
constexpr std::string_view kcd_document = "KCD document";
}  // namespace error_source

/// The one exception type that travels inside the importer and the OLAP model.
///
/// It is caught at the traps of the import's sections and never leaves
/// `ImportOLAPDBFromKCDDoc::make`.
class ImportError : public std::runtime_error {
 public:
  /// `description` is a sentence for people, without a final line end; `source` names the component
  /// that raised the error (see error_source).
  ImportError(const std::string& description, std::string_view source)
      : std::runtime_error(description), source_(source) {}

  /// What went wrong, as it is shown to people.
  std::string description() const { return what(); }

  /// The name of the component that raised the error.
  const std::string& source() const { return source_; }

 private:
  std::string source_;
};

}  // namespace importkcd
