#include "importer/data_sources.h"

#include <string>
#include <utility>

#include "base/apostrophes.h"
#include "document/attributes.h"
#include "importer/connection_string.h"
#include "importer/create_update_skip.h"

namespace importkcd {
namespace {

constexpr ObjectMessages messages{"Searching data source '", "Creating data source '",
                                  "Skipping data source '", "Updating data source '"};

/// The one text of an object that a document may leave out.
std::string optional_description(const KcdElement& element) {
  return DecodeApostrophes(element.attribute("description").value_or(""));
}

}  // namespace

void ImportDataSources(ImportRun& run, const KcdElement* data_sources) {
  run.ReportProgress("Creating data sources");
  if (data_sources == nullptr) {
    return;
  }
  for (const KcdElement& element : children_of(*data_sources)) {
    ImportDataSource(run, element);
  }
}

void ImportDataSource(ImportRun& run, const KcdElement& element) {
  run.trap([&] {
    OlapDataSource fresh;
    fresh.name = decoded_text(element, "name");
    OlapDataSource* data_source =
        object_to_set(run, messages, run.database().data_sources(), std::move(fresh));
    if (data_source == nullptr) {
      return;
    }
    data_source->connection_string =
        RewriteConnectionString(run.options(), raw_text(element, "connection_string"));
    data_source->description = optional_description(element);
    run.server().write_back_data_source(run.database(), *data_source);
  });
}

}  // namespace importkcd
