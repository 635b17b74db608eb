#pragma once

#include <string>
#include <utility>
#include <vector>

#include "xmla/dataset.h"

namespace importkcd::testing {

inline DatasetMember sample_member(
    const std::string& hierarchy, const std::string& caption,
    std::vector<std::pair<std::string, std::string>> properties = {}) {
  return {hierarchy, "[" + hierarchy + "].[" + caption + "]", caption, "[" + hierarchy + "].[L]",
          std::move(properties)};
}

/// An axis of one hierarchy with these members.
inline DatasetAxis sample_axis(const std::string& name, const std::string& hierarchy,
                               const std::vector<std::string>& captions) {
  DatasetAxis axis{name, {{hierarchy, {}}}, {}};
  for (const auto& caption : captions) {
    axis.tuples.push_back({sample_member(hierarchy, caption)});
  }
  return axis;
}

inline DatasetCell sample_cell(const std::string& value, const std::string& formatted) {
  return {value, "xsd:double", formatted};
}

}  // namespace importkcd::testing
