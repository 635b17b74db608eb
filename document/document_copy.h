#pragma once

#include <optional>

#include "base/document_files.h"
#include "document/document_preparation.h"

namespace importkcd {

/// Copies a document as PrepareDocument promises, in bounded memory however long its lines are.
/// Stops at the first failed write, which the writer keeps. Throws ImportError when the document
/// cannot be read.
void copy_document(FileReader& from, FileWriter& to, const std::optional<CompanyPattern>& pattern);

}  // namespace importkcd
