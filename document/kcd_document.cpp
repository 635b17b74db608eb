#include "document/kcd_document.h"

#include "document/document_parser.h"
#include "document/kcd_document_builder.h"

namespace importkcd {

std::optional<std::string_view> KcdElement::attribute(std::string_view name) const {
  const auto names = shape_->names;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (*names[i] == name) {
      return value_at(i);
    }
  }
  return std::nullopt;
}

const KcdElement* KcdElement::child(std::string_view tag) const {
  const auto* element = first_child_;
  while (element != nullptr && element->tag() != tag) {
    element = element->next_sibling();
  }
  return element;
}

KcdDocument::KcdDocument() : storage_(std::make_unique<Storage>()) {}

KcdDocument::~KcdDocument() = default;

std::unique_ptr<KcdDocument> KcdDocument::load(const std::string& path) {
  KcdDocumentBuilder builder;
  parse_document(path, builder);
  return builder.finish();
}

std::unique_ptr<KcdDocument> KcdDocument::load_root(const std::string& path) {
  KcdDocumentBuilder builder;
  builder.keep_root_alone();
  parse_document(path, builder);
  return builder.finish();
}

}  // namespace importkcd
