#pragma once

#include <memory>
#include <memory_resource>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "document/kcd_document.h"

namespace importkcd {

/// Builds a KcdDocument from its elements' beginnings and ends, in document order.
class KcdDocumentBuilder {
 public:
  KcdDocumentBuilder();

  /// Keeps nothing but the root element from now on.
  void keep_root_alone() { root_alone_ = true; }

  /// Lets the document keep alive what holds the names of its elements and attributes.
  void keep_names(std::shared_ptr<const void> names);

  /// Whether the next element will be kept; if not, its name and its attributes do not matter.
  bool keeps_next() const { return !root_alone_ || open_.empty(); }

  /// Begins an element inside of the open one. Names live as long as what keep_names() got; values
  /// are copied.
  void begin_element(std::string_view tag, std::span<const KcdAttribute> attributes,
                     DocumentPosition position = {});

  /// Ends the open element.
  void end_element() { open_.pop_back(); }

  /// Hands over the document, whose root element is the first that was begun; null when none was.
  std::unique_ptr<KcdDocument> finish();

 private:
  struct OpenElement {
    KcdElement* element = nullptr;
    KcdElement* last_child = nullptr;
  };

  KcdElement* make_element(std::string_view tag, std::span<const KcdAttribute> attributes);

  std::unique_ptr<KcdDocument> document_;
  std::vector<OpenElement> open_;
  bool root_alone_ = false;
};

/// Whether a first line that begins with "<!DOC" is passed over. It is not in a prepared copy.
enum class FirstLine { is_kept, may_be_dropped };

/// Parses a file into the builder's document. Throws DocumentSyntaxError ("line 3, column 14:
/// reason"), or ImportError with the system's description when the file cannot be read, unless the
/// whole file is one well-formed document, names in their declared name spaces included. Nothing
/// outside the file is read.
///
/// Refused although well-formed, because they cost far more than their size: declarations of
/// entities and of attributes' default values, more than 10000 attributes of one element, more than
/// 1000 name space declarations in force at one place, elements more than 1000000 deep, a document
/// type of more than 65536 bytes, and more than 100000000 bytes in a tag, a text or a comment. The
/// last two are judged in steps of some thousand bytes.
void parse_document(const std::string& path, KcdDocumentBuilder& builder,
                    FirstLine first_line = FirstLine::is_kept);

}  // namespace importkcd
