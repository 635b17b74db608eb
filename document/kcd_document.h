#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace importkcd {

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
  std::string_view tag() const { return tag_; }

  /// The attributes in document order; name space declarations are none.
  std::span<const KcdAttribute> attributes() const { return attributes_; }

  /// The attribute's value; nothing when it is absent. Names are compared exactly.
  std::optional<std::string_view> attribute(std::string_view name) const;

  const KcdElement* first_child() const { return first_child_; }
  const KcdElement* next_sibling() const { return next_sibling_; }

  /// The first child element of that tag; null when there is none.
  const KcdElement* child(std::string_view tag) const;

 private:
  friend class KcdDocumentBuilder;

  std::string_view tag_;
  std::span<const KcdAttribute> attributes_;
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

/// A loaded cube definition document: a compact, read-only tree that owns all its texts.
class KcdDocument {
 public:
  /// Loads a document in any encoding that it declares. Nothing outside the file is read, and
  /// entities may not be declared. Throws ImportError, whose description gives place and reason,
  /// when the file cannot be read or is not well-formed XML in every respect.
  static std::unique_ptr<KcdDocument> load(const std::string& path);

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
