#pragma once

#include <string>
#include <vector>

#include "tests/support/importer_fixture.h"

namespace importkcd::testing {

/// A broken or odd document, and what a run must make of it.
struct HostileDocument {
  std::string name;
  std::string document;
  /// The whole error text; the path of the temporary copy reads "COPY". Empty: the run succeeds.
  std::string error;
  /// A message that must be among those of the run; empty: none in particular.
  std::string message{};
  /// A text that must occur in what the server holds afterwards; empty: none in particular.
  std::string stored{};
};

/// The root's start tag but for its end, and what an import of nothing else stores.
inline const std::string open_root = R"(<database version="1.0.1073" name="D" description="d")";
inline const std::string stored_root = "database | D | d\n";

/// The error of a document that is not read.
inline std::string unreadable(const std::string& reason) {
  return "Cannot open kcd document file COPY because " + reason;
}

/// The error of a fault that reaches the driver.
inline std::string stopped(const std::string& description,
                           const std::string& source = "KCD document") {
  return "Cannot create DSS database because of " + description + " in " + source;
}

/// Runs documents into a server that is empty each time, partitions included.
class HostileDocuments : public ImporterTest {
 protected:
  HostileDocuments() { options.import_partitions = true; }

  void expect_all(const std::vector<HostileDocument>& documents);

 private:
  void expect(const HostileDocument& hostile);
};

/// The text with the first attribute of that name in the first element of that tag taken out, or
/// given another value, which is put as it stands. The test fails when there is none.
std::string without_attribute(const std::string& text, const std::string& tag,
                              const std::string& attribute);
std::string with_value(const std::string& text, const std::string& tag,
                       const std::string& attribute, const std::string& value);

/// The text without the first element of that tag and all that is in it.
std::string without_element(const std::string& text, const std::string& tag);

/// The text with the first element of that tag twice.
std::string with_element_twice(const std::string& text, const std::string& tag);

std::string repeated(const std::string& text, int times);

}  // namespace importkcd::testing
