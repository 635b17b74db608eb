#include "importer/data_sources.h"

#include <string>
#include <utility>

#include "base/apostrophes.h"
#include "base/name_folding.h"
#include "document/attributes.h"
#include "importer/create_update_skip.h"

namespace importkcd {
namespace {

constexpr ObjectMessages data_source_messages{"data source", "Searching data source '",
                                              "Creating data source '", "Skipping data source '",
                                              "Updating data source '"};

/// The one text of an object that a document may leave out.
std::string optional_description(const KcdElement& element) {
  return DecodeApostrophes(element.attribute("description").value_or(""));
}

/// The connection text for this data source alone; null when there is none.
const std::string* named_text(const ImportOptions& options, const std::string& data_source) {
  for (const auto& named : options.named_connectstrings) {
    if (same_name(named.data_source, data_source)) {
      return &named.text;
    }
  }
  return nullptr;
}

}  // namespace

void ImportDataSources(ImportRun& run, const KcdElement* data_sources) {
  run.ReportProgress("Creating data sources");
  for (const KcdElement& element : children_of(data_sources)) {
    ImportDataSource(run, element);
  }
}

void ImportDataSource(ImportRun& run, const KcdElement& element) {
  run.trap([&] {
    const auto at = run.working_on(element);
    OlapDataSource fresh;
    fresh.name = decoded_text(element, "name");
    OlapDataSource* data_source = prepare_database_object(
        run, data_source_messages, run.database().data_sources(), std::move(fresh));
    if (data_source == nullptr) {
      return;
    }
    const auto text = raw_text(element, "connection_string");
    const auto* named = named_text(run.options(), data_source->name);
    data_source->connection_string =
        named != nullptr ? *named : RewriteConnectionString(run.options(), text);
    data_source->description = optional_description(element);
    run.server().write_back_data_source(run.database(), *data_source);
  });
}

std::string RewriteConnectionString(const ImportOptions& options,
                                    std::string_view connection_string) {
  if (!options.datawarehouse_connectstring.empty()) {
    return options.datawarehouse_connectstring;
  }
  if (!options.data_source_name.empty()) {
    return ReplaceConnectionItem(connection_string, "Data Source", options.data_source_name);
  }
  return std::string(connection_string);
}

std::string ReplaceConnectionItem(std::string_view text, std::string_view key,
                                  std::string_view value) {
  const auto at = text.find(key);
  if (key.empty() || at == std::string_view::npos) {
    return std::string(text);
  }
  // The key's last character is searched too: a key that ends with ";" ends its own item.
  const auto item_end = text.find(';', at + key.size() - 1);
  if (item_end != std::string_view::npos && item_end + 1 < text.size()) {
    return std::string(text.substr(item_end));
  }
  return std::string(text.substr(0, at)).append(key).append("=").append(value);
}

}  // namespace importkcd
