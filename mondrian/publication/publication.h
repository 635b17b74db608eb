#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "mondrian/aggregation/aggregate_records.h"
#include "mondrian/publication/catalogues.h"
#include "mondrian/publication/files_beside.h"
#include "servers/olap_store.h"

namespace importkcd {

/// The names inside a directory that the engine serves.
namespace published {
inline constexpr const char* definitions = "definitions.olap";
inline constexpr const char* data_sources = "datasources.xml";
inline constexpr const char* schemas = "schemas";
inline constexpr const char* aggregates = "aggregates.xml";
inline constexpr const char* lock = "datasources.xml-lock";
}  // namespace published

/// One publication: what the engine is to serve, made out of the definitions of a directory.
///
/// All files are written beside their places by prepare(), which touches nothing that is in use;
/// carry_out() lets them take their places. Whoever publishes holds the directory's lock.
/// Operations throw ImportError.
class Publication {
 public:
  /// Declares the aggregates that the directory's records name.
  explicit Publication(std::filesystem::path directory);
  /// Declares these, and writes them as the directory's records.
  Publication(std::filesystem::path directory, AggregateRecords aggregates);

  /// Writes the schemas of the databases `touched`, and of others that lack theirs, and the list of
  /// all catalogues.
  void prepare(OlapStore& definitions, const std::vector<std::string>& touched);

  /// What publishing these databases would leave out, and why. Throws as prepare() does when a file
  /// of somebody else stands in the way; writes nothing.
  static std::vector<std::string> rehearse(const std::filesystem::path& directory,
                                           OlapStore& definitions,
                                           const std::vector<std::string>& databases);

  /// Puts the written files into their places and removes schemas that are in use no more. Called
  /// after the definitions were stored. When it fails, publication_was_cut_off() tells so.
  void carry_out();

  /// What was left out, and why.
  const std::vector<std::string>& remarks() const { return remarks_; }

 private:
  struct Entry {
    std::string name;
    std::string connect_string;
    std::string file;
  };

  void add_database(OlapStore& definitions, const std::string& name, bool touched);
  /// Leaves out a catalogue without a cube that can be served.
  void add_catalogue(OlapDatabase& database, const PublishedCatalogue& catalogue, bool touched);
  bool has_schema(const std::string& database, const PublishedCatalogue& catalogue) const;
  std::filesystem::path schema_path(const std::string& file) const;
  std::string list_of_catalogues() const;

  std::filesystem::path directory_;
  AggregateRecords aggregates_;
  bool writes_aggregates_ = false;
  /// Differs from publication to publication.
  std::string mark_;
  FilesBeside files_;
  std::vector<Entry> entries_;
  std::set<std::string> names_;
  std::vector<std::string> remarks_;
};

/// The lock of a directory, which whoever publishes holds until its publication is carried out: a
/// later one must not be overtaken by an earlier one.
std::filesystem::path publication_lock(const std::filesystem::path& directory);

/// Whether a directory holds what a publication that was cut off left behind.
bool publication_was_cut_off(const std::filesystem::path& directory);

}  // namespace importkcd
