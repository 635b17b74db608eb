#include "labels/kci_conversion.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <memory>
#include <system_error>

#include "base/files.h"
#include "base/import_error.h"
#include "base/name_folding.h"
#include "base/text_encoding.h"
#include "base/whole_file.h"
#include "document/kcd_document.h"
#include "labels/label_references.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

/// Takes the part before the first separator off the front of `path`, the separator too.
std::string_view take_part(std::string_view& path) {
  const auto end = std::min(path.find('/'), path.size());
  const auto part = path.substr(0, end);
  path.remove_prefix(std::min(end + 1, path.size()));
  return part;
}

/// The folder of that name in `parent`, whatever its letter case is; the name itself when there is
/// none. Of several the first in the order of their bytes.
std::string existing_folder(const std::string& parent, const std::string& name) {
  std::error_code error;
  if (fs::is_directory(parent + name, error)) {
    return name;
  }
  std::string found;
  fs::directory_iterator entries(parent.empty() ? "." : parent, error);
  for (const fs::directory_iterator end; !error && entries != end; entries.increment(error)) {
    const auto entry = entries->path().filename().string();
    std::error_code ignored;
    if (same_name(entry, name) && entries->is_directory(ignored) &&
        (found.empty() || entry < found)) {
      found = entry;
    }
  }
  return found.empty() ? name : found;
}

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

TextEncoding encoding_of(std::string_view text) {
  constexpr std::size_t first_bytes = 3;
  auto encoding = TextEncoding::of_first_bytes(text.substr(0, first_bytes));
  encoding.take_declaration(text);
  return encoding;
}

/// Carries out a step of reading a file; its failure names the file.
template <class Step>
auto reading(const std::string& name, Step step) {
  try {
    return step();
  } catch (const ImportError& error) {
    throw ImportError("Cannot read '" + name + "': " + error.description(),
                      error_source::labels_database);
  }
}

/// Writes what becomes of a file. Tells whether one of its references was resolved.
bool substitute(const std::string& name, const LoadedLabels& labels, WholeFile& result) {
  auto reader = reading(name, [&] { return FileReader(name, error_source::labels_database); });
  const auto window = [&](std::size_t wanted) {
    return reading(name, [&] { return reader.window(wanted); });
  };
  const auto encoding = encoding_of(window(TextEncoding::declaration_size));
  LabelSubstitution substitution(labels, encoding);
  std::string block;
  for (auto bytes = window(1); !bytes.empty();) {
    const auto taken = substitution.take(bytes, reader.at_end(), block);
    result.append(block);
    block.clear();
    reader.skip(taken);
    bytes = window(taken == 0 ? 2 * bytes.size() : 1);
  }
  result.append(encoding.encode_with_references("\n"));
  return substitution.resolved();
}

}  // namespace

std::string kcd_name_of(std::string_view kci_name) {
  constexpr std::string_view from = ".kci";
  constexpr std::string_view to = ".kcd";
  auto name = lower_cased(kci_name);
  for (auto found = name.find(from); found != std::string::npos; found = name.find(from, found)) {
    name.replace(found, from.size(), to);
  }
  return name;
}

std::string kcd_path_of(std::string_view kci_name) {
  std::string path;
  auto typed = kci_name;
  while (typed.find('/') != std::string_view::npos) {
    const std::string part(take_part(typed));
    const auto wanted = kcd_name_of(part);
    std::error_code ignored;
    const bool as_typed =
        lower_cased(part) == wanted && (part.empty() || fs::is_directory(path + part, ignored));
    path += (as_typed ? part : existing_folder(path, wanted)) + '/';
  }
  return path + kcd_name_of(typed);
}

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
  auto kcd_name = kcd_path_of(kci_name);
  // Written piece by piece, not kept in memory. Nobody sees it before it is finished.
  WholeFile document(kcd_name, error_source::labels_database);
  if (!substitute(kci_name, access_.labels(), document)) {
    view_.PutProgressMsg("No matching labels found in the chosen language");
    return {};
  }
  if (is_file(kcd_name) &&
      !view_.ask_yes_no("Create KCD file", "File " + kcd_name + " already exists; overwrite ?")) {
    return {};
  }
  document.finish();
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
