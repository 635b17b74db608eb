#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "document/document_copy.h"
#include "document/kcd_document.h"
#include "importer/import_options.h"
#include "model/olap_server.h"

namespace importkcd {

class ImportRun;

/// The importer: brings one cube definition document into an OLAP server.
///
/// One instance serves one run: set `succeeded` to true, call ReleaseDocument, set the options,
/// call `make`, read `succeeded` and `last_error`. No exception leaves it.
class ImportOLAPDBFromKCDDoc : public ImportOptions, public ImportOutcome {
 public:
  /// `open_server` makes the server of a machine text; it is called once, by `make`.
  explicit ImportOLAPDBFromKCDDoc(OlapServerFactory open_server);
  ~ImportOLAPDBFromKCDDoc();

  ImportOLAPDBFromKCDDoc(const ImportOLAPDBFromKCDDoc&) = delete;
  ImportOLAPDBFromKCDDoc& operator=(const ImportOLAPDBFromKCDDoc&) = delete;

  /// Runs one import. The status returned is 0 in every case.
  std::int32_t make();

  /// Drops the loaded document, if any.
  void ReleaseDocument();

  /// The loaded document; null before `make` loaded one and after ReleaseDocument.
  const KcdDocument* document() const { return document_.get(); }

  /// Imports a `virtual_dimensions` element into the database of the last `make`, as a unit of its
  /// own. Part of `make` only with import_virtual_objects. An error ends up in `succeeded` and
  /// `last_error`.
  void ImportVirtualDimensions(const KcdElement* collection);

  /// The same for a `virtual_cubes` element, whose errors are ignored; only a failure to store the
  /// result is reported.
  void import_virtual_cubes(const KcdElement* collection);

 private:
  DocumentPosition in_original(DocumentPosition position) const;
  void OpenOlapServer();
  PreparedDocument prepare_temporary_copy();
  void OpenKcdDocument(const std::string& path);
  void ProcessDocument();
  void delete_temporary_copy(const std::string& path);
  void import_into_database();
  void import_virtual_collections(ImportRun& run, const KcdElement& root);
  OlapDatabase& find_or_create_database(const std::string& name);
  bool DatabaseExists(const std::string& name);
  OlapDatabase* FindDatabase(const std::string& name);
  void DeleteDatabase(const std::string& name);

  template <class Section>
  void import_alone(Section section);
  bool result_is_stored() const;
  void add_incomplete_cubes(std::vector<std::string>& messages);
  void finish();
  void show_messages(const std::vector<std::string>& messages);

  OlapServerFactory open_server_;
  std::unique_ptr<OlapServer> server_;
  std::unique_ptr<KcdDocument> document_;
  bool lacks_first_line_ = false;
  /// Name of the database of the last `make`; empty before.
  std::string database_name_;
};

}  // namespace importkcd
