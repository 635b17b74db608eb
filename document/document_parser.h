#pragma once

#include <string>

#include "document/kcd_document_builder.h"

namespace importkcd {

/// Parses a file into the builder's document. Throws ImportError ("line 3, column 14: reason", or
/// the system's description when the file cannot be read) unless the whole file is one well-formed
/// document, names in their declared name spaces included. Nothing outside the file is read.
///
/// Refused although well-formed, because they cost far more than their size: declarations of
/// entities and of attributes' default values, more than 10000 attributes of one element, more than
/// 1000 name space declarations in force at one place, elements more than 1000000 deep, a document
/// type of more than 65536 bytes, and more than 100000000 bytes in a tag, a text or a comment. The
/// last two are judged in steps of some thousand bytes.
void parse_document(const std::string& path, KcdDocumentBuilder& builder);

}  // namespace importkcd
