#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>

#include "document/tag_places.h"

namespace importkcd {

/// How many entries of the parser's arrays an attribute and a name space take.
constexpr int entries_per_attribute = 5;
constexpr int entries_per_namespace = 2;

/// What a parse has to know of the library's parser and cannot ask it.
struct ParserState {
  /// How many entries the arrays of an element's attributes and of the name spaces have room for.
  int attribute_room = 0;
  int namespace_room = 0;
  /// How many entries the name spaces in force take.
  int namespaces = 0;
  int depth = 0;
  bool in_document_type = false;
  bool in_attribute_value = false;
  /// Whether bytes that were handed over wait to be read or to be converted.
  bool has_input = false;
  /// What holds all names that the parser hands over, each once.
  xmlDict* names = nullptr;
  ReachedPlace place;
  /// Declared entities make the library begin a document, which it does not free after an error.
  xmlDoc* document = nullptr;
};

/// The one place that looks into the library's parser. It has no functions for most of this, so
/// that a newer release may keep these facts elsewhere or count them in another way: read its
/// parser.c and run the tests of hostile documents before the bound is raised.
ParserState state_of(const xmlParserCtxt& parser);

}  // namespace importkcd
