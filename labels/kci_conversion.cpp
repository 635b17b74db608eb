#include "labels/kci_conversion.h"

#include <exception>
#include <filesystem>
#include <memory>
#include <system_error>

#include "engine/kcd_document.h"
#include "engine/olap_model/import_error.h"
#include "engine/text_encoding.h"
#include "labels/kci_file_name.h"
#include "labels/label_references.h"
#include "labels/to_string.h"
#include "labels/whole_file.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

bool is_file(const std::string& name) {
  std::error_code ignored;
  return fs::exists(name, ignored) && !fs::is_directory(name, ignored);
}

/// Null when it cannot be loaded.
std::unique_ptr<KcdDocument> load_root(const std::string& name) {
  try {
    return KcdDocument::load_root(name);
  } catch (const ImportError&) {
    return nullptr;
  }
}

TextEncoding encoding_of(const std::string& text) {
  constexpr std::size_t first_bytes = 3;
  const std::string_view view = text;
  auto encoding = TextEncoding::of_first_bytes(view.substr(0, first_bytes));
  encoding.take_declaration(view);
  return encoding;
}

}  // namespace

std::string KciConversion::ConvertKciToKcd() {
  try {
    return convert();
  } catch (const std::exception& error) {
    view_.PutProgressMsg(error.what());
    return {};
  }
}

std::string KciConversion::convert() {
  const bool checked = CheckKciFile();
  if (!access_.LoadLabels()) {
    return {};
  }
  if (!checked) {
    view_.PutProgressMsg("Error reading kci-file or GUID mismatch");
    view_.set_default_pointer();
    return {};
  }
  const auto kci_name = view_.labels_fields().kci_filename;
  const auto text = read_whole_file(kci_name);
  const auto encoding = encoding_of(text);
  auto converted = SubstituteLabelReferences(text, access_.labels(), encoding);
  if (converted == no_reference_resolved) {
    view_.PutProgressMsg("No matching labels found in the chosen language");
    return {};
  }
  auto kcd_name = kcd_path_of(kci_name);
  if (is_file(kcd_name) &&
      !view_.ask_yes_no("Create KCD file", "File " + kcd_name + " already exists; overwrite ?")) {
    return {};
  }
  converted += encoding.encode_with_references("\n");
  write_whole_file(kcd_name, converted);
  return kcd_name;
}

bool KciConversion::CheckKciFile() {
  try {
    return check(view_.labels_fields().kci_filename);
  } catch (const std::exception&) {
    view_.PutProgressMsg("Problem");
    return false;
  }
}

bool KciConversion::check(const std::string& name) {
  if (!is_file(name)) {
    view_.PutProgressMsg("KCI file " + name + " does not exist");
    return false;
  }
  const auto document = load_root(name);
  if (document == nullptr) {
    view_.PutProgressMsg("File " + name + " is not well formed xml or is not a KCI file");
    return false;
  }
  if (document->root().tag() != "database") {
    view_.PutProgressMsg("File " + name + " is not a KCI file");
    return false;
  }
  const auto guid = ToString(document->root().attribute("guid"), "");
  if (guid.empty()) {
    view_.PutProgressMsg("No GUID found in KCI file " + name);
    return false;
  }
  return guid_is_registered(guid);
}

bool KciConversion::guid_is_registered(const std::string& guid) const {
  if (access_.AdoConnection == nullptr && !access_.connect_with_fields()) {
    throw ImportError(access_.failure(), error_source::labels_database);
  }
  const auto connection = required_connection(access_);
  const auto rows = connection->execute("SELECT * FROM KCI_GUIDs");
  const auto column = rows->column("GUID");
  while (rows->next()) {
    if (rows->text(column) == guid) {
      return true;
    }
  }
  return false;
}

}  // namespace importkcd
