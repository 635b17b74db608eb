// How a document is copied, whatever its size, in bounded memory.
//
// The document is read as a window of bytes that moves on. Its first bytes tell how wide a code
// unit is and in which order its bytes come; the XML declaration, which may follow a dropped first
// line, tells the encoding. Into that encoding the pattern and the line ends are brought, once, so
// that the text itself is never converted: it is searched for their bytes, at places where a code
// unit begins. The rules speak of lines, but no line is ever held: a pattern with a line end never
// matches, so that no match crosses a line, and matches can be found in the running text. Between
// two matches the text is copied as it is, except that a carriage return, with the line feed behind
// it if there is one, becomes a line feed. Three things carry over from one window to the next: the
// last bytes of a window, too few for a match, are looked at again with those that follow; whether
// a carriage return came last, whose line feed may stand at the beginning of the next window; and
// whether a line has just ended, because the last line gets its line feed if it has none.

#include "document/document_copy.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/import_error.h"
#include "base/text_encoding.h"

namespace importkcd {
namespace {

bool starts_with(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

/// The copying of one document.
class DocumentCopy {
 public:
  DocumentCopy(FileReader& from, FileWriter& to)
      : from_(from),
        to_(to),
        encoding_(TextEncoding::of_first_bytes(from.window(3))),
        line_feed_(encoding_.encode("\n").value_or("")),
        carriage_return_(encoding_.encode("\r").value_or("")) {}

  /// Tells whether the first line was dropped.
  bool run(const std::optional<CompanyPattern>& pattern);

 private:
  void take_pattern(const CompanyPattern& pattern);
  void copy_text();
  std::size_t copy_window(std::string_view text, bool last);
  void copy_lines(std::string_view text);
  std::size_t find(std::string_view text, std::string_view wanted, std::size_t start = 0) const {
    return find_on_unit(text, wanted, start, encoding_.unit());
  }

  FileReader& from_;
  FileWriter& to_;
  TextEncoding encoding_;
  std::string line_feed_;
  std::string carriage_return_;
  /// The pattern in the document's encoding; nothing is replaced when `pattern_from_` is empty.
  std::string pattern_from_;
  std::string pattern_to_;
  bool at_line_start_ = true;
  bool after_carriage_return_ = false;
};

bool DocumentCopy::run(const std::optional<CompanyPattern>& pattern) {
  to_.append(from_.window(3).substr(0, encoding_.byte_order_mark()));
  from_.skip(encoding_.byte_order_mark());
  const bool lacks_first_line = skip_document_type_line(from_, encoding_);
  encoding_.take_declaration(from_.window(TextEncoding::declaration_size));
  if (pattern) {
    take_pattern(*pattern);
  }
  copy_text();
  return lacks_first_line;
}

void DocumentCopy::take_pattern(const CompanyPattern& pattern) {
  if (pattern.from.empty() || pattern.from.find_first_of("\r\n") != std::string::npos) {
    return;
  }
  if (encoding_.hides_characters()) {
    throw ImportError("A pattern cannot be replaced in the encoding " + encoding_.declared() +
                          ", where parts of one character look like another; save the document "
                          "as UTF-8",
                      error_source::kcd_document);
  }
  pattern_from_ = encoding_.encode(pattern.from).value_or("");
  pattern_to_ = encoding_.encode_with_references(pattern.to);
}

void DocumentCopy::copy_text() {
  const auto wanted = std::max(encoding_.unit(), pattern_from_.size());
  for (auto text = from_.window(wanted); !text.empty() && !to_.failed();
       text = from_.window(wanted)) {
    from_.skip(copy_window(text, from_.at_end()));
  }
  if (!at_line_start_) {
    to_.append(line_feed_);
  }
}

/// Copies as much of the text as can be judged: unless it is the last, a match may begin in its
/// last units. Returns how many bytes that were.
std::size_t DocumentCopy::copy_window(std::string_view text, bool last) {
  std::size_t done = 0;
  if (!pattern_from_.empty()) {
    for (auto match = find(text, pattern_from_); match != std::string_view::npos;
         match = find(text, pattern_from_, done)) {
      copy_lines(text.substr(done, match - done));
      to_.append(pattern_to_);
      at_line_start_ = false;
      after_carriage_return_ = false;
      done = match + pattern_from_.size();
    }
  }
  if (last) {
    copy_lines(text.substr(done));
    return text.size();
  }
  const auto unit = encoding_.unit();
  const auto whole = text.size() - text.size() % unit;
  const auto open = pattern_from_.empty() ? 0 : pattern_from_.size() - unit;
  const auto end = std::max(done, whole - std::min(whole, open));
  copy_lines(text.substr(done, end - done));
  return end;
}

void DocumentCopy::copy_lines(std::string_view text) {
  if (after_carriage_return_ && starts_with(text, line_feed_)) {
    text.remove_prefix(line_feed_.size());
    after_carriage_return_ = false;
  }
  while (!text.empty()) {
    const auto line_end = find(text, carriage_return_);
    after_carriage_return_ = line_end != std::string_view::npos;
    to_.append(text.substr(0, line_end));
    if (!after_carriage_return_) {
      // Half a unit at the end may look like a line end together with half of its neighbour.
      at_line_start_ = text.size() % encoding_.unit() == 0 && text.ends_with(line_feed_);
      return;
    }
    to_.append(line_feed_);
    at_line_start_ = true;
    text.remove_prefix(line_end + carriage_return_.size());
    if (starts_with(text, line_feed_)) {
      text.remove_prefix(line_feed_.size());
      after_carriage_return_ = false;
    }
  }
}

PreparedDocument failure(std::string path, std::string error) {
  return {std::move(path), std::move(error), false, false, {}};
}

PreparedDocument failure_of_document(std::string path, std::string error) {
  auto result = failure(std::move(path), std::move(error));
  result.cause = FailureCause::refused;
  return result;
}

std::string fresh_name() {
  std::random_device random;
  const auto number = (std::uint64_t{random()} << 32U) | random();
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
  return "importkcd-" + std::string(digits.data(), end) + ".tmp";
}

PreparedDocument copy_to_temporary_file(FileReader& reader, const std::string& document,
                                        const std::filesystem::path& folder,
                                        const std::optional<CompanyPattern>& pattern) {
  std::optional<SignalsHeldBack> held_back(std::in_place);
  auto [path, file] = make_fresh_file(
      [&](int /*attempt*/) { return (folder / fresh_name()).string(); }, S_IRUSR | S_IWUSR);
  if (!file.is_open()) {
    return failure("",
                   "Error in opening file for writing " + path + " " + system_description(errno));
  }
  RemovedBySignals guard(path);
  held_back.reset();
  FileWriter writer(std::move(file));
  bool lacks_first_line = false;
  try {
    lacks_first_line = copy_document(reader, writer, pattern);
  } catch (const ImportError& error) {
    return failure_of_document(path,
                               "Error in reading document " + document + " " + error.description());
  }
  writer.close();
  std::string error;
  if (writer.failed()) {
    error = "Error in writing to file " + path + " " + writer.error();
  }
  return {path, error, true, lacks_first_line, std::move(guard)};
}

}  // namespace

bool skip_document_type_line(FileReader& from, const TextEncoding& encoding) {
  const auto document_type = encoding.encode("<!DOC").value_or("");
  if (!starts_with(from.window(document_type.size()), document_type)) {
    return false;
  }
  const auto unit = encoding.unit();
  const auto line_feed = encoding.encode("\n").value_or("");
  const auto carriage_return = encoding.encode("\r").value_or("");
  for (auto text = from.window(unit); !text.empty(); text = from.window(unit)) {
    const auto end = std::min(find_on_unit(text, line_feed, 0, unit),
                              find_on_unit(text, carriage_return, 0, unit));
    if (end == std::string_view::npos) {
      from.skip(from.at_end() ? text.size() : text.size() - text.size() % unit);
      continue;
    }
    const bool is_carriage_return = starts_with(text.substr(end), carriage_return);
    from.skip(end + unit);
    if (is_carriage_return && starts_with(from.window(unit), line_feed)) {
      from.skip(unit);
    }
    break;
  }
  return true;
}

bool copy_document(FileReader& from, FileWriter& to, const std::optional<CompanyPattern>& pattern) {
  return DocumentCopy(from, to).run(pattern);
}

PreparedDocument PrepareDocument(const std::string& document,
                                 const std::optional<CompanyPattern>& pattern) {
  std::optional<FileReader> reader;
  try {
    reader.emplace(document, error_source::kcd_document);
  } catch (const ImportError& error) {
    return failure_of_document("",
                               "Error in opening document " + document + " " + error.description());
  }
  std::error_code error;
  const auto folder = std::filesystem::temp_directory_path(error);
  if (error) {
    return failure("", "Error in creating temporary file " + std::to_string(error.value()) + " : " +
                           error.message());
  }
  return copy_to_temporary_file(*reader, document, folder, pattern);
}

void DeleteTempDocument(const std::string& path) {
  struct stat status {};
  const bool found = ::lstat(path.c_str(), &status) == 0;
  if (found && (status.st_mode & S_IWUSR) == 0) {
    // The system itself would delete a read-only file.
    errno = EACCES;
  } else if (found && ::unlink(path.c_str()) == 0) {
    return;
  }
  throw ImportError(system_description(errno), error_source::kcd_document);
}

}  // namespace importkcd
