#pragma once

#include <string>
#include <string_view>

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Imports the data sources of a document into the run's database. `data_sources` may be null: the
/// document has none. Throws nothing: see ImportDataSource.
void ImportDataSources(ImportRun& run, const KcdElement* data_sources);

/// Creates, updates or skips one data source and writes it back. An error becomes the run's error;
/// the data source is then not written back.
void ImportDataSource(ImportRun& run, const KcdElement& element);

/// The connection string that a data source gets: the run's whole connection text
/// (`datawarehouse_connectstring`) if there is one, else the document's with the run's data
/// warehouse server (`data_source_name`) in its "Data Source" item, else the document's.
std::string RewriteConnectionString(const ImportOptions& options,
                                    std::string_view connection_string);

/// Puts `value` into the item `key` of a connection string ("key=value;key=value"). The key is
/// searched exactly, letter case and all; a text without it is given back as it is.
///
/// Only an item that ends the text is replaced where it stands. When anything follows the item, the
/// result is ";" and what follows: the item itself and all that stood in front of it are dropped.
std::string ReplaceConnectionItem(std::string_view text, std::string_view key,
                                  std::string_view value);

}  // namespace importkcd
