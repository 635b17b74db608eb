#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "importer/import_options.h"

namespace importkcd {

/// The values of --connect-string-file: FILE for all data sources, NAME=FILE for the one of that
/// name; a file whose own name has an equal sign is =FILE. Where both names may have equal signs,
/// the longest name of a data source of the document counts.
class ConnectionFiles {
 public:
  /// Throws CLI::ValidationError when two of them are for the same.
  explicit ConnectionFiles(const std::vector<std::string>& values);

  /// How often standard input is to be read.
  std::size_t readings_of_standard_input() const;

  /// Reads the files into the options. First the names are looked for in the document that the
  /// options name: throws ImportError, whose cause is the command line, for one that is not there.
  /// A document that cannot be read has the importer say so.
  void apply(ImportOptions& options, std::istream& in) const;

 private:
  struct Named {
    std::string data_source;
    std::string file;
  };

  /// The values for single data sources, divided by the names of the document.
  std::vector<Named> divided(const ImportOptions& options) const;

  std::optional<std::string> for_all_;
  /// Divided at the first equal sign.
  std::vector<Named> named_;
};

}  // namespace importkcd
