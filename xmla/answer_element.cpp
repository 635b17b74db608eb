#include "xmla/answer_element.h"

#include <libxml/xmlreader.h>

#include <algorithm>
#include <climits>
#include <memory>

#include "base/import_error.h"
#include "base/shared_library.h"
#include "xmla/xmla_error.h"

namespace importkcd {
namespace {

/// What reading calls of the XML library.
struct XmlReader {
  static const XmlReader& get() {
    static const XmlReader functions;
    return functions;
  }

  SharedLibrary library{XML_LIBRARY, "XML", xmla_server};
  LibraryFunction<decltype(&xmlReaderForMemory)> create{library, "xmlReaderForMemory"};
  LibraryFunction<decltype(&xmlFreeTextReader)> free{library, "xmlFreeTextReader"};
  LibraryFunction<decltype(&xmlTextReaderSetStructuredErrorHandler)> report_errors_to{
      library, "xmlTextReaderSetStructuredErrorHandler"};
  LibraryFunction<decltype(&xmlTextReaderRead)> read{library, "xmlTextReaderRead"};
  LibraryFunction<decltype(&xmlTextReaderNodeType)> type{library, "xmlTextReaderNodeType"};
  LibraryFunction<decltype(&xmlTextReaderConstLocalName)> name{library,
                                                               "xmlTextReaderConstLocalName"};
  LibraryFunction<decltype(&xmlTextReaderConstValue)> value{library, "xmlTextReaderConstValue"};
  LibraryFunction<decltype(&xmlTextReaderIsEmptyElement)> is_empty{library,
                                                                   "xmlTextReaderIsEmptyElement"};
  LibraryFunction<decltype(&xmlTextReaderMoveToNextAttribute)> next_attribute{
      library, "xmlTextReaderMoveToNextAttribute"};
  LibraryFunction<decltype(&xmlTextReaderIsNamespaceDecl)> declares_namespace{
      library, "xmlTextReaderIsNamespaceDecl"};
};

struct FreeReader {
  void operator()(xmlTextReaderPtr reader) const { XmlReader::get().free(reader); }
};
using Reader = std::unique_ptr<xmlTextReader, FreeReader>;

std::string text_of(const xmlChar* text) {
  return text == nullptr ? std::string() : reinterpret_cast<const char*>(text);
}

/// Keeps the first message; the later ones only follow from it.
void note_error(void* context, xmlErrorPtr error) {
  auto& message = *static_cast<std::string*>(context);
  if (message.empty() && error != nullptr && error->level >= XML_ERR_ERROR) {
    message = error->message == nullptr ? "" : error->message;
    while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) {
      message.pop_back();
    }
    std::replace(message.begin(), message.end(), '\n', ' ');
    message += " (line " + std::to_string(error->line) + ")";
  }
}

[[noreturn]] void refuse(const std::string& reason) { throw ImportError(reason, xmla_server); }

/// Builds the tree while the reader walks.
class TreeBuilder {
 public:
  explicit TreeBuilder(xmlTextReaderPtr reader) : reader_(reader) {}

  void take_node() {
    switch (xml_.type(reader_)) {
      case XML_READER_TYPE_ELEMENT:
        begin_element();
        break;
      case XML_READER_TYPE_END_ELEMENT:
        open_.pop_back();
        break;
      case XML_READER_TYPE_TEXT:
      case XML_READER_TYPE_CDATA:
      case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
        open_.back()->text += text_of(xml_.value(reader_));
        break;
      case XML_READER_TYPE_DOCUMENT_TYPE:
        refuse("it declares a document type");
      case XML_READER_TYPE_ENTITY_REFERENCE:
        refuse("it refers to an entity");
      default:
        break;
    }
  }

  AnswerElement take_root() { return std::move(root_); }

 private:
  void begin_element() {
    AnswerElement& element =
        open_.empty() ? root_ : open_.back()->children.emplace_back(AnswerElement{});
    element.name = text_of(xml_.name(reader_));
    const bool is_empty = xml_.is_empty(reader_) == 1;
    while (xml_.next_attribute(reader_) == 1) {
      if (xml_.declares_namespace(reader_) != 1) {
        element.attributes.emplace_back(text_of(xml_.name(reader_)), text_of(xml_.value(reader_)));
      }
    }
    if (!is_empty) {
      // The address holds: a parent gets its next child only after this one was closed.
      open_.push_back(&element);
    }
  }

  const XmlReader& xml_ = XmlReader::get();
  xmlTextReaderPtr reader_;
  AnswerElement root_;
  std::vector<AnswerElement*> open_;
};

}  // namespace

const AnswerElement* AnswerElement::child(std::string_view child_name) const {
  const auto found = std::find_if(children.begin(), children.end(),
                                  [&](const AnswerElement& c) { return c.name == child_name; });
  return found == children.end() ? nullptr : &*found;
}

std::string_view AnswerElement::child_text(std::string_view child_name) const {
  const auto* const found = child(child_name);
  return found == nullptr ? std::string_view() : std::string_view(found->text);
}

std::string_view AnswerElement::attribute(std::string_view attribute_name) const {
  const auto found = std::find_if(attributes.begin(), attributes.end(),
                                  [&](const auto& a) { return a.first == attribute_name; });
  return found == attributes.end() ? std::string_view() : std::string_view(found->second);
}

const AnswerElement* AnswerElement::find(std::string_view element_name) const {
  if (name == element_name) {
    return this;
  }
  for (const auto& element : children) {
    if (const auto* const found = element.find(element_name)) {
      return found;
    }
  }
  return nullptr;
}

AnswerElement parse_answer(std::string_view text) {
  if (text.size() > INT_MAX) {
    refuse("it is too large");
  }
  const auto& xml = XmlReader::get();
  const Reader reader(
      xml.create(text.data(), static_cast<int>(text.size()), nullptr, nullptr, XML_PARSE_NONET));
  if (!reader) {
    refuse("it cannot be read");
  }
  std::string message;
  xml.report_errors_to(reader.get(), note_error, &message);
  TreeBuilder builder(reader.get());
  int state = 0;
  while ((state = xml.read(reader.get())) == 1) {
    builder.take_node();
  }
  if (state != 0 || !message.empty()) {
    const auto start = text.find_first_not_of(" \t\r\n");
    const bool is_markup = start != std::string_view::npos && text[start] == '<';
    refuse(is_markup && !message.empty() ? message : "it is no XML");
  }
  return builder.take_root();
}

}  // namespace importkcd
