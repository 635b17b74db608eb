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

bool has_one_division(std::string_view file) { return file.find('=') == std::string_view::npos; }

std::string two_files_for(const std::string& data_source) {
  return "two files for data source '" + mask_passwords(data_source) + "'";
}

[[noreturn]] void refuse(const std::string& reason) {
  throw ImportError(std::string("kcd: ") + connection_option + ": " + reason, "kcd",
                    FailureCause::command_line);
}

bool holds(const std::vector<std::string>& names, std::string_view name) {
  return std::any_of(names.begin(), names.end(),
                     [name](const std::string& other) { return same_name(other, name); });
}

/// The length of the longest of these names that stands before an equal sign of `value`; 0 when
/// none does.
std::size_t length_of_name(const std::string& value, const std::vector<std::string>& names) {
  auto length = value.rfind('=');
  while (length != 0 && !holds(names, std::string_view(value).substr(0, length))) {
    length = value.rfind('=', length - 1);
    length = length == std::string::npos ? 0 : length;
  }
  return length;
}

}  // namespace

ConnectionFiles::ConnectionFiles(const std::vector<std::string>& values) {
  for (const auto& value : values) {
    const auto equal_sign = value.find('=');
    const auto name = equal_sign == std::string::npos ? "" : value.substr(0, equal_sign);
    const auto file = equal_sign == std::string::npos ? value : value.substr(equal_sign + 1);
    const bool is_there = std::any_of(named_.begin(), named_.end(), [&](const Named& other) {
      return same_name(other.data_source, name) && has_one_division(other.file);
    });
    if ((is_there && has_one_division(file)) || (name.empty() && for_all_)) {
      throw CLI::ValidationError(
          connection_option, name.empty() ? "two files for all data sources" : two_files_for(name));
    }
    if (name.empty()) {
      for_all_ = file;
    } else {
      named_.push_back({name, file});
    }
  }
}

std::size_t ConnectionFiles::readings_of_standard_input() const {
  const auto count = std::count_if(named_.begin(), named_.end(), [](const Named& named) {
    return named.file == "-" || named.file.ends_with("=-");
  });
  return static_cast<std::size_t>(count) + (for_all_ == "-" ? 1 : 0);
}

void ConnectionFiles::apply(ImportOptions& options, std::istream& in) const {
  const auto named_files = divided(options);
  if (for_all_) {
    options.datawarehouse_connectstring = read_connection_text(*for_all_, in);
  }
  for (const auto& named : named_files) {
    options.named_connectstrings.push_back(
        {named.data_source, read_connection_text(named.file, in)});
  }
}

std::vector<ConnectionFiles::Named> ConnectionFiles::divided(const ImportOptions& options) const {
  if (named_.empty()) {
    return {};
  }
  std::error_code ignored;
  if (std::filesystem::is_fifo(options.kcd_document_file_name, ignored)) {
    refuse("NAME=FILE needs a document that can be read twice, and this is a pipe");
  }
  const auto names = data_sources_of(options);
  if (!names) {
    return named_;
  }
  std::vector<Named> result;
  std::vector<std::string> met;
  for (const auto& [name, file] : named_) {
    auto value = name;
    value.append("=").append(file);
    const auto length = length_of_name(value, *names);
    if (length == 0) {
      refuse("the document has no data source '" + mask_passwords(name) + "'; it has " +
             (names->empty() ? "none" : listed(*names)));
    }
    result.push_back({value.substr(0, length), value.substr(length + 1)});
    if (holds(met, result.back().data_source)) {
      refuse(two_files_for(result.back().data_source));
    }
    met.push_back(result.back().data_source);
  }
  return result;
}

}  // namespace importkcd
