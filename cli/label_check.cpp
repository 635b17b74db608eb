#include "cli/label_check.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "base/import_error.h"
#include "base/text.h"
#include "check/element_check.h"

namespace importkcd {
namespace {

constexpr std::string_view label_marker = "$##";

/// The check of one file's references.
class LabelCheck {
 public:
  explicit LabelCheck(LabelsOfLanguage labels) : labels_(std::move(labels)), check_(true) {}

  void check_element(const Place& place) {
    for (const auto& attribute : place.element.attributes()) {
      check_text(place, attribute);
    }
    for_each_child(place, [this](const Place& child) { check_element(child); });
  }

  std::vector<Finding> take_findings() { return check_.take_findings(); }

 private:
  void check_text(const Place& place, const KcdAttribute& attribute) {
    auto text = attribute.value;
    for (auto at = text.find(label_marker); at != std::string_view::npos;
         at = text.find(label_marker)) {
      text.remove_prefix(at + label_marker.size());
      const auto number =
          text.substr(0, std::min(text.find_first_not_of("0123456789 -+."), text.size()));
      if (text.substr(number.size(), 1) == "%") {
        check_number(place, attribute, number);
      } else {
        report_form(place, attribute, number);
      }
    }
  }

  void report_form(const Place& place, const KcdAttribute& attribute, std::string_view number) {
    check_.warn(place, rule::bad_label,
                "attribute '" + std::string(attribute.name) + "': '" + std::string(label_marker) +
                    std::string(trimmed(number)) + "' begins no label reference ($##ID%)");
  }

  void check_number(const Place& place, const KcdAttribute& attribute, std::string_view number) {
    std::optional<std::int16_t> id;
    try {
      id = label_id(number);
    } catch (const ImportError&) {
      check_.report(place, rule::bad_label,
                    "attribute '" + std::string(attribute.name) + "': label number " +
                        quoted(number) + " is out of range (-32768 to 32767)");
      return;
    }
    if (!id) {
      report_form(place, attribute, number);
    } else if (labels_.labels != nullptr && !has_text(*id)) {
      check_.warn(place, rule::missing_label,
                  "attribute '" + std::string(attribute.name) + "': label " + std::to_string(*id) +
                      " has no text in '" + labels_.language + "'");
    }
  }

  bool has_text(std::int16_t id) const {
    const auto& labels = *labels_.labels;
    return labels.in_range(id) &&
           labels.LabelTable.at(labels.index_of(id)).find_first_not_of(' ') != std::string::npos;
  }

  LabelsOfLanguage labels_;
  ElementCheck check_;
};

}  // namespace

std::vector<Finding> check_labels(const KcdDocument& document, const LabelsOfLanguage& labels) {
  LabelCheck check(labels);
  check.check_element({nullptr, format_of(ElementKind::database), document.root()});
  return check.take_findings();
}

}  // namespace importkcd
