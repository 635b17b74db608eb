#include "engine/olap_model/mondrian/xml_element.h"

#include <libxml/xmlwriter.h>

#include <memory>

#include "engine/olap_model/import_error.h"

namespace importkcd {
namespace {

const xmlChar* xml_chars(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

/// Writes elements into memory; every refusal of the library is an error.
class Writer {
 public:
  Writer() : buffer_(xmlBufferCreate()), writer_(xmlNewTextWriterMemory(buffer_.get(), 0)) {
    require(writer_ != nullptr);
    require(xmlTextWriterSetIndent(writer_.get(), 1) >= 0);
    require(xmlTextWriterSetIndentString(writer_.get(), xml_chars("  ")) >= 0);
  }

  void start_document() {
    require(xmlTextWriterStartDocument(writer_.get(), nullptr, "UTF-8", nullptr) >= 0);
  }

  void comment(const std::string& text) {
    require(xmlTextWriterWriteComment(writer_.get(), xml_chars(text)) >= 0);
  }

  void element(const XmlElement& element) {
    require(xmlTextWriterStartElement(writer_.get(), xml_chars(element.name)) >= 0);
    for (const auto& [name, value] : element.attributes) {
      check(value);
      require(xmlTextWriterWriteAttribute(writer_.get(), xml_chars(name), xml_chars(value)) >= 0);
    }
    if (!element.text.empty()) {
      check(element.text);
      require(xmlTextWriterWriteString(writer_.get(), xml_chars(element.text)) >= 0);
    }
    for (const auto& child : element.children) {
      this->element(child);
    }
    require(xmlTextWriterEndElement(writer_.get()) >= 0);
  }

  std::string text() {
    writer_.reset();
    return {reinterpret_cast<const char*>(xmlBufferContent(buffer_.get())),
            static_cast<std::size_t>(xmlBufferLength(buffer_.get()))};
  }

 private:
  struct Free {
    void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
    void operator()(xmlTextWriter* writer) const { xmlFreeTextWriter(writer); }
  };

  static void require(bool done) {
    if (!done) {
      throw ImportError("XML could not be written", error_source::olap_server);
    }
  }

  /// The library writes bytes that no XML reader would take.
  static void check(const std::string& text) {
    bool fine = xmlCheckUTF8(xml_chars(text)) != 0;
    for (const char character : text) {
      const auto byte = static_cast<unsigned char>(character);
      fine = fine && (byte >= 0x20 || byte == '\t' || byte == '\n' || byte == '\r');
    }
    if (!fine) {
      throw ImportError("'" + text + "' cannot stand in an XML file", error_source::olap_server);
    }
  }

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
