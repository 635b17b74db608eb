#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace importkcd {

/// An attribute of a KcdElement. Both texts live as long as the document.
struct KcdAttribute {
  const std::string* name = nullptr;
  /// The value with all references resolved, UTF-8.
  std::string_view value;
};

/// An element of a cube definition document. Elements live as long as their document; texts,
/// comments and processing instructions between them are not kept.
class KcdElement {
 public:
  /// The qualified tag name.
  const std::string& tag() const { return *shape_->tag; }

  /// The attribute's value; nothing when it is absent. Names are compared exactly.
  std::optional<std::string_view> attribute(std::string_view name) const;

  /// How many attributes there are; name space declarations are none.
  std::size_t attribute_count() const { return shape_->names.size(); }
  /// The attribute at a position below attribute_count(), in document order.
  KcdAttribute attribute_at(std::size_t position) const {
    return {shape_->names[position], value_at(position)};
  }

  const KcdElement* first_child() const { return first_child_; }
  const KcdElement* next_sibling() const { return next_sibling_; }

  /// The first child element of that tag; null when there is none.
  const KcdElement* child(std::string_view tag) const;

 private:
  friend class KcdDocumentBuilder;

  /// What elements of one kind share: documents repeat few kinds very often.
  struct Shape {
    const std::string* tag = nullptr;
    /// The attributes' names, in document order.
    std::span<const std::string* const> names;
  };

  /// Where each attribute's value ends among the texts; both stand right behind the element.
  using TextEnd = std::uint32_t;
  const TextEnd* text_ends() const { return reinterpret_cast<const TextEnd*>(this + 1); }
  const char* texts() const {
    return reinterpret_cast<const char*>(text_ends() + attribute_count());
  }
  std::string_view value_at(std::size_t position) const {
    const auto begin = position == 0 ? 0 : text_ends()[position - 1];
    return {texts() + begin, text_ends()[position] - begin};
  }

  const Shape* shape_ = nullptr;
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
