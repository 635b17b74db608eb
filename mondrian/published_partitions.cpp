#include "mondrian/published_partitions.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "base/import_error.h"
#include "base/text.h"

namespace importkcd {

std::string partitions_text(const std::vector<PublishedPartition>& partitions) {
  using Json = nlohmann::ordered_json;
  auto all = Json::array();
  bool has_slices = false;
  for (const auto& partition : partitions) {
    auto slices = Json::array();
    for (const auto& slice : partition.slices) {
      slices.push_back({{"table", slice.table},
                        {"column", slice.column},
                        {"value", slice.value},
                        {"number", slice.is_number}});
    }
    has_slices = has_slices || !slices.empty();
    // As the view's text comes back from the schema, where line ends are line feeds.
    const auto query = replaced(replaced(partition.query, "\r\n", "\n"), "\r", "\n");
    all.push_back({{"name", partition.name}, {"query", query}, {"slices", std::move(slices)}});
  }
  // What is no UTF-8 is refused with the schema's other texts.
  return partitions.size() > 1 && has_slices
             ? all.dump(-1, ' ', false, Json::error_handler_t::replace)
             : std::string();
}

std::vector<PublishedPartition> partitions_of_text(std::string_view text) {
  try {
    std::vector<PublishedPartition> partitions;
    for (const auto& part : nlohmann::json::parse(text)) {
      PublishedPartition partition{part.at("name"), part.at("query"), {}};
      for (const auto& slice : part.at("slices")) {
        partition.slices.push_back(
            {slice.at("table"), slice.at("column"), slice.at("value"), slice.at("number")});
      }
      partitions.push_back(std::move(partition));
    }
    return partitions;
  } catch (const nlohmann::json::exception& error) {
    throw ImportError("The annotation '" + std::string(partitions_annotation) +
                          "' of a cube cannot be read: " + error.what(),
                      error_source::olap_server);
  }
}

}  // namespace importkcd
