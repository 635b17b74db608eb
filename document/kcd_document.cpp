#include "document/kcd_document.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "document/kcd_document_builder.h"

namespace importkcd {

/// What a document keeps its elements, attributes and values in. They are never freed one by one:
/// with a string per value and a vector per element an import of 100 MB into memory takes a sixth
/// longer.
struct KcdDocument::Storage {
  std::pmr::monotonic_buffer_resource memory;
  std::shared_ptr<const void> names;
};

std::optional<std::string_view> KcdElement::attribute(std::string_view name) const {
  const auto all = attributes();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [&](const auto& attribute) { return attribute.name == name; });
  return found == all.end() ? std::nullopt : std::optional(found->value);
}

const KcdElement* KcdElement::child(std::string_view tag) const {
  const auto* element = first_child_;
  while (element != nullptr && element->tag() != tag) {
    element = element->next_sibling();
  }
  return element;
}

namespace {

std::string place_text(DocumentPosition position) {
  return position.line == 0 ? ""
                            : "line " + std::to_string(position.line) + ", column " +
                                  std::to_string(position.column) + ": ";
}

}  // namespace

DocumentSyntaxError::DocumentSyntaxError(DocumentPosition position, const std::string& reason)
    : ImportError(place_text(position) + reason, error_source::kcd_document),
      position_(position),
      reason_(reason) {}

KcdDocument::KcdDocument() : storage_(std::make_unique<Storage>()) {}

KcdDocument::~KcdDocument() = default;

std::unique_ptr<KcdDocument> KcdDocument::load(const std::string& path) {
  KcdDocumentBuilder builder;
  parse_document(path, builder);
  return builder.finish();
}

std::unique_ptr<KcdDocument> KcdDocument::load_original(const std::string& path) {
  KcdDocumentBuilder builder;
  parse_document(path, builder, FirstLine::may_be_dropped);
  return builder.finish();
}

std::unique_ptr<KcdDocument> KcdDocument::load_root(const std::string& path) {
  KcdDocumentBuilder builder;
  builder.keep_root_alone();
  parse_document(path, builder);
  return builder.finish();
}

// make_unique cannot reach the private constructor.
KcdDocumentBuilder::KcdDocumentBuilder() : document_(new KcdDocument) {}

void KcdDocumentBuilder::keep_names(std::shared_ptr<const void> names) {
  document_->storage_->names = std::move(names);
}

void KcdDocumentBuilder::begin_element(std::string_view tag,
                                       std::span<const KcdAttribute> attributes,
                                       DocumentPosition position) {
  if (!keeps_next()) {
    open_.push_back({});
    return;
  }
  auto* const element = make_element(tag, attributes);
  element->position_ = position;
  if (open_.empty()) {
    document_->root_ = element;
  } else {
    auto& parent = open_.back();
    auto*& link = parent.last_child == nullptr ? parent.element->first_child_
                                               : parent.last_child->next_sibling_;
    link = element;
    parent.last_child = element;
  }
  open_.push_back({element, nullptr});
}

KcdElement* KcdDocumentBuilder::make_element(std::string_view tag,
                                             std::span<const KcdAttribute> attributes) {
  // The memory is given back without destroying anything.
  static_assert(std::is_trivially_destructible_v<KcdElement>);
  static_assert(std::is_trivially_destructible_v<KcdAttribute>);
  std::pmr::polymorphic_allocator<> memory(&document_->storage_->memory);
  auto* const kept = memory.allocate_object<KcdAttribute>(attributes.size());
  for (std::size_t i = 0; i < attributes.size(); ++i) {
    const auto& [name, value] = attributes[i];
    auto* const text = memory.allocate_object<char>(value.size());
    std::copy(value.begin(), value.end(), text);
    new (&kept[i]) KcdAttribute{name, {text, value.size()}};
  }
  auto* const element = memory.new_object<KcdElement>();
  // The parser keeps tags and counts of attributes far below these bounds.
  element->tag_ = tag.data();
  element->tag_size_ = static_cast<std::uint32_t>(tag.size());
  element->attributes_ = kept;
  element->attribute_count_ = static_cast<std::uint32_t>(attributes.size());
  return element;
}

std::unique_ptr<KcdDocument> KcdDocumentBuilder::finish() {
  return document_->root_ == nullptr ? nullptr : std::move(document_);
}

}  // namespace importkcd
