#pragma once

#include <string>

#include "labels/labels_access.h"
#include "labels/labels_view.h"

namespace importkcd {

/// Turns the KCI file that the view names into a KCD document in the chosen language.
class KciConversion {
 public:
  /// Both outlive this object.
  KciConversion(LabelsAccess& access, LabelsView& view) : access_(access), view_(view) {}

  /// The full name of the KCD file written; empty on any failure, which has been reported as a line
  /// of progress (but for a question about overwriting that was answered No). Throws nothing.
  std::string ConvertKciToKcd();

  /// Whether the file exists, is well-formed XML with the root `database`, and has a `guid` that
  /// the labels database knows. Without a connection it makes one from the fields. All but an
  /// unknown `guid` has been reported.
  bool CheckKciFile();

 private:
  std::string convert();
  bool check(const std::string& name);
  bool guid_is_registered(const std::string& guid) const;

  LabelsAccess& access_;
  LabelsView& view_;
};

}  // namespace importkcd
