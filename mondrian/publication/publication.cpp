#include "mondrian/publication/publication.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "base/name_folding.h"
#include "base/text.h"
#include "base/xml_element.h"
#include "mondrian/aggregation/declared_aggregates.h"
#include "mondrian/mapping/schema_mapping.h"
#include "mondrian/not_expressible.h"
#include "mondrian/publication/aggregates_file.h"
#include "mondrian/publication/published_schemas.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

/// The engine puts system properties in place of "${NAME}" before it reads the file as XML.
std::string without_substitutions(std::string text) {
  for (auto at = text.find("${"); at != std::string::npos; at = text.find("${", at)) {
    text.replace(at, 1, "&#36;");
  }
  return text;
}

bool is_among(const std::vector<std::string>& names, const std::string& name) {
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& other) { return same_name(other, name); });
}

/// The catalogues of a database with all that is cheap to know: one data source needs no look at
/// the cubes.
std::vector<PublishedCatalogue> likely_catalogues_of(OlapDatabase& database) {
  std::vector<std::string> ignored;
  const auto data_sources = database.data_sources().names();
  if (data_sources.size() != 1) {
    return catalogues_of(database, ignored);
  }
  if (database.cubes().names().empty()) {
    return {};
  }
  try {
    const auto& text = database.data_sources().find(data_sources[0])->connection_string;
    return {{database.name(), jdbc_connection(text), {}, {}, data_sources[0], {}}};
  } catch (const NotExpressible&) {
    return {};
  }
}

/// Whether a file holds this text and nobody but its owner may read it.
bool is_private_file_with(const fs::path& path, const std::string& text) {
  std::error_code error;
  const auto status = fs::symlink_status(path, error);
  if (!fs::is_regular_file(status) ||
      status.permissions() != (fs::perms::owner_read | fs::perms::owner_write) ||
      fs::file_size(path, error) != text.size()) {
    return false;
  }
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {}) == text;
}

/// The "file:" address of a path, as the engine takes it: it undoes encodings byte by byte, so that
/// letters beyond ASCII stand as they are.
std::string file_address(const fs::path& path) {
  std::string result = "file://";
  for (const char c : path.string()) {
    const bool is_ascii = static_cast<unsigned char>(c) < 0x80;
    result +=
        is_ascii ? percent_encoded({&c, 1}, std::string(address_marks) + "/") : std::string(1, c);
  }
  return result;
}

/// Says which virtual dimensions the engine will not know: it has dimensions only with their cubes.
void remark_unused(OlapStore& definitions, OlapDatabase& database,
                   std::vector<std::string>& remarks) {
  const auto used = definitions.dimensions_in_use(database.name(), OlapCubeKind::regular);
  for (const auto& name : database.dimensions().names()) {
    if (!is_among(used, name) &&
        database.dimensions().find(name)->kind == OlapDimensionKind::is_virtual) {
      remarks.push_back("Virtual dimension '" + name +
                        "' is not published: no cube has it, and the engine knows dimensions by "
                        "their cubes");
    }
  }
}

}  // namespace

Publication::Publication(fs::path directory)
    : directory_(std::move(directory)),
      aggregates_(read_aggregates(directory_)),
      mark_(publication_mark()) {}

Publication::Publication(fs::path directory, AggregateRecords aggregates)
    : directory_(std::move(directory)),
      aggregates_(std::move(aggregates)),
      writes_aggregates_(true),
      mark_(publication_mark()) {}

void Publication::prepare(OlapStore& definitions, const std::vector<std::string>& touched) {
  make_schemas_folder(directory_ / published::schemas);
  if (writes_aggregates_) {
    files_.write(directory_ / published::aggregates, aggregates_text(aggregates_),
                 FilesBeside::Readers::owner_only);
  }
  for (const auto& name : definitions.database_names()) {
    add_database(definitions, name, is_among(touched, name));
  }
  // The engine reads the schemas by their content, but the list anew: it stays while it is right.
  const auto list = directory_ / published::data_sources;
  const auto text = list_of_catalogues();
  if (!is_private_file_with(list, text)) {
    files_.write(list, text, FilesBeside::Readers::owner_only);
  }
  files_.secure();
}

void Publication::add_database(OlapStore& definitions, const std::string& name, bool touched) {
  OlapDatabase database(name, definitions.description(name), definitions.sources(name));
  const auto told = remarks_.size();
  auto catalogues = touched ? catalogues_of(database, remarks_) : likely_catalogues_of(database);
  const auto has_its_schema = [&](const PublishedCatalogue& catalogue) {
    return has_schema(name, catalogue);
  };
  if (!touched && !std::all_of(catalogues.begin(), catalogues.end(), has_its_schema)) {
    catalogues = catalogues_of(database, remarks_);
  }
  for (const auto& catalogue : catalogues) {
    add_catalogue(database, catalogue, touched || !has_its_schema(catalogue));
  }
  remark_unused(definitions, database, remarks_);
  if (!touched) {
    // Told when the database was touched.
    remarks_.resize(told);
  }
}

void Publication::add_catalogue(OlapDatabase& database, const PublishedCatalogue& catalogue,
                                bool touched) {
  const auto file = schema_file_name(database.name(), catalogue.data_source);
  if (touched) {
    auto schema = schema_element(database, catalogue, remarks_);
    if (schema.child("Cube") == nullptr) {
      return;
    }
    declare_aggregates(schema, database.name(), catalogue.connection.kind, aggregates_, remarks_);
    check_schema_place(schema_path(file));
    files_.write(schema_path(file), xml_document(schema, " " + mark_ + " "),
                 FilesBeside::Readers::everyone);
  }
  auto name = catalogue.name;
  for (int number = 2; !names_.insert(lower_cased(name)).second; ++number) {
    name = catalogue.name + " (" + std::to_string(number) + ")";
  }
  entries_.push_back(
      {name, engine_connect_string(catalogue.connection, catalogue.warehouse), file});
}

bool Publication::has_schema(const std::string& database,
                             const PublishedCatalogue& catalogue) const {
  std::error_code ignored;
  return fs::exists(schema_path(schema_file_name(database, catalogue.data_source)), ignored);
}

fs::path Publication::schema_path(const std::string& file) const {
  return directory_ / published::schemas / file;
}

std::string Publication::list_of_catalogues() const {
  // A database that is built anew is the last one in the definitions, but keeps its place here.
  auto entries = entries_;
  std::sort(entries.begin(), entries.end(),
            [](const Entry& left, const Entry& right) { return left.name < right.name; });
  auto catalogues = text_element("Catalogs", {});
  for (const auto& entry : entries) {
    auto& catalogue = catalogues.add(text_element("Catalog", {})).set("name", entry.name);
    catalogue.add(text_element("DataSourceInfo", entry.connect_string));
    catalogue.add(text_element("Definition", file_address(schema_path(entry.file))));
  }
  auto source = text_element("DataSource", {});
  source.add(text_element("DataSourceName", "ImportKCD"));
  source.add(text_element("DataSourceDescription", "Imported cube definition documents"));
  source.add(text_element("URL", "http://localhost/xmla"));
  source.add(text_element("DataSourceInfo", "Provider=mondrian"));
  source.add(text_element("ProviderName", "Mondrian"));
  source.add(text_element("ProviderType", "MDP"));
  source.add(text_element("AuthenticationMode", "Unauthenticated"));
  source.add(std::move(catalogues));
  auto root = text_element("DataSources", {});
  root.add(std::move(source));
  return without_substitutions(xml_document(root, {}));
}

std::vector<std::string> Publication::rehearse(const fs::path& directory, OlapStore& definitions,
                                               const std::vector<std::string>& databases) {
  std::vector<std::string> remarks;
  const auto aggregates = read_aggregates(directory);
  for (const auto& name : definitions.database_names()) {
    if (!is_among(databases, name)) {
      continue;
    }
    OlapDatabase database(name, definitions.description(name), definitions.sources(name));
    for (const auto& catalogue : catalogues_of(database, remarks)) {
      auto schema = schema_element(database, catalogue, remarks);
      if (schema.child("Cube") != nullptr) {
        declare_aggregates(schema, name, catalogue.connection.kind, aggregates, remarks);
        check_schema_place(directory / published::schemas /
                           schema_file_name(name, catalogue.data_source));
      }
    }
  }
  return remarks;
}

void Publication::carry_out() {
  files_.take_places();
  std::error_code ignored;
  // What a publication that was cut off left, when the list that is there was right.
  for (const auto* file : {published::data_sources, published::aggregates}) {
    fs::remove((directory_ / file).string() + std::string(beside_suffix), ignored);
  }
  std::set<std::string> in_use;
  for (const auto& entry : entries_) {
    in_use.insert(entry.file);
  }
  remove_unused_schemas(directory_ / published::schemas, in_use);
}

fs::path publication_lock(const fs::path& directory) { return directory / published::lock; }

bool publication_was_cut_off(const fs::path& directory) {
  std::error_code ignored;
  const auto list = (directory / published::data_sources).string() + std::string(beside_suffix);
  return fs::exists(list, ignored) || has_schemas_beside(directory / published::schemas);
}

}  // namespace importkcd
