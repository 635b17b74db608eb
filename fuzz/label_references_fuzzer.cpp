// Any bytes as a text with label references, in every encoding that a file's first bytes choose.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "engine/olap_model/import_error.h"
#include "engine/text_encoding.h"
#include "labels/label_references.h"
#include "labels/loaded_labels.h"

namespace {

using importkcd::ImportError;
using importkcd::LoadedLabels;
using importkcd::no_reference_resolved;
using importkcd::SubstituteLabelReferences;
using importkcd::TextEncoding;

LoadedLabels some_labels() {
  LoadedLabels labels;
  labels.MinLabelID = -2;
  labels.MaxLabelID = 3;
  labels.loaded = true;
  labels.LabelTable = {"Year", "", "   ", "Men@#$%s Wear", "&#38;&#60;", "Größe \xE2\x82\xAC"};
  return labels;
}

void require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

void check(std::string_view text, const LoadedLabels& labels, const TextEncoding& encoding) {
  try {
    const auto result = SubstituteLabelReferences(text, labels, encoding);
    // What stands in front of the first marker stays as it is.
    if (result != no_reference_resolved && encoding.unit() == 1) {
      const auto before = text.substr(0, text.find("$##"));
      require(result.compare(0, before.size(), before) == 0);
    }
  } catch (const ImportError&) {
    // An ID that does not fit in 16 bits.
  }
}

void check_without_labels(std::string_view text) {
  try {
    require(SubstituteLabelReferences(text, LoadedLabels{}) == no_reference_resolved);
  } catch (const ImportError&) {
    // The same.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto labels = some_labels();
  const std::string text(data, data + size);
  const std::string_view view = text;
  auto encoding = TextEncoding::of_first_bytes(view.substr(0, 3));
  encoding.take_declaration(view.substr(0, 1024));
  check(view, labels, encoding);
  check_without_labels(view);
  return 0;
}
