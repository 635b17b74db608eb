#include "base/xml_element.h"

#include <libxml/xmlwriter.h>

#include <memory>

#include "base/import_error.h"
#include "base/shared_library.h"

namespace importkcd {
namespace {

/// What writing calls of the XML library.
struct XmlWriter {
  static const XmlWriter& get() {
    static const XmlWriter functions;
    return functions;
  }

  SharedLibrary library{XML_LIBRARY, "XML", error_source::olap_server};
  LibraryFunction<decltype(&xmlBufferCreate)> create_buffer{library, "xmlBufferCreate"};
  LibraryFunction<decltype(&xmlBufferContent)> content{library, "xmlBufferContent"};
  LibraryFunction<decltype(&xmlBufferLength)> length{library, "xmlBufferLength"};
  LibraryFunction<decltype(&xmlBufferFree)> free_buffer{library, "xmlBufferFree"};
  LibraryFunction<decltype(&xmlNewTextWriterMemory)> create{library, "xmlNewTextWriterMemory"};
  LibraryFunction<decltype(&xmlFreeTextWriter)> free{library, "xmlFreeTextWriter"};
  LibraryFunction<decltype(&xmlTextWriterSetIndent)> set_indent{library, "xmlTextWriterSetIndent"};
  LibraryFunction<decltype(&xmlTextWriterSetIndentString)> set_indent_string{
      library, "xmlTextWriterSetIndentString"};
  LibraryFunction<decltype(&xmlTextWriterStartDocument)> start_document{
      library, "xmlTextWriterStartDocument"};
  LibraryFunction<decltype(&xmlTextWriterWriteComment)> comment{library,
                                                                "xmlTextWriterWriteComment"};
  LibraryFunction<decltype(&xmlTextWriterStartElement)> start_element{library,
                                                                      "xmlTextWriterStartElement"};
  LibraryFunction<decltype(&xmlTextWriterWriteAttribute)> attribute{library,
                                                                    "xmlTextWriterWriteAttribute"};
  LibraryFunction<decltype(&xmlTextWriterWriteString)> text{library, "xmlTextWriterWriteString"};
  LibraryFunction<decltype(&xmlTextWriterEndElement)> end_element{library,
                                                                  "xmlTextWriterEndElement"};
  LibraryFunction<decltype(&xmlCheckUTF8)> is_utf8{library, "xmlCheckUTF8"};
};

const xmlChar* xml_chars(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

/// Writes elements into memory; every refusal of the library is an error.
class Writer {
 public:
  Writer() : buffer_(xml_.create_buffer()), writer_(xml_.create(buffer_.get(), 0)) {
    require(writer_ != nullptr);
    require(xml_.set_indent(writer_.get(), 1) >= 0);
    require(xml_.set_indent_string(writer_.get(), xml_chars("  ")) >= 0);
  }

  void start_document() {
    require(xml_.start_document(writer_.get(), nullptr, "UTF-8", nullptr) >= 0);
  }

  void comment(const std::string& text) {
    require(xml_.comment(writer_.get(), xml_chars(text)) >= 0);
  }

  void element(const XmlElement& element) {
    require(xml_.start_element(writer_.get(), xml_chars(element.name)) >= 0);
    for (const auto& [name, value] : element.attributes) {
      check(value);
      require(xml_.attribute(writer_.get(), xml_chars(name), xml_chars(value)) >= 0);
    }
    if (!element.text.empty()) {
      check(element.text);
      require(xml_.text(writer_.get(), xml_chars(element.text)) >= 0);
    }
    for (const auto& child : element.children) {
      this->element(child);
    }
    require(xml_.end_element(writer_.get()) >= 0);
  }

  std::string text() {
    writer_.reset();
    return {reinterpret_cast<const char*>(xml_.content(buffer_.get())),
            static_cast<std::size_t>(xml_.length(buffer_.get()))};
  }

 private:
  struct Free {
    void operator()(xmlBuffer* buffer) const { XmlWriter::get().free_buffer(buffer); }
    void operator()(xmlTextWriter* writer) const { XmlWriter::get().free(writer); }
  };

  static void require(bool done) {
    if (!done) {
      throw ImportError("XML could not be written", error_source::olap_server);
    }
  }

  /// The library writes bytes that no XML reader would take.
  void check(const std::string& text) const {
    bool fine = xml_.is_utf8(xml_chars(text)) != 0;
    for (const char character : text) {
      const auto byte = static_cast<unsigned char>(character);
      fine = fine && (byte >= 0x20 || byte == '\t' || byte == '\n' || byte == '\r');
    }
    if (!fine) {
      throw ImportError("'" + text + "' cannot stand in an XML file", error_source::olap_server);
    }
  }

  const XmlWriter& xml_ = XmlWriter::get();
  std::unique_ptr<xmlBuffer, Free> buffer_;
  std::unique_ptr<xmlTextWriter, Free> writer_;
};

}  // namespace

XmlElement& XmlElement::set(std::string attribute, std::string value) {
  attributes.emplace_back(std::move(attribute), std::move(value));
  return *this;
}

XmlElement& XmlElement::set_if_any(std::string attribute, std::string value) {
  return value.empty() ? *this : set(std::move(attribute), std::move(value));
}

XmlElement& XmlElement::add(XmlElement child) {
  children.push_back(std::move(child));
  return children.back();
}

XmlElement text_element(std::string name, std::string text) {
  XmlElement element;
  element.name = std::move(name);
  element.text = std::move(text);
  return element;
}

std::string xml_text(const XmlElement& element) {
  Writer writer;
  writer.element(element);
  return writer.text();
}

std::string xml_document(const XmlElement& root, const std::string& comment) {
  Writer writer;
  writer.start_document();
  if (!comment.empty()) {
    writer.comment(comment);
  }
  writer.element(root);
  return writer.text();
}

}  // namespace importkcd
