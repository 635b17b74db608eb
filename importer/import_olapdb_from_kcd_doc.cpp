#include "importer/import_olapdb_from_kcd_doc.h"

#include <cstddef>
#include <exception>
#include <optional>
#include <string_view>
#include <utility>

#include "base/connection_text.h"
#include "base/import_error.h"
#include "base/name_folding.h"
#include "document/attributes.h"
#include "document/document_copy.h"
#include "importer/data_sources.h"
#include "importer/import_run.h"
#include "importer/sections.h"

namespace importkcd {
namespace {

constexpr std::string_view current_version = "1.0.1073";
/// Documents of this older version are accepted as well.
constexpr std::string_view older_version = "1.0.1051";

/// The run's error text for an error that ended the processing of the document.
std::string processing_error(const std::exception& error) {
  const auto* raised = dynamic_cast<const ImportError*>(&error);
  const std::string source = raised != nullptr ? raised->source() : "ImportKCD";
  return std::string("Cannot create DSS database because of ") + error.what() + " in " + source;
}

/// The name under which the server holds a database; nothing when it has none of that name.
std::optional<std::string> stored_name(OlapServer& server, const std::string& name) {
  const auto wanted = lower_cased(name);
  for (const auto& object : server.stored_objects()) {
    if (object.class_type == OlapClassType::database && lower_cased(object.name) == wanted) {
      return object.name;
    }
  }
  return std::nullopt;
}

/// Beside the shared dimensions, or directly under the root.
const KcdElement* virtual_dimensions_of(const KcdElement& root) {
  const KcdElement* library = root.child("library");
  const KcdElement* dimensions =
      library == nullptr ? nullptr : library->child("virtual_dimensions");
  return dimensions == nullptr ? root.child("virtual_dimensions") : dimensions;
}

void ImportLibrary(ImportRun& run, const ImportOutcome& outcome, const KcdElement* library) {
  run.ReportProgress("Creating library");
  const auto collection = [library](std::string_view tag) {
    return library == nullptr ? nullptr : library->child(tag);
  };
  ImportDataSources(run, collection("data_sources"));
  if (outcome.succeeded) {
    ImportSharedDimensions(run, collection("shared_dimensions"));
  }
  if (outcome.succeeded) {
    import_roles(run, collection("roles"));
  }
}

std::size_t number_of_children(const KcdElement* collection) {
  std::size_t count = 0;
  for (const auto* child = collection == nullptr ? nullptr : collection->first_child();
       child != nullptr; child = child->next_sibling()) {
    ++count;
  }
  return count;
}

/// How many objects the sections are going to search, for who shows how far the run is.
void tell_number_of_objects(const ImportOptions& options, const KcdElement& root) {
  if (options.progres_window == nullptr) {
    return;
  }
  std::size_t count = number_of_children(root.child("cubes"));
  const auto* library = root.child("library");
  for (const auto* tag : {"data_sources", "shared_dimensions", "roles"}) {
    count += library == nullptr ? 0 : number_of_children(library->child(tag));
  }
  if (options.import_virtual_objects) {
    count += number_of_children(virtual_dimensions_of(root)) +
             number_of_children(root.child("virtual_cubes"));
  }
  options.progres_window->expect_objects(count);
}

}  // namespace

ImportOLAPDBFromKCDDoc::ImportOLAPDBFromKCDDoc(OlapServerFactory open_server)
    : open_server_(std::move(open_server)) {}

ImportOLAPDBFromKCDDoc::~ImportOLAPDBFromKCDDoc() = default;

std::int32_t ImportOLAPDBFromKCDDoc::make() {
  last_error.clear();
  passed_over.clear();
  remarks.clear();
  incomplete_cubes.clear();
  database_name_.clear();
  cause = FailureCause::refused;
  database.clear();
  was_stored = false;
  working_on = nullptr;
  failed_at = nullptr;
  failed_position = {};
  if (succeeded) {
    OpenOlapServer();
  }
  PreparedDocument copy;
  if (succeeded) {
    copy = prepare_temporary_copy();
  }
  if (succeeded) {
    lacks_first_line_ = copy.lacks_first_line;
    OpenKcdDocument(copy.path);
    if (!succeeded && !copy.error.empty()) {
      // The document is not to blame for a copy that is cut off, nor would anybody look at that.
      last_error = copy.error;
      cause = FailureCause::server;
      delete_temporary_copy(copy.path);
    }
  }
  if (succeeded) {
    ProcessDocument();
    delete_temporary_copy(copy.path);
    if (failed_at != nullptr) {
      failed_position = in_original(failed_at->position());
    }
  }
  return 0;
}

/// The pattern may have moved what follows in a line.
DocumentPosition ImportOLAPDBFromKCDDoc::in_original(DocumentPosition position) const {
  return {position.line + (lacks_first_line_ ? 1 : 0), replace_pattern_yn() ? 0 : position.column};
}

void ImportOLAPDBFromKCDDoc::ReleaseDocument() {
  document_.reset();
  working_on = nullptr;
  failed_at = nullptr;
}

void ImportOLAPDBFromKCDDoc::OpenOlapServer() {
  std::string shown_name;
  try {
    // Somebody may have put a connection string in its place.
    shown_name = mask_passwords(machine_name);
    ReportProgress("Opening DSO server on machine '" + shown_name + "'");
    ReportLongStep();
    server_.reset();
    server_ = open_server_(machine_name);
    server_->connect(machine_name);
    succeeded = true;
    if (server_->class_type() != OlapClassType::server) {
      fail("DSO server is not of correct DSO class type.", FailureCause::server);
    }
  } catch (const std::exception& error) {
    fail("Cannot open DSO server on machine '" + shown_name + "' because: " + error.what(),
         cause_of(error));
  }
}

PreparedDocument ImportOLAPDBFromKCDDoc::prepare_temporary_copy() {
  std::optional<CompanyPattern> pattern;
  if (replace_pattern_yn()) {
    pattern = CompanyPattern{pattern_from, pattern_to};
  }
  try {
    auto prepared = PrepareDocument(kcd_document_file_name, pattern);
    succeeded = prepared.usable;
    last_error = prepared.error;
    cause = prepared.usable ? FailureCause::refused : prepared.cause;
    return prepared;
  } catch (const std::exception& error) {
    fail("Error in reading document " + kcd_document_file_name + " " + error.what());
    return {};
  }
}

void ImportOLAPDBFromKCDDoc::OpenKcdDocument(const std::string& path) {
  try {
    ReportProgress("Opening kcd document file '" + path + "'");
    ReportLongStep();
    document_.reset();
    document_ = KcdDocument::load(path);
  } catch (const DocumentSyntaxError& error) {
    fail("Cannot open kcd document file " + path + " because " + error.what());
    failed_position = in_original(error.position());
    failed_reason = error.reason();
  } catch (const std::exception& error) {
    fail("Cannot open kcd document file " + path + " because " + error.what());
  }
}

void ImportOLAPDBFromKCDDoc::ProcessDocument() {
  try {
    import_into_database();
  } catch (const std::exception& error) {
    fail(processing_error(error), cause_of(error));
    failed_reason = error.what();
  }
  finish();
}

void ImportOLAPDBFromKCDDoc::import_into_database() {
  ReportProgress("Processing document");
  const KcdElement& root = document_->root();
  // What the server says of the database itself is not the document's fault.
  std::optional<WorkingOn> at;
  at.emplace(*this, root);
  const std::string version(root.attribute("version").value_or(""));
  if (version != current_version && version != older_version) {
    fail("Expected kcd document version '" + std::string(current_version) +
         "', but found version '" + version + "'.");
  }
  const auto name =
      use_alternate_database_name ? alternate_database_name : decoded_text(root, "name");
  at.reset();
  // Deliberately before the version is judged: the old database is deleted in any case.
  if (ImportType == import_type::replace && DatabaseExists(name)) {
    DeleteDatabase(name);
  }
  if (!succeeded) {
    return;
  }
  tell_number_of_objects(*this, root);
  OlapDatabase& found = find_or_create_database(name);
  database_name_ = found.name();
  database = database_name_;
  ImportRun run(*this, *this, *server_, found);
  ImportLibrary(run, *this, root.child("library"));
  if (succeeded) {
    import_cubes(run, root.child("cubes"));
  }
  if (import_virtual_objects) {
    import_virtual_collections(run, root);
  }
}

void ImportOLAPDBFromKCDDoc::import_virtual_collections(ImportRun& run, const KcdElement& root) {
  const KcdElement* dimensions = virtual_dimensions_of(root);
  if (succeeded && dimensions != nullptr) {
    importkcd::ImportVirtualDimensions(run, dimensions);
  }
  const KcdElement* cubes = root.child("virtual_cubes");
  if (succeeded && cubes != nullptr) {
    importkcd::import_virtual_cubes(run, cubes);
  }
}

OlapDatabase& ImportOLAPDBFromKCDDoc::find_or_create_database(const std::string& name) {
  if (OlapDatabase* existing = FindDatabase(name)) {
    ReportObject("Searching database '" + name + "'", {ObjectAction::searching, "database", name});
    return *existing;
  }
  ReportObject("Creating database '" + name + "'", {ObjectAction::creating, "database", name});
  std::optional<WorkingOn> at;
  at.emplace(*this, document_->root());
  OlapDatabase& added = server_->add_database(name);
  added.description = decoded_text(document_->root(), "description");
  at.reset();
  server_->write_back_database(added);
  return added;
}

bool ImportOLAPDBFromKCDDoc::DatabaseExists(const std::string& name) {
  return FindDatabase(name) != nullptr;
}

OlapDatabase* ImportOLAPDBFromKCDDoc::FindDatabase(const std::string& name) {
  // Held before it is looked up, so that no other run can change it in between.
  server_->hold_database(name);
  const auto stored = stored_name(*server_, name);
  return stored ? &server_->open_database(*stored) : nullptr;
}

void ImportOLAPDBFromKCDDoc::DeleteDatabase(const std::string& name) {
  try {
    if (const auto stored = stored_name(*server_, name)) {
      server_->remove_database(*stored);
    }
  } catch (const std::exception& error) {
    passed_over.push_back("Database '" + name +
                          "' could not be deleted, and the import went on over " +
                          "what was there: " + error.what());
  }
}

void ImportOLAPDBFromKCDDoc::delete_temporary_copy(const std::string& path) {
  try {
    DeleteTempDocument(path);
  } catch (const std::exception& error) {
    ignore_errors(
        [&] { show_messages({"Error in deleting file " + path + " (" + error.what() + ")"}); });
  }
}

template <class Section>
void ImportOLAPDBFromKCDDoc::import_alone(Section section) {
  passed_over.clear();
  remarks.clear();
  if (database_name_.empty()) {
    fail("No database to import into: none was opened before");
    return;
  }
  try {
    if (OlapDatabase* found = FindDatabase(database_name_)) {
      ImportRun run(*this, *this, *server_, *found);
      section(run);
    } else {
      fail("No database to import into: '" + database_name_ + "' is gone");
    }
  } catch (const std::exception& error) {
    fail(processing_error(error), cause_of(error));
  }
  finish();
}

void ImportOLAPDBFromKCDDoc::ImportVirtualDimensions(const KcdElement* collection) {
  import_alone([&](ImportRun& run) { importkcd::ImportVirtualDimensions(run, collection); });
}

void ImportOLAPDBFromKCDDoc::import_virtual_cubes(const KcdElement* collection) {
  import_alone([&](ImportRun& run) { importkcd::import_virtual_cubes(run, collection); });
}

void ImportOLAPDBFromKCDDoc::add_incomplete_cubes(std::vector<std::string>& messages) {
  for (const auto& cube : std::exchange(incomplete_cubes, {})) {
    messages.push_back("Cube '" + cube +
                       "' is stored although it is not complete; an import in incremental mode "
                       "skips it, in update or replace mode it builds it anew");
  }
}

bool ImportOLAPDBFromKCDDoc::result_is_stored() const {
  switch (after_failure) {
    case AfterFailure::keep:
      return true;
    case AfterFailure::discard:
      return succeeded && passed_over.empty();
    case AfterFailure::as_the_server_says:
      break;
  }
  return succeeded || server_->keeps_failed_runs();
}

void ImportOLAPDBFromKCDDoc::finish() {
  std::vector<std::string> messages;
  try {
    messages = passed_over;
    messages.insert(messages.end(), remarks.begin(), remarks.end());
    const bool is_stored = result_is_stored();
    if (is_stored) {
      ReportLongStep();
      server_->finish();
      was_stored = true;
    }
    // All at once, so that a window shows one box for all cubes.
    for (auto& message : server_->take_messages()) {
      messages.push_back(std::move(message));
    }
    if (is_stored) {
      add_incomplete_cubes(messages);
    } else {
      // A server that ends without finish() stays as it was.
      server_.reset();
      database_name_.clear();
    }
  } catch (const std::exception& error) {
    succeeded = false;
    if (last_error.empty()) {
      last_error = processing_error(error);
      cause = cause_of(error);
    }
  }
  show_messages(messages);
}

void ImportOLAPDBFromKCDDoc::show_messages(const std::vector<std::string>& messages) {
  if (notifications == nullptr || messages.empty()) {
    return;
  }
  try {
    notifications->show_messages(messages);
  } catch (const std::exception& error) {
    if (last_error.empty()) {
      last_error = std::string("Cannot show a message because of ") + error.what();
    }
  }
}

}  // namespace importkcd
