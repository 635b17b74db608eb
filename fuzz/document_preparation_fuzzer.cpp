// Any bytes as a document and as a company pattern. The copy is what the rules say, line by line,
// and does not depend on the pieces in which the document arrives.
//
// An input is the size of the pieces (a byte; the highest ones try the whole operation instead),
// the old text and the new text of the pattern (a line each), and the document.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/import_error.h"
#include "base/text_encoding.h"
#include "document/document_copy.h"
#include "fuzz/fuzz_support.h"

namespace {

using importkcd::CompanyPattern;
using importkcd::TextEncoding;
using importkcd::fuzz::Input;
using importkcd::fuzz::MemoryFile;
using importkcd::fuzz::PipeOfPieces;
using importkcd::fuzz::require;

/// The rules once more, written for shortness: over code units, with the whole text in memory.
class Model {
 public:
  Model(const std::string& document, const std::optional<CompanyPattern>& pattern)
      : encoding_(TextEncoding::of_first_bytes(std::string_view(document).substr(0, 3))),
        unit_(encoding_.unit()),
        copy_(document.substr(0, encoding_.byte_order_mark())),
        text_(document.substr(encoding_.byte_order_mark())) {
    split();
    const auto document_type = encode("<!DOC");
    if (!lines_.empty() && lines_.front().substr(0, document_type.size()) == document_type) {
      text_.erase(0, after_first_line_);
      lines_.erase(lines_.begin());
    }
    encoding_.take_declaration(text_);
    for (const auto& line : lines_) {
      copy_ += pattern ? replaced(line, *pattern) : line;
      copy_ += encode("\n");
    }
  }

  const std::string& copy() const { return copy_; }

 private:
  std::string encode(std::string_view text) const { return encoding_.encode(text).value_or(""); }

  bool unit_at(std::size_t at, const std::string& wanted) const {
    return text_.compare(at, unit_, wanted) == 0;
  }

  void split() {
    const auto line_feed = encode("\n");
    const auto carriage_return = encode("\r");
    std::size_t begin = 0;
    std::size_t at = 0;
    const auto end_line = [&](std::size_t next) {
      lines_.push_back(text_.substr(begin, at - begin));
      begin = at = std::min(next, text_.size());
      after_first_line_ = lines_.size() == 1 ? begin : after_first_line_;
    };
    while (at < text_.size()) {
      if (unit_at(at, carriage_return)) {
        end_line(unit_at(at + unit_, line_feed) ? at + 2 * unit_ : at + unit_);
      } else if (unit_at(at, line_feed)) {
        end_line(at + unit_);
      } else {
        at = std::min(at + unit_, text_.size());
      }
    }
    if (begin < text_.size()) {
      end_line(at);
    }
  }

  std::string replaced(const std::string& line, const CompanyPattern& pattern) const {
    const auto from = encode(pattern.from);
    const auto to = encoding_.encode_with_references(pattern.to);
    if (from.empty() || pattern.from.find('\r') != std::string::npos) {
      return line;
    }
    std::string result;
    for (std::size_t at = 0; at < line.size();) {
      const bool matches = line.compare(at, from.size(), from) == 0;
      result += matches ? to : line.substr(at, unit_);
      at += matches ? from.size() : unit_;
    }
    return result;
  }

  TextEncoding encoding_;
  std::size_t unit_;
  std::string copy_;
  std::string text_;
  std::vector<std::string> lines_;
  std::size_t after_first_line_ = 0;
};

/// What the copy holds; nothing when the pattern is refused in the document's encoding.
std::optional<std::string> copy_of(const std::string& path,
                                   const std::optional<CompanyPattern>& pattern) {
  static const MemoryFile target;
  importkcd::FileReader reader(path, "fuzz");
  importkcd::FileWriter writer{importkcd::FileDescriptor(target.writer())};
  try {
    importkcd::copy_document(reader, writer, pattern);
  } catch (const importkcd::ImportError& error) {
    require(pattern && error.description().starts_with("A pattern cannot be replaced in "));
    return std::nullopt;
  }
  writer.close();
  require(!writer.failed());
  return target.read();
}

void check(const std::string& document, const std::optional<CompanyPattern>& pattern,
           std::size_t piece) {
  static const MemoryFile source;
  source.write(document);
  const auto copy = copy_of(source.path(), pattern);
  require(!copy || copy == Model(document, pattern).copy());
  require(copy == copy_of(PipeOfPieces(document, piece).path(), pattern));
}

/// The whole operation, which makes the copy under a name of its own, gives the same.
void check_prepared(const std::string& document) {
  static const MemoryFile source;
  importkcd::fuzz::temporary_folder();
  source.write(document);
  const auto prepared = importkcd::PrepareDocument(source.path(), std::nullopt);
  require(prepared.error.empty() && prepared.usable);
  importkcd::FileReader copy(prepared.path, "fuzz");
  require(copy.window(document.size() + 4) == Model(document, std::nullopt).copy());
  importkcd::DeleteTempDocument(prepared.path);
  require(importkcd::fuzz::empty_temporary_folder() == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const auto first = input.byte();
  CompanyPattern pattern{input.line(), ""};
  pattern.to = input.line();
  if (input.rest().size() > PipeOfPieces::most_bytes) {
    return 0;
  }
  if (first >= 240U) {
    check_prepared(input.rest());
  } else {
    check(input.rest(), pattern.from.empty() ? std::nullopt : std::optional(pattern),
          1U + first % 64U);
  }
  return 0;
}
