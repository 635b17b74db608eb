#include "document/parser_state.h"

#include <cstddef>
#include <cstdint>

namespace importkcd {

ParserState state_of(const xmlParserCtxt& parser) {
  static_assert(LIBXML_VERSION >= 20910 && LIBXML_VERSION < 21000,
                "parser_state.cpp knows the parser of libxml2 2.9.10 to 2.9.14");
  ParserState state;
  state.attribute_room = parser.maxatts;
  state.namespace_room = parser.nsMax;
  state.namespaces = parser.nsNr;
  state.depth = parser.nameNr;
  state.in_document_type = parser.inSubset != 0;
  state.in_attribute_value = parser.instate == XML_PARSER_ATTRIBUTE_VALUE;
  const auto* const input = parser.input;
  state.has_input =
      input == nullptr || input->cur < input->end ||
      (input->buf != nullptr && input->buf->raw != nullptr && xmlBufUse(input->buf->raw) != 0);
  if (input != nullptr) {
    const auto* const begin = reinterpret_cast<const char*>(input->base);
    auto& place = state.place;
    place.behind = {begin, static_cast<std::size_t>(input->cur - input->base)};
    place.passed = input->consumed + place.behind.size();
    place.counted = {static_cast<std::uint32_t>(input->line),
                     static_cast<std::uint32_t>(input->col)};
  }
  state.names = parser.dict;
  state.document = parser.myDoc;
  return state;
}

}  // namespace importkcd
