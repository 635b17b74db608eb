#include "mondrian/warehouse/aggregate_scope.h"

#include <algorithm>
#include <filesystem>

#include "base/connection_text.h"
#include "base/import_error.h"
#include "base/name_folding.h"
#include "base/text.h"
#include "mondrian/aggregation/cube_shape.h"
#include "mondrian/publication/catalogues.h"
#include "mondrian/publication/publication.h"
#include "servers/catalogue/catalogue_store.h"

namespace importkcd {
namespace {

/// Names of PostgreSQL end after 63 characters; a number and "_new" follow.
constexpr std::size_t longest_prefix = 50;

void add_catalogue_cubes(OlapDatabase& database, const PublishedCatalogue& catalogue,
                         const AggregateScope& scope, std::vector<ScopeCube>& result) {
  std::vector<std::string> ignored;
  const auto schema =
      std::make_shared<const XmlElement>(schema_element(database, catalogue, ignored));
  for (const auto& name : catalogue.cubes) {
    if ((!scope.cube.empty() && !same_name(name, scope.cube)) ||
        cube_named(*schema, name) == nullptr) {
      continue;
    }
    const auto& cube = *database.cubes().find(name);
    result.push_back({database.name(), name, catalogue.connection, schema,
                      table_prefix(cube.aggregation_prefix, name), cube.olap_mode,
                      cube.estimated_rows, !scope.cube.empty()});
  }
}

}  // namespace

const XmlElement& element_of(const ScopeCube& cube) { return *cube_named(*cube.schema, cube.cube); }

std::string facts_view_name(const ScopeCube& cube) { return cube.prefix + "facts"; }

std::string table_prefix(const std::string& prefix, const std::string& cube) {
  std::string result;
  for (const char c : prefix.empty() ? ascii_lower_cased(cube) + "_agg_" : prefix) {
    result += is_ascii_letter(c) || is_ascii_digit(c) ? c : '_';
  }
  return result.substr(0, longest_prefix);
}

std::vector<ScopeCube> cubes_in_scope(const AggregateScope& scope) {
  const auto path = std::filesystem::path(scope.directory) / published::definitions;
  const auto store = make_catalogue_store(path.string(), ServerAccess::read_only);
  store->open();
  std::vector<ScopeCube> result;
  bool knows_database = scope.database.empty();
  for (const auto& name : store->database_names()) {
    if (!scope.database.empty() && !same_name(name, scope.database)) {
      continue;
    }
    knows_database = true;
    OlapDatabase database(name, store->description(name), store->sources(name));
    std::vector<std::string> ignored;
    for (const auto& catalogue : catalogues_of(database, ignored)) {
      add_catalogue_cubes(database, catalogue, scope, result);
    }
  }
  if (!knows_database) {
    throw ImportError("there is no database '" + scope.database + "' in '" +
                          mask_passwords(scope.directory) + "'",
                      error_source::olap_server);
  }
  if (!scope.cube.empty() && result.empty()) {
    throw ImportError("there is no published cube '" + scope.cube + "'", error_source::olap_server);
  }
  return result;
}

}  // namespace importkcd
