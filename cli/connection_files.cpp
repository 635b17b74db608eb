#include "cli/connection_files.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <istream>
#include <system_error>

#include "base/apostrophes.h"
#include "base/connection_text.h"
#include "base/import_error.h"
#include "base/name_folding.h"
#include "cli/arguments.h"
#include "document/document_copy.h"
#include "document/kcd_document.h"

namespace importkcd {
namespace {

constexpr const char* connection_option = "--connect-string-file";

/// The names of a document's data sources; nothing when it cannot be read.
std::optional<std::vector<std::string>> data_sources_of(const ImportOptions& options) {
  std::optional<CompanyPattern> pattern;
  if (options.replace_pattern_yn()) {
    pattern = CompanyPattern{options.pattern_from, options.pattern_to};
  }
  std::optional<std::vector<std::string>> names;
  const auto copy = PrepareDocument(options.kcd_document_file_name, pattern);
  try {
    const auto document = KcdDocument::load(copy.path);
    names.emplace();
    const auto* library = document->root().child("library");
    const auto* list = library == nullptr ? nullptr : library->child("data_sources");
    for (const KcdElement& element : children_of(list)) {
      names->push_back(DecodeApostrophes(element.attribute("name").value_or("")));
    }
  } catch (const ImportError&) {
    names.reset();
  }
  if (!copy.path.empty()) {
    DeleteTempDocument(copy.path);
  }
  return names;
}

}  // namespace

ConnectionFiles::ConnectionFiles(const std::vector<std::string>& values) {
  for (const auto& value : values) {
    const auto equal_sign = value.find('=');
    const auto name = equal_sign == std::string::npos ? "" : value.substr(0, equal_sign);
    const auto file = equal_sign == std::string::npos ? value : value.substr(equal_sign + 1);
    const bool is_there = std::any_of(named_.begin(), named_.end(), [&](const Named& other) {
      return same_name(other.data_source, name);
    });
    if (is_there || (name.empty() && for_all_)) {
      throw CLI::ValidationError(connection_option,
                                 name.empty() ? "two files for all data sources"
                                              : "two files for data source '" + name + "'");
    }
    if (name.empty()) {
      for_all_ = file;
    } else {
      named_.push_back({name, file});
    }
  }
}

std::size_t ConnectionFiles::readings_of_standard_input() const {
  const auto count = std::count_if(named_.begin(), named_.end(),
                                   [](const Named& named) { return named.file == "-"; });
  return static_cast<std::size_t>(count) + (for_all_ == "-" ? 1 : 0);
}

void ConnectionFiles::apply(ImportOptions& options, std::istream& in) const {
  check_names(options);
  if (for_all_) {
    options.datawarehouse_connectstring = read_connection_text(*for_all_, in);
  }
  for (const auto& named : named_) {
    options.named_connectstrings.push_back(
        {named.data_source, read_connection_text(named.file, in)});
  }
}

void ConnectionFiles::check_names(const ImportOptions& options) const {
  if (named_.empty()) {
    return;
  }
  std::error_code ignored;
  if (std::filesystem::is_fifo(options.kcd_document_file_name, ignored)) {
    throw ImportError(std::string("kcd: ") + connection_option +
                          ": NAME=FILE needs a document that can be read twice, and this is a pipe",
                      "kcd", FailureCause::command_line);
  }
  const auto names = data_sources_of(options);
  for (const auto& named : named_) {
    if (names && std::none_of(names->begin(), names->end(), [&](const std::string& name) {
          return same_name(name, named.data_source);
        })) {
      throw ImportError(std::string("kcd: ") + connection_option +
                            ": the document has no data source '" +
                            mask_passwords(named.data_source) + "'; it has " +
                            (names->empty() ? "none" : listed(*names)),
                        "kcd", FailureCause::command_line);
    }
  }
}

}  // namespace importkcd
