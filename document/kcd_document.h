#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/import_error.h"

namespace importkcd {

/// A place in a document's file. Both numbers begin with 1; columns count characters, a tab being
/// one. A column of 0 means that only the line is known, a line of 0 that neither is.
struct DocumentPosition {
  std::uint32_t line = 0;
  std::uint32_t column = 0;

  bool operator==(const DocumentPosition&) const = default;
};

/// An attribute of a KcdElement. Both texts live as long as the document.
struct KcdAttribute {
  std::string_view name;
  /// The value with all references resolved, UTF-8.
  std::string_view value;
};

/// An element of a cube definition document. Elements live as long as their document; texts,
/// comments and processing instructions between them are not kept.
class KcdElement {
 public:
  /// The qualified tag name.
  std::string_view tag() const { return {tag_, tag_size_}; }

  /// Where the element's "<" stands.
  DocumentPosition position() const { return position_; }

  /// The attributes in document order; name space declarations are none.
  std::span<const KcdAttribute> attributes() const { return {attributes_, attribute_count_}; }

  /// The attribute's value; nothing when it is absent. Names are compared exactly.
  std::optional<std::string_view> attribute(std::string_view name) const;

  const KcdElement* first_child() const { return first_child_; }
  const KcdElement* next_sibling() const { return next_sibling_; }

  /// The first child element of that tag; null when there is none.
  const KcdElement* child(std::string_view tag) const;

 private:
  friend class KcdDocumentBuilder;

  // Documents have millions of these: the counts share eight bytes.
  const char* tag_ = nullptr;
  const KcdAttribute* attributes_ = nullptr;
  std::uint32_t tag_size_ = 0;
  std::uint32_t attribute_count_ = 0;
  DocumentPosition position_;
  KcdElement* first_child_ = nullptr;
  KcdElement* next_sibling_ = nullptr;
};

/// Walks the child elements of an element in document order:
/// `for (const KcdElement& child : children_of(element))`.
class KcdChildren {
 public:
  class Iterator {
   public:
    explicit Iterator(const KcdElement* element) : element_(element) {}
    const KcdElement& operator*() const { return *element_; }
    Iterator& operator++() {
      element_ = element_->next_sibling();
      return *this;
    }
    bool operator!=(const Iterator& other) const { return element_ != other.element_; }

   private:
    const KcdElement* element_;
  };

  explicit KcdChildren(const KcdElement* first) : first_(first) {}
  Iterator begin() const { return Iterator(first_); }
  Iterator end() const { return Iterator(nullptr); }

 private:
  const KcdElement* first_;
};

inline KcdChildren children_of(const KcdElement& element) {
  return KcdChildren(element.first_child());
}

/// The same of an element that may be absent: null has no children.
inline KcdChildren children_of(const KcdElement* element) {
  return KcdChildren(element == nullptr ? nullptr : element->first_child());
}

/// A document that is not what it should be as XML. The description is "line 3, column 14: " and
/// the reason.
class DocumentSyntaxError : public ImportError {
 public:
  DocumentSyntaxError(DocumentPosition position, const std::string& reason);

  DocumentPosition position() const { return position_; }
  const std::string& reason() const { return reason_; }

 private:
  DocumentPosition position_;
  std::string reason_;
};

/// A loaded cube definition document: a compact, read-only tree that owns all its texts.
class KcdDocument {
 public:
  /// Loads a document in any encoding that it declares. Nothing outside the file is read, and
  /// entities may not be declared. Throws ImportError when the file cannot be read, and its kind
  /// DocumentSyntaxError, whose description gives place and reason, when the file is not
  /// well-formed XML in every respect.
  static std::unique_ptr<KcdDocument> load(const std::string& path);

  /// The same for a person's own file, of which no copy was prepared: a first line that begins with
  /// "<!DOC" is passed over (document_copy.h), and counts as a line all the same.
  static std::unique_ptr<KcdDocument> load_original(const std::string& path);

  /// Reads a document as load() does, in every respect, but keeps nothing but its root element.
  static std::unique_ptr<KcdDocument> load_root(const std::string& path);

  KcdDocument(const KcdDocument&) = delete;
  KcdDocument& operator=(const KcdDocument&) = delete;
  ~KcdDocument();

  const KcdElement& root() const { return *root_; }

 private:
  friend class KcdDocumentBuilder;
  struct Storage;

  KcdDocument();

  std::unique_ptr<Storage> storage_;
  const KcdElement* root_ = nullptr;
};

}  // namespace importkcd
