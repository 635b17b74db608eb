#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace importkcd {

/// Component names that an ImportError carries as its source.
namespace error_source {
constexpr std::string_view olap_server = "OLAP server";
constexpr std::string_view kcd_document = "KCD document";
}  // namespace error_source

/// What an error comes from: whoever runs imports unattended does something else about each.
enum class FailureCause {
  /// The document, or what the server refuses about it; whatever is none of the others.
  refused,
  /// What was asked for cannot be done as it stands.
  command_line,
  /// Another run holds the database.
  held,
  /// The server cannot be reached, read or written, or a disk cannot.
  server,
};

/// The one exception type that travels inside the importer and the OLAP model.
///
/// It is caught at the traps of the import's sections and never leaves
/// `ImportOLAPDBFromKCDDoc::make`.
class ImportError : public std::runtime_error {
 public:
  /// `description` is a sentence for people, without a final line end; `source` names the component
  /// that raised the error (see error_source).
  ImportError(const std::string& description, std::string_view source,
              FailureCause cause = FailureCause::refused)
      : std::runtime_error(description), source_(source), cause_(cause) {}

  /// What went wrong, as it is shown to people.
  std::string description() const { return what(); }

  /// The name of the component that raised the error.
  const std::string& source() const { return source_; }

  FailureCause cause() const { return cause_; }

 private:
  std::string source_;
  FailureCause cause_;
};

/// The cause of any error.
inline FailureCause cause_of(const std::exception& error) {
  if (const auto* raised = dynamic_cast<const ImportError*>(&error)) {
    return raised->cause();
  }
  return dynamic_cast<const std::system_error*>(&error) != nullptr ? FailureCause::server
                                                                   : FailureCause::refused;
}

}  // namespace importkcd
