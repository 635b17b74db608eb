#pragma once

#include <string>
#include <vector>

#include "check/findings.h"
#include "document/kcd_document.h"
#include "labels/loaded_labels.h"

namespace importkcd {

/// What the references of a label-reference file are compared with.
struct LabelsOfLanguage {
  /// Null when only the form of references is to be looked at.
  const LoadedLabels* labels = nullptr;
  std::string language;
};

/// What is wrong with the label references in the attributes of a label-reference file: a marker
/// that begins no reference, a number that is no label's, a label without a text.
std::vector<Finding> check_labels(const KcdDocument& document, const LabelsOfLanguage& labels);

}  // namespace importkcd
