#pragma once

#include <array>
#include <memory>
#include <memory_resource>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "document/kcd_document.h"

namespace importkcd {

/// Where a document keeps its elements, attributes and texts; they go all at once.
struct KcdDocument::Storage {
  std::pmr::monotonic_buffer_resource arena;
  /// Tags and attribute names, each once.
  std::unordered_set<std::string> names;
};

/// Builds a KcdDocument from its elements' beginnings and ends, in document order.
class KcdDocumentBuilder {
 public:
  KcdDocumentBuilder();

  /// Keeps nothing but the root element from now on.
  void keep_root_alone() { root_alone_ = true; }

  /// The document's own copy of a name; equal names give the same address.
  const std::string* name(const std::string& text);

  /// Whether the next element will be kept; if not, its name and its attributes do not matter.
  bool keeps_next() const { return !root_alone_ || open_.empty(); }

  /// Begins an element inside of the open one. Names come from name(); values are copied.
  void begin_element(const std::string* tag, std::span<const KcdAttribute> attributes);

  /// Ends the open element.
  void end_element() { open_.pop_back(); }

  /// Hands over the document, whose root element is the first that was begun; null when none was.
  std::unique_ptr<KcdDocument> finish();

 private:
  struct OpenElement {
    KcdElement* element = nullptr;
    KcdElement* last_child = nullptr;
  };

  using Shape = KcdElement::Shape;

  const Shape* shape_of(const std::string* tag, std::span<const KcdAttribute> attributes);
  const Shape* make_shape(const std::string* tag, std::span<const KcdAttribute> attributes);
  KcdElement* make_element(const std::string* tag, std::span<const KcdAttribute> attributes);

  std::unique_ptr<KcdDocument> document_;
  std::vector<OpenElement> open_;
  /// The last shape met among those that fall on a place; the others are made anew when they come
  /// back, so that no document can make this grow. Of the few shapes of a usual document hardly any
  /// two fall on one place.
  std::array<const Shape*, 4096> shapes_{};
  bool root_alone_ = false;
};

}  // namespace importkcd
