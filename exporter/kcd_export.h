#pragma once

#include <string>
#include <vector>

#include "model/olap_database.h"

namespace importkcd {

/// What a stored database looks like as a cube definition document.
struct ExportedDocument {
  /// The whole document, UTF-8.
  std::string text;
  /// The data sources whose connection strings were written without their passwords.
  std::vector<std::string> without_password;
};

/// Whether passwords of connection strings are written.
enum class Passwords { left_out, written };

/// Writes a stored database as a cube definition document: importing that into an empty server
/// gives equal content, as far as a document can say it. What it cannot say is left out without a
/// word here; whoever must know imports the document and compares.
///
/// Throws ImportError when the database cannot be read, or holds a text that cannot stand in XML.
ExportedDocument export_document(OlapDatabase& database, Passwords passwords);

}  // namespace importkcd
