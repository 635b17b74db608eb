#pragma once

#include <string>

namespace importkcd {

/// Turns the label-reference file that the window names into a cube definition document.
class KciConverter {
 public:
  virtual ~KciConverter() = default;

  /// The name of the document that was written; empty on any failure, which the converter has
  /// reported by itself.
  virtual std::string ConvertKciToKcd() = 0;
};

}  // namespace importkcd
