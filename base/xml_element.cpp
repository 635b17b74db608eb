#include "base/xml_element.h"

#include <libxml/chvalid.h>
#include <libxml/tree.h>
#include <libxml/xmlreader.h>
#include <libxml/xmlstring.h>
#include <libxml/xmlwriter.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <new>

#include "base/import_error.h"
#include "base/text.h"

namespace importkcd {
namespace {

const xmlChar* xml_chars(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

std::string text_of(const xmlChar* text) {
  return text == nullptr ? std::string() : reinterpret_cast<const char*>(text);
}

struct FreeXml {
  void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
  void operator()(xmlTextWriter* writer) const { xmlFreeTextWriter(writer); }
  void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
};

/// Takes the library's errors while it lives: some of its functions tell of a lack of memory that
/// way alone, and leave a value out.
class XmlErrors {
 public:
  XmlErrors() : old_context_(xmlStructuredErrorContext), old_handler_(xmlStructuredError) {
    xmlSetStructuredErrorFunc(this, [](void* errors, xmlErrorPtr /*error*/) {
      static_cast<XmlErrors*>(errors)->any_ = true;
    });
  }
  ~XmlErrors() { xmlSetStructuredErrorFunc(old_context_, old_handler_); }
  XmlErrors(const XmlErrors&) = delete;
  XmlErrors& operator=(const XmlErrors&) = delete;

  bool any() const { return any_; }

 private:
  void* old_context_;
  xmlStructuredErrorFunc old_handler_;
  bool any_ = false;
};

/// Writes elements into memory; every refusal of the library is an error.
class XmlWriter {
 public:
  explicit XmlWriter(XmlLayout layout)
      : buffer_(xmlBufferCreate()), writer_(xmlNewTextWriterMemory(buffer_.get(), 0)) {
    require(writer_ != nullptr);
    require(xmlTextWriterSetIndent(writer_.get(), layout == XmlLayout::indented ? 1 : 0) >= 0);
    require(xmlTextWriterSetIndentString(writer_.get(), xml_chars("  ")) >= 0);
  }

  void start_document() {
    require(xmlTextWriterStartDocument(writer_.get(), nullptr, "UTF-8", nullptr) >= 0);
  }

  void end_document() { require(xmlTextWriterEndDocument(writer_.get()) >= 0); }

  void comment(const std::string& text) {
    require(xmlTextWriterWriteComment(writer_.get(), xml_chars(text)) >= 0);
  }

  void element(const XmlElement& element) {
    require(xmlTextWriterStartElement(writer_.get(), xml_chars(element.name)) >= 0);
    for (const auto& [name, value] : element.attributes) {
      check_xml_text(value);
      require(xmlTextWriterWriteAttribute(writer_.get(), xml_chars(name), xml_chars(value)) >= 0);
    }
    if (!element.text.empty()) {
      check_xml_text(element.text);
      require(xmlTextWriterWriteString(writer_.get(), xml_chars(element.text)) >= 0);
    }
    for (const auto& child : element.children) {
      this->element(child);
    }
    require(xmlTextWriterEndElement(writer_.get()) >= 0);
  }

  std::string text() {
    require(xmlTextWriterFlush(writer_.get()) >= 0 && !errors_.any());
    return {reinterpret_cast<const char*>(xmlBufferContent(buffer_.get())),
            static_cast<std::size_t>(xmlBufferLength(buffer_.get()))};
  }

 private:
  static void require(bool done) {
    if (!done) {
      throw ImportError("XML could not be written", error_source::olap_server);
    }
  }

  XmlErrors errors_;
  std::unique_ptr<xmlBuffer, FreeXml> buffer_;
  std::unique_ptr<xmlTextWriter, FreeXml> writer_;
};

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

/// Builds the elements of a text while the library's reader walks over it.
class XmlRead {
 public:
  XmlRead(std::string_view text, std::string_view source) : text_(text), source_(source) {}

  XmlElement run() {
    if (text_.size() > INT_MAX) {
      refuse("it is too large");
    }
    reader_.reset(xmlReaderForMemory(text_.data(), static_cast<int>(text_.size()), nullptr, nullptr,
                                     XML_PARSE_NONET));
    if (!reader_) {
      refuse("it cannot be read");
    }
    std::string message;
    xmlTextReaderSetStructuredErrorHandler(reader_.get(), note_error, &message);
    int state = 0;
    while ((state = xmlTextReaderRead(reader_.get())) == 1) {
      take_node();
    }
    if (state != 0 || !message.empty()) {
      const auto start = text_.find_first_not_of(" \t\r\n");
      const bool is_markup = start != std::string_view::npos && text_[start] == '<';
      refuse(is_markup && !message.empty() ? message : "it is no XML");
    }
    return std::move(root_);
  }

 private:
  [[noreturn]] void refuse(const std::string& reason) const { throw ImportError(reason, source_); }

  void take_node() {
    switch (xmlTextReaderNodeType(reader_.get())) {
      case XML_READER_TYPE_ELEMENT:
        begin_element();
        break;
      case XML_READER_TYPE_END_ELEMENT:
        open_.pop_back();
        break;
      case XML_READER_TYPE_TEXT:
      case XML_READER_TYPE_CDATA:
      case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
        open_.back()->text += text_of(xmlTextReaderConstValue(reader_.get()));
        break;
      case XML_READER_TYPE_DOCUMENT_TYPE:
        refuse("it declares a document type");
      case XML_READER_TYPE_ENTITY_REFERENCE:
        refuse("it refers to an entity");
      default:
        break;
    }
  }

  void begin_element() {
    XmlElement& element = open_.empty() ? root_ : open_.back()->add({});
    element.name = name_at_hand();
    const bool is_empty = xmlTextReaderIsEmptyElement(reader_.get()) == 1;
    while (xmlTextReaderMoveToNextAttribute(reader_.get()) == 1) {
      if (xmlTextReaderIsNamespaceDecl(reader_.get()) != 1) {
        element.set(name_at_hand(), text_of(xmlTextReaderConstValue(reader_.get())));
      }
    }
    if (!is_empty) {
      // The address holds: a parent gets its next child only after this one was closed.
      open_.push_back(&element);
    }
  }

  std::string name_at_hand() const { return text_of(xmlTextReaderConstLocalName(reader_.get())); }

  std::string_view text_;
  std::string_view source_;
  std::unique_ptr<xmlTextReader, FreeXml> reader_;
  XmlElement root_;
  std::vector<XmlElement*> open_;
};

}  // namespace

XmlElement& XmlElement::set(std::string attribute_name, std::string value) {
  attributes.emplace_back(std::move(attribute_name), std::move(value));
  return *this;
}

XmlElement& XmlElement::set_if_any(std::string attribute_name, std::string value) {
  return value.empty() ? *this : set(std::move(attribute_name), std::move(value));
}

XmlElement& XmlElement::add(XmlElement child_element) {
  children.push_back(std::move(child_element));
  return children.back();
}

const XmlElement* XmlElement::child(std::string_view child_name) const {
  const auto found = std::find_if(children.begin(), children.end(),
                                  [&](const XmlElement& c) { return c.name == child_name; });
  return found == children.end() ? nullptr : &*found;
}

std::string_view XmlElement::child_text(std::string_view child_name) const {
  const auto* const found = child(child_name);
  return found == nullptr ? std::string_view() : std::string_view(found->text);
}

std::string_view XmlElement::attribute(std::string_view attribute_name) const {
  const auto found = std::find_if(attributes.begin(), attributes.end(),
                                  [&](const auto& a) { return a.first == attribute_name; });
  return found == attributes.end() ? std::string_view() : std::string_view(found->second);
}

const XmlElement* XmlElement::find(std::string_view element_name) const {
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

XmlElement text_element(std::string name, std::string text) {
  XmlElement element;
  element.name = std::move(name);
  element.text = std::move(text);
  return element;
}

std::string xml_text(const XmlElement& element) {
  XmlWriter writer(XmlLayout::indented);
  writer.element(element);
  return writer.text();
}

std::string xml_document(const XmlElement& root, const std::string& comment, XmlLayout layout) {
  XmlWriter writer(layout);
  writer.start_document();
  if (!comment.empty()) {
    writer.comment(comment);
  }
  writer.element(root);
  writer.end_document();
  return writer.text();
}

// The library writes what no reader of XML would take, and stops at a NUL.
void check_xml_text(const std::string& text) {
  const auto* rest = reinterpret_cast<const xmlChar*>(text.data());
  for (auto left = text.size(); left > 0;) {
    // No character is longer.
    int length = static_cast<int>(std::min<std::size_t>(left, 4));
    const int character = xmlGetUTF8Char(rest, &length);
    if (character < 0 || !xmlIsCharQ(static_cast<unsigned>(character))) {
      throw ImportError("'" + printable(text) + "' cannot stand in an XML file",
                        error_source::olap_server);
    }
    rest += length;
    left -= static_cast<std::size_t>(length);
  }
}

std::string escaped_attribute(const std::string& value) {
  check_xml_text(value);
  const XmlErrors errors;
  const std::unique_ptr<xmlBuffer, FreeXml> buffer(xmlBufferCreate());
  if (buffer) {
    xmlAttrSerializeTxtContent(buffer.get(), nullptr, nullptr, xml_chars(value));
  }
  if (!buffer || errors.any()) {
    throw std::bad_alloc();
  }
  return {reinterpret_cast<const char*>(xmlBufferContent(buffer.get())),
          static_cast<std::size_t>(xmlBufferLength(buffer.get()))};
}

XmlElement read_xml(std::string_view text, std::string_view source) {
  return XmlRead(text, source).run();
}

}  // namespace importkcd
