#include "engine/kcd_document_builder.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace importkcd {

// The arena gives their memory back without destroying them.
static_assert(std::is_trivially_destructible_v<KcdElement>);
static_assert(std::is_trivially_destructible_v<KcdAttribute>);
static_assert(sizeof(KcdElement) % alignof(KcdAttribute) == 0);

// make_unique cannot reach the private constructor.
KcdDocumentBuilder::KcdDocumentBuilder() : document_(new KcdDocument) {}

const std::string* KcdDocumentBuilder::name(std::string_view text) {
  return &*document_->storage_->names.emplace(text).first;
}

void KcdDocumentBuilder::begin_element(const std::string* tag,
                                       std::span<const KcdAttribute> attributes) {
  if (!keeps_next()) {
    open_.push_back({});
    return;
  }
  auto* const element = make_element(tag, attributes);
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

/// One piece of the arena holds the element, then its attributes, then their values.
KcdElement* KcdDocumentBuilder::make_element(const std::string* tag,
                                             std::span<const KcdAttribute> attributes) {
  std::size_t size = sizeof(KcdElement) + attributes.size_bytes();
  for (const auto& attribute : attributes) {
    size += attribute.value.size();
  }
  auto* const place =
      static_cast<std::byte*>(document_->storage_->arena.allocate(size, alignof(KcdElement)));
  auto* const element = new (place) KcdElement;
  auto* const kept = reinterpret_cast<KcdAttribute*>(place + sizeof(KcdElement));
  auto* text = reinterpret_cast<char*>(kept + attributes.size());
  for (std::size_t i = 0; i < attributes.size(); ++i) {
    const auto value = attributes[i].value;
    new (kept + i) KcdAttribute{attributes[i].name, {text, value.size()}};
    text = std::copy(value.begin(), value.end(), text);
  }
  element->tag_ = tag;
  element->attributes_ = kept;
  element->attribute_count_ = attributes.size();
  return element;
}

std::unique_ptr<KcdDocument> KcdDocumentBuilder::finish() {
  return document_->root_ == nullptr ? nullptr : std::move(document_);
}

}  // namespace importkcd
