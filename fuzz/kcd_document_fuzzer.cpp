// Any bytes as a document: it is refused with a reason, or it is a tree of proper texts that can be
// written down and read again. Neither depends on the pieces in which the document arrives.
//
// An input is the size of the pieces (a byte) and the document.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/import_error.h"
#include "document/kcd_document.h"
#include "fuzz/fuzz_support.h"

namespace {

using importkcd::ImportError;
using importkcd::KcdDocument;
using importkcd::KcdElement;
using importkcd::fuzz::Input;
using importkcd::fuzz::is_utf8;
using importkcd::fuzz::MemoryFile;
using importkcd::fuzz::PipeOfPieces;
using importkcd::fuzz::require;

/// What came of loading a document: a tree, or the reason why there is none.
struct Loaded {
  std::unique_ptr<KcdDocument> document;
  std::string error;
};

Loaded load(const std::string& path) {
  try {
    return {KcdDocument::load(path), ""};
  } catch (const ImportError& error) {
    require(error.source() == "KCD document");
    require(!error.description().empty());
    return {nullptr, error.description()};
  }
}

/// Writes trees down as documents, deep ones too.
class Writer {
 public:
  explicit Writer(const KcdElement& root) {
    collect_prefixes(root);
    begin(root, true);
    walk(
        root, [this](const KcdElement& element) { begin(element, false); },
        [this](const KcdElement& element) { end(element); });
    end(root);
  }

  const std::string& text() const { return text_; }

 private:
  /// Every element below the root, in document order, without recursion.
  template <class Begin, class End>
  static void walk(const KcdElement& root, Begin on_begin, End on_end) {
    std::vector<const KcdElement*> open;
    for (const auto* element = root.first_child(); element != nullptr;) {
      on_begin(*element);
      if (element->first_child() != nullptr) {
        open.push_back(element);
        element = element->first_child();
        continue;
      }
      on_end(*element);
      while (element->next_sibling() == nullptr && !open.empty()) {
        element = open.back();
        open.pop_back();
        on_end(*element);
      }
      element = element->next_sibling();
    }
  }

  void take_prefix(std::string_view name) {
    const auto colon = name.find(':');
    if (colon != std::string_view::npos && name.substr(0, colon) != "xml") {
      prefixes_.emplace(name.substr(0, colon));
    }
  }

  void take_prefixes(const KcdElement& element) {
    take_prefix(element.tag());
    for (const auto& attribute : element.attributes()) {
      take_prefix(attribute.name);
    }
  }

  void collect_prefixes(const KcdElement& root) {
    take_prefixes(root);
    walk(
        root, [this](const KcdElement& element) { take_prefixes(element); },
        [](const KcdElement&) {});
  }

  void begin(const KcdElement& element, bool is_root) {
    require(is_utf8(element.tag()) && !element.tag().empty());
    text_.append("<").append(element.tag());
    if (is_root) {
      for (const auto& prefix : prefixes_) {
        text_.append(" xmlns:").append(prefix).append("='urn:");
        text_.append(std::to_string(prefix.size())).append(prefix).append("'");
      }
    }
    for (const auto& attribute : element.attributes()) {
      require(is_utf8(attribute.name) && is_utf8(attribute.value));
      require(element.attribute(attribute.name) == attribute.value);
      text_.append(" ").append(attribute.name).append("='");
      for (const char c : attribute.value) {
        // Whatever means something in XML, or would be read as a blank.
        const bool is_plain =
            static_cast<unsigned char>(c) > ' ' && c != '&' && c != '<' && c != '\'' && c != '"';
        text_ += is_plain ? std::string(1, c) : "&#" + std::to_string(+c) + ";";
      }
      text_ += '\'';
    }
    text_ += '>';
  }

  void end(const KcdElement& element) { text_.append("</").append(element.tag()).append(">"); }

  std::set<std::string> prefixes_;
  std::string text_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  Input input(data, size);
  const std::size_t piece = 1U + input.byte() % 64U;
  if (input.rest().size() > PipeOfPieces::most_bytes) {
    return 0;
  }
  file.write(input.rest());
  const auto whole = load(file.path());
  const auto in_pieces = load(PipeOfPieces(input.rest(), piece).path());
  require(whole.error == in_pieces.error);
  if (whole.document != nullptr) {
    const auto text = Writer(whole.document->root()).text();
    require(text == Writer(in_pieces.document->root()).text());
    file.write(text);
    const auto again = load(file.path());
    require(again.document != nullptr && Writer(again.document->root()).text() == text);
  }
  return 0;
}
