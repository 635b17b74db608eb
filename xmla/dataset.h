#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/xml_element.h"

namespace importkcd {

/// A member at a place of an axis.
struct DatasetMember {
  std::string hierarchy;
  std::string unique_name;
  std::string caption;
  std::string level;
  /// The member properties that the question asked for, as they came.
  std::vector<std::pair<std::string, std::string>> properties;
};

/// One member of each hierarchy of the axis.
using DatasetTuple = std::vector<DatasetMember>;

struct DatasetHierarchy {
  std::string name;
  /// The names of the member properties that its members may have.
  std::vector<std::string> properties;
};

struct DatasetAxis {
  /// "Axis0" holds the columns, "Axis1" the rows.
  std::string name;
  std::vector<DatasetHierarchy> hierarchies;
  std::vector<DatasetTuple> tuples;
};

struct DatasetCell {
  /// Empty, too, for a cell without a value and for one that could not be computed.
  std::string value;
  /// The value's type as the server calls it, such as "xsd:double"; may be empty.
  std::string type;
  /// The value as people read it; the value itself when the server sent no other text.
  std::string formatted;
  /// Whether there is a value: servers leave empty cells out, but some send the first one.
  bool has_value = true;
  /// Why the server could not compute the cell; empty when it could.
  std::string error = {};
};

/// The answer to an MDX question.
struct Dataset {
  std::string cube;
  std::vector<DatasetAxis> axes;
  /// The members that the question was restricted to.
  DatasetTuple slicer;
  /// By ordinal: the place of a cell, counted along the columns first, then the rows, and so on.
  /// Empty cells are not there.
  std::map<std::uint64_t, DatasetCell> cells;
};

/// The data set of an answer to an Execute request, whose envelope is `envelope`. Throws
/// ImportError when the answer carries none, or one that contradicts itself: an axis tuple with
/// members of other hierarchies than its axis, a cell that lies outside.
Dataset read_dataset(const XmlElement& envelope);

}  // namespace importkcd
