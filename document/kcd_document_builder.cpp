#include "document/kcd_document_builder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

namespace importkcd {

namespace {

std::size_t place_of(const std::string* tag, std::span<const KcdAttribute> attributes) {
  auto sum = reinterpret_cast<std::uintptr_t>(tag);
  for (const auto& attribute : attributes) {
    sum = 3 * sum + reinterpret_cast<std::uintptr_t>(attribute.name);
  }
  return sum ^ (sum >> 12U);
}

}  // namespace

// make_unique cannot reach the private constructor.
KcdDocumentBuilder::KcdDocumentBuilder() : document_(new KcdDocument) {}

const std::string* KcdDocumentBuilder::name(const std::string& text) {
  return &*document_->storage_->names.insert(text).first;
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

const KcdElement::Shape* KcdDocumentBuilder::shape_of(const std::string* tag,
                                                      std::span<const KcdAttribute> attributes) {
  const auto*& met = shapes_.at((place_of(tag, attributes) >> 4U) % shapes_.size());
  const bool fits =
      met != nullptr && met->tag == tag &&
      std::equal(met->names.begin(), met->names.end(), attributes.begin(), attributes.end(),
                 [](const auto* name, const auto& attribute) { return name == attribute.name; });
  if (!fits) {
    met = make_shape(tag, attributes);
  }
  return met;
}

const KcdElement::Shape* KcdDocumentBuilder::make_shape(const std::string* tag,
                                                        std::span<const KcdAttribute> attributes) {
  static_assert(std::is_trivially_destructible_v<Shape>);
  std::pmr::polymorphic_allocator<> arena(&document_->storage_->arena);
  auto* const names = arena.allocate_object<const std::string*>(attributes.size());
  std::transform(attributes.begin(), attributes.end(), names,
                 [](const auto& attribute) { return attribute.name; });
  return arena.new_object<Shape>(Shape{tag, {names, attributes.size()}});
}

/// One piece of the arena holds the element, then where its attributes' values end, then the
/// values. A start tag is bounded, so that a TextEnd holds whatever its values come to.
KcdElement* KcdDocumentBuilder::make_element(const std::string* tag,
                                             std::span<const KcdAttribute> attributes) {
  // The arena gives the memory back without destroying anything.
  static_assert(std::is_trivially_destructible_v<KcdElement>);
  using TextEnd = KcdElement::TextEnd;
  static_assert(sizeof(KcdElement) % alignof(TextEnd) == 0);
  std::size_t size = sizeof(KcdElement) + attributes.size() * sizeof(TextEnd);
  for (const auto& attribute : attributes) {
    size += attribute.value.size();
  }
  auto* const place =
      static_cast<std::byte*>(document_->storage_->arena.allocate(size, alignof(KcdElement)));
  auto* const element = new (place) KcdElement;
  element->shape_ = shape_of(tag, attributes);
  auto* end = reinterpret_cast<TextEnd*>(place + sizeof(KcdElement));
  auto* const texts = reinterpret_cast<char*>(end + attributes.size());
  auto* text = texts;
  for (const auto& [name, value] : attributes) {
    text = std::copy(value.begin(), value.end(), text);
    new (end++) TextEnd(static_cast<TextEnd>(text - texts));
  }
  return element;
}

std::unique_ptr<KcdDocument> KcdDocumentBuilder::finish() {
  return document_->root_ == nullptr ? nullptr : std::move(document_);
}

}  // namespace importkcd
