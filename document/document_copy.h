#pragma once

#include <optional>
#include <string>

#include "base/files.h"
#include "base/import_error.h"
#include "base/removed_by_signals.h"
#include "base/text_encoding.h"

namespace importkcd {

/// The company pattern: every occurrence of `from` in the document's text becomes `to`.
struct CompanyPattern {
  std::string from;
  std::string to;
};

/// What became of the temporary copy of a document.
struct PreparedDocument {
  /// Path of the temporary copy; empty when none was made.
  std::string path;
  /// What went wrong, in full; empty when nothing did.
  std::string error;
  /// Whether the run may go on with the copy: a failed write ends the copying, not the run.
  bool usable = true;
  /// Whether the document's first line was left out, so that its lines have numbers one higher.
  bool lacks_first_line = false;
  /// Lives as long as a signal that ends the process takes the copy with it.
  RemovedBySignals guard{};
  /// What an error comes from: the document, or a disk.
  FailureCause cause = FailureCause::server;
};

/// Copies a document line by line into a fresh file of the temporary folder, which only its owner
/// can read. A first line that begins with "<!DOC" is dropped; the pattern, if any, is replaced
/// within each line. The copy keeps the document's encoding and byte order mark; its lines end with
/// a line feed. Never throws ImportError: failures are told in the result.
PreparedDocument PrepareDocument(const std::string& document,
                                 const std::optional<CompanyPattern>& pattern);

/// Moves a reader that stands behind a document's byte order mark past the first line, if that
/// begins with "<!DOC". Tells whether it did.
bool skip_document_type_line(FileReader& from, const TextEncoding& encoding);

/// Copies a document as PrepareDocument promises, and tells whether the first line was dropped.
/// Stops at the first failed write, which the writer keeps. Throws ImportError when the document
/// cannot be read, and when there is a pattern to be replaced in an encoding that hides characters
/// (see TextEncoding).
bool copy_document(FileReader& from, FileWriter& to, const std::optional<CompanyPattern>& pattern);

/// Deletes a temporary copy, unless it is read-only. Throws ImportError, whose description is the
/// system's own, when that fails.
void DeleteTempDocument(const std::string& path);

}  // namespace importkcd
