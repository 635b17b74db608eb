#pragma once

#include <vector>

#include "check/findings.h"
#include "document/kcd_document.h"

namespace importkcd {

struct CheckOptions {
  /// The document is a label-reference file (.kci): it has to have what its conversion asks for,
  /// and references may stand for numbers and words.
  bool is_label_file = false;
};

/// All that is wrong in a document, in the order of the places.
///
/// Errors are what an import into an empty server fails with, partitions included, in the mode that
/// `kcd import` has unless it is told another (incremental); a document without errors is imported.
/// Everything else is a warning: what an import passes over or reads as something else. All objects
/// are looked at, also those behind the first error.
std::vector<Finding> check_document(const KcdDocument& document, const CheckOptions& options = {});

}  // namespace importkcd
