#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <new>
#include <string_view>
#include <vector>

#include "base/files.h"
#include "base/import_error.h"
#include "base/text_encoding.h"
#include "document/document_copy.h"
#include "document/kcd_document_builder.h"
#include "document/parser_state.h"
#include "document/tag_places.h"

namespace importkcd {
namespace {

// The library compares every attribute of an element with every other, and walks all name spaces in
// force for every name.
constexpr int most_attributes = 10'000;
constexpr int most_namespaces = 1'000;
/// An open element takes some forty times as much memory as its start tag needs bytes.
constexpr int most_depth = 1'000'000;
/// The library keeps tags, comments and the like whole while it reads them, several times over.
constexpr std::size_t longest_piece = 100'000'000;
/// The library compares the names that an attribute's declaration lists with each other.
constexpr std::size_t longest_document_type = 65'536;
constexpr const char* too_many_attributes = "an element has more than 10000 attributes";
constexpr const char* too_many_namespaces = "more than 1000 name space declarations are in force";
constexpr const char* too_deep = "elements are nested more than 1000000 deep";
constexpr const char* too_long_piece = "a tag, a text or a comment is longer than 100000000 bytes";
constexpr const char* too_long_document_type = "the document type is longer than 65536 bytes";

std::string_view text_of(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

/// The library's messages may end with a line end and hold excerpts of several lines.
std::string one_line(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) {
    text.pop_back();
  }
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

/// Messages about wrong bytes end with four of the document, which may be part of a password.
std::string without_bytes(std::string message) {
  for (const auto* const excerpt : {" Bytes: ", ", bytes "}) {
    message.resize(std::min(message.find(excerpt), message.size()));
  }
  return message;
}

/// The parse of one file. The library calls its static functions; none of them lets an exception
/// out. After the first failure the file seems to end, which ends the parse soon.
class DocumentParse {
 public:
  DocumentParse(const std::string& path, KcdDocumentBuilder& builder)
      : reader_(path, error_source::kcd_document), builder_(builder) {}

  /// To be called before run().
  void pass_over_document_type_line();

  /// Throws as parse_document does.
  void run();

 private:
  struct FreeContext {
    void operator()(xmlParserCtxt* context) const {
      xmlFreeDoc(state_of(*context).document);
      xmlFreeParserCtxt(context);
    }
  };

  static DocumentParse& self(void* context) { return *static_cast<DocumentParse*>(context); }
  template <class Step>
  void guarded(Step step) noexcept;

  static int read(void* context, char* buffer, int size);
  static void start_element(void* context, const xmlChar* local, const xmlChar* prefix,
                            const xmlChar* uri, int namespace_count, const xmlChar** namespaces,
                            int attribute_count, int defaulted_count, const xmlChar** attributes);
  static void end_element(void* context, const xmlChar* local, const xmlChar* prefix,
                          const xmlChar* uri);
  static void entity_declared(void* context, const xmlChar* name, int type,
                              const xmlChar* public_id, const xmlChar* system_id, xmlChar* content);
  static void unparsed_entity_declared(void* context, const xmlChar* name, const xmlChar* public_id,
                                       const xmlChar* system_id, const xmlChar* notation);
  static void attribute_declared(void* context, const xmlChar* element, const xmlChar* name,
                                 int type, int default_kind, const xmlChar* default_value,
                                 xmlEnumeration* values);
  static xmlEntity* entity_used(void* context, const xmlChar* name);
  static void comment_read(void* context, const xmlChar* text);
  static void instruction_read(void* context, const xmlChar* target, const xmlChar* text);
  static void section_read(void* context, const xmlChar* text, int length);
  static void text_read(void* context, const xmlChar* text, int length);
  static void error_reported(void* context, xmlError* error);
  static xmlSAXHandler handlers();

  void parse();
  void keep_names();
  bool has_more_input();
  void check_limits();
  std::size_t next_bytes(char* buffer, std::size_t size);
  void begin_element(const xmlChar* local, const xmlChar* prefix, const xmlChar** attributes,
                     std::size_t count, DocumentPosition position);
  std::string_view name(const xmlChar* prefix, const xmlChar* local);
  std::string_view value(std::string_view text);
  DocumentPosition in_file(DocumentPosition position) const;
  void end_piece();
  void fail(const std::string& reason);

  FileReader reader_;
  KcdDocumentBuilder& builder_;
  std::unique_ptr<xmlParserCtxt, FreeContext> parser_;
  std::shared_ptr<xmlDict> names_;
  std::vector<KcdAttribute> attributes_;
  /// Values of the element at hand that differ from what the library hands over.
  std::deque<std::string> values_;
  /// Bytes taken from the file since the last event, and in the document type.
  std::size_t piece_ = 0;
  std::size_t document_type_ = 0;
  TagPlaces places_;
  /// A byte order mark that was taken from the file and not handed over yet.
  std::string byte_order_mark_;
  std::uint32_t lines_passed_over_ = 0;
  std::exception_ptr failure_;
};

/// Brings all of the library's errors to a parse while in scope. A parser's own error handler would
/// be called with different contexts, and not at all for the conversion of encodings.
class ErrorRoute {
 public:
  ErrorRoute(void* context, xmlStructuredErrorFunc handler)
      : old_context_(xmlStructuredErrorContext), old_handler_(xmlStructuredError) {
    xmlSetStructuredErrorFunc(context, handler);
  }
  ~ErrorRoute() { xmlSetStructuredErrorFunc(old_context_, old_handler_); }
  ErrorRoute(const ErrorRoute&) = delete;
  ErrorRoute& operator=(const ErrorRoute&) = delete;

 private:
  void* old_context_;
  xmlStructuredErrorFunc old_handler_;
};

void DocumentParse::run() {
  const ErrorRoute route(this, error_reported);
  parse();
  if (failure_) {
    std::rethrow_exception(failure_);
  }
}

void DocumentParse::pass_over_document_type_line() {
  const auto first_bytes = reader_.window(3).substr(0, 3);
  const auto encoding = TextEncoding::of_first_bytes(first_bytes);
  byte_order_mark_ = first_bytes.substr(0, encoding.byte_order_mark());
  reader_.skip(byte_order_mark_.size());
  lines_passed_over_ = skip_document_type_line(reader_, encoding) ? 1 : 0;
}

void DocumentParse::parse() {
  auto sax = handlers();
  constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
  // Of a byte order mark and a declaration that contradict each other the library takes the latter.
  const bool is_marked =
      byte_order_mark_ == byte_order_mark || reader_.window(3).substr(0, 3) == byte_order_mark;
  parser_.reset(xmlCreateIOParserCtxt(&sax, this, read, nullptr, this, XML_CHAR_ENCODING_NONE));
  if (!parser_) {
    throw std::bad_alloc();
  }
  keep_names();
  xmlCtxtUseOptions(parser_.get(), XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_BIG_LINES |
                                       (is_marked ? XML_PARSE_IGNORE_ENC : 0));
  const bool is_well_formed = xmlParseDocument(parser_.get()) == 0;
  if (failure_) {
    return;
  }
  if (has_more_input()) {
    fail("characters after the end of the document");
  } else if (!is_well_formed) {
    fail("the document is not well-formed");
  }
}

/// The document shares the names with the parser, which keeps equal ones at equal addresses.
void DocumentParse::keep_names() {
  auto* const names = state_of(*parser_).names;
  xmlDictReference(names);
  names_.reset(names, xmlDictFree);
  builder_.keep_names(names_);
}

/// The library takes a NUL after the root element for the end, and forgets an incomplete character.
bool DocumentParse::has_more_input() {
  return state_of(*parser_).has_input || !reader_.window(1).empty();
}

xmlSAXHandler DocumentParse::handlers() {
  xmlSAXHandler sax{};
  sax.initialized = XML_SAX2_MAGIC;
  sax.startElementNs = start_element;
  sax.endElementNs = end_element;
  sax.entityDecl = entity_declared;
  sax.unparsedEntityDecl = unparsed_entity_declared;
  sax.attributeDecl = attribute_declared;
  sax.getEntity = entity_used;
  sax.getParameterEntity = entity_used;
  sax.comment = comment_read;
  sax.processingInstruction = instruction_read;
  sax.cdataBlock = section_read;
  sax.characters = text_read;
  sax.ignorableWhitespace = text_read;
  return sax;
}

/// Runs a step of the parse; what it throws becomes the parse's failure.
template <class Step>
void DocumentParse::guarded(Step step) noexcept {
  if (failure_) {
    return;
  }
  try {
    step();
  } catch (...) {
    failure_ = std::current_exception();
  }
}

int DocumentParse::read(void* context, char* buffer, int size) {
  std::size_t count = 0;
  self(context).guarded([&] {
    self(context).check_limits();
    count = self(context).next_bytes(buffer, static_cast<std::size_t>(size));
  });
  return self(context).failure_ ? 0 : static_cast<int>(count);
}

/// An element is judged while it is still being read: its beginning is reported too late. The
/// parser's arrays grow by doubling, so that they pass the bounds at some 20000 and 2000.
void DocumentParse::check_limits() {
  if (!parser_) {
    return;
  }
  const auto state = state_of(*parser_);
  if (state.attribute_room > 2 * entries_per_attribute * most_attributes) {
    fail(too_many_attributes);
  } else if (state.namespace_room > 4 * entries_per_namespace * most_namespaces) {
    fail(too_many_namespaces);
  } else if (piece_ > longest_piece) {
    fail(too_long_piece);
  } else if (document_type_ > longest_document_type) {
    fail(too_long_document_type);
  }
}

std::size_t DocumentParse::next_bytes(char* buffer, std::size_t size) {
  // All that was asked for, because the library judges the encoding by its first bytes at hand.
  const auto mark = std::string_view(byte_order_mark_).substr(0, size);
  const auto wanted = size - mark.size();
  const auto bytes = reader_.window(wanted).substr(0, wanted);
  std::copy(bytes.begin(), bytes.end(), std::copy(mark.begin(), mark.end(), buffer));
  reader_.skip(bytes.size());
  const auto count = mark.size() + bytes.size();
  byte_order_mark_.erase(0, mark.size());
  piece_ += count;
  document_type_ += parser_ && state_of(*parser_).in_document_type ? count : 0;
  return count;
}

void DocumentParse::start_element(void* context, const xmlChar* local, const xmlChar* prefix,
                                  const xmlChar* /*uri*/, int /*namespace_count*/,
                                  const xmlChar** /*namespaces*/, int attribute_count,
                                  int /*defaulted_count*/, const xmlChar** attributes) {
  auto& parse = self(context);
  parse.piece_ = 0;
  parse.guarded([&] {
    const auto state = state_of(*parse.parser_);
    if (attribute_count > most_attributes) {
      parse.fail(too_many_attributes);
    } else if (state.namespaces > entries_per_namespace * most_namespaces) {
      parse.fail(too_many_namespaces);
    } else if (state.depth > most_depth) {
      parse.fail(too_deep);
    } else if (!parse.builder_.keeps_next()) {
      parse.builder_.begin_element({}, {});
    } else {
      parse.begin_element(local, prefix, attributes, static_cast<std::size_t>(attribute_count),
                          parse.in_file(parse.places_.beginning(state.place)));
    }
    parse.places_.note(state.place);
  });
}

void DocumentParse::begin_element(const xmlChar* local, const xmlChar* prefix,
                                  const xmlChar** attributes, std::size_t count,
                                  DocumentPosition position) {
  attributes_.clear();
  values_.clear();
  for (std::size_t i = 0; i < count; ++i, attributes += entries_per_attribute) {
    // local name, prefix, name space, first of the value and what follows its last
    const std::string_view text(reinterpret_cast<const char*>(attributes[3]),
                                static_cast<std::size_t>(attributes[4] - attributes[3]));
    attributes_.push_back({name(attributes[1], attributes[0]), value(text)});
  }
  builder_.begin_element(name(prefix, local), attributes_, position);
}

std::string_view DocumentParse::name(const xmlChar* prefix, const xmlChar* local) {
  if (prefix == nullptr) {
    return text_of(local);
  }
  const auto* const qualified = xmlDictQLookup(names_.get(), prefix, local);
  if (qualified == nullptr) {
    throw std::bad_alloc();
  }
  return text_of(qualified);
}

/// Without expansion of entities the library writes every "&" of a value as "&#38;".
std::string_view DocumentParse::value(std::string_view text) {
  constexpr std::string_view escaped = "&#38;";
  auto found = text.find(escaped);
  if (found == std::string_view::npos) {
    return text;
  }
  auto& plain = values_.emplace_back();
  for (; found != std::string_view::npos; found = text.find(escaped)) {
    plain.append(text.substr(0, found + 1));
    text.remove_prefix(found + escaped.size());
  }
  return plain.append(text);
}

void DocumentParse::end_element(void* context, const xmlChar* /*local*/, const xmlChar* /*prefix*/,
                                const xmlChar* /*uri*/) {
  self(context).end_piece();
  self(context).guarded([context] { self(context).builder_.end_element(); });
}

void DocumentParse::entity_declared(void* context, const xmlChar* name, int /*type*/,
                                    const xmlChar* /*public_id*/, const xmlChar* /*system_id*/,
                                    xmlChar* /*content*/) {
  self(context).guarded([&] {
    self(context).fail("entity '" + std::string(text_of(name)) + "' may not be declared");
  });
}

void DocumentParse::unparsed_entity_declared(void* context, const xmlChar* name,
                                             const xmlChar* /*public_id*/,
                                             const xmlChar* /*system_id*/,
                                             const xmlChar* /*notation*/) {
  entity_declared(context, name, 0, nullptr, nullptr, nullptr);
}

void DocumentParse::attribute_declared(void* context, const xmlChar* /*element*/,
                                       const xmlChar* name, int /*type*/, int /*default_kind*/,
                                       const xmlChar* default_value, xmlEnumeration* values) {
  xmlFreeEnumeration(values);
  if (default_value != nullptr) {
    self(context).guarded([&] {
      self(context).fail("a default of attribute '" + std::string(text_of(name)) +
                         "' may not be declared");
    });
  }
}

/// Asked for every entity but the five predefined ones. Within a value it may be a part of a
/// password with an ampersand, and is not named.
xmlEntity* DocumentParse::entity_used(void* context, const xmlChar* name) {
  self(context).guarded([&] {
    const auto& parser = self(context).parser_;
    const bool in_value = parser && state_of(*parser).in_attribute_value;
    self(context).fail(in_value ? "an attribute's value uses an entity that is not declared"
                                : "entity '" + std::string(text_of(name)) + "' is not declared");
  });
  return nullptr;
}

void DocumentParse::comment_read(void* context, const xmlChar* /*text*/) {
  self(context).end_piece();
}

void DocumentParse::instruction_read(void* context, const xmlChar* /*target*/,
                                     const xmlChar* /*text*/) {
  self(context).end_piece();
}

void DocumentParse::section_read(void* context, const xmlChar* /*text*/, int /*length*/) {
  self(context).end_piece();
}

/// Texts come in parts, of which none ends a piece.
void DocumentParse::text_read(void* context, const xmlChar* text, int length) {
  auto& parse = self(context);
  parse.places_.note_text(state_of(*parse.parser_).place,
                          {reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)});
}

void DocumentParse::error_reported(void* context, xmlError* error) {
  if (error->level == XML_ERR_WARNING || error->level == XML_ERR_NONE) {
    return;
  }
  self(context).guarded([&] {
    if (error->code == XML_ERR_NO_MEMORY) {
      throw std::bad_alloc();
    }
    if (error->code == XML_ERR_ATTRIBUTE_WITHOUT_VALUE) {
      // What stands in its place may be the password behind a quote that ended a value too early.
      self(context).fail("an attribute has no value");
    }
    // These messages go on with an excerpt, in which a password may stand.
    switch (error->code) {
      case XML_ERR_HYPHEN_IN_COMMENT:
        self(context).fail("Double hyphen within comment");
        break;
      case XML_ERR_COMMENT_NOT_FINISHED:
        self(context).fail("Comment not terminated");
        break;
      case XML_ERR_CDATA_NOT_FINISHED:
        self(context).fail("CData section not finished");
        break;
      default:
        self(context).fail(
            without_bytes(one_line(error->message == nullptr ? "unknown error" : error->message)));
    }
  });
}

void DocumentParse::end_piece() {
  piece_ = 0;
  places_.note(state_of(*parser_).place);
}

DocumentPosition DocumentParse::in_file(DocumentPosition position) const {
  return {position.line + lines_passed_over_, position.column};
}

/// Throws; for use inside of guarded() and outside of the library's calls.
void DocumentParse::fail(const std::string& reason) {
  DocumentPosition position;
  if (const int line = xmlSAX2GetLineNumber(parser_.get()); line != 0) {
    position =
        in_file({static_cast<std::uint32_t>(line),
                 static_cast<std::uint32_t>(std::max(xmlSAX2GetColumnNumber(parser_.get()), 0))});
  }
  throw DocumentSyntaxError(position, reason);
}

}  // namespace

void parse_document(const std::string& path, KcdDocumentBuilder& builder, FirstLine first_line) {
  DocumentParse parse(path, builder);
  if (first_line == FirstLine::may_be_dropped) {
    parse.pass_over_document_type_line();
  }
  parse.run();
}

}  // namespace importkcd
