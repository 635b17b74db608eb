#pragma once

#include <optional>
#include <string>
#include <string_view>

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

/// The name of the document that a KCI file becomes: in lower case, with every ".kci" replaced by
/// ".kcd", in the folder as well.
std::string kcd_name_of(std::string_view kci_name);

/// The same as a path on a file system where letter case counts: the folder is the one that exists
/// under kcd_name_of's name without regard to case, preferably as it was typed; parts that do not
/// exist stay in lower case.
std::string kcd_path_of(std::string_view kci_name);

/// A value that may be null as text: `strDefault` when it is null.
inline std::string ToString(std::optional<std::string_view> varInput, std::string_view strDefault) {
  return std::string(varInput.value_or(strDefault));
}

}  // namespace importkcd
