#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "check/findings.h"
#include "check/kcd_format.h"

namespace importkcd {

/// An element on the way of a check, with those that it lies in.
struct Place {
  const Place* outer = nullptr;
  const ElementFormat& format;
  const KcdElement& element;
  /// Counts the element and its siblings in front of it.
  std::size_t number = 1;
  /// Whether a fault in this element fails an import; else the import passes over it.
  bool fails = true;
};

/// Calls `step` with the place of each child of an element that is read, in document order.
template <class Step>
void for_each_child(const Place& place, Step step) {
  std::size_t number = 0;
  for (const KcdElement& child : children_of(place.element)) {
    ++number;
    if (const auto* format = format_of_child(place.format, child)) {
      step(Place{&place, *format, child, number, place.fails});
    }
  }
}

/// Calls `step` with the place of the one child that is read under a kind, if it is there.
template <class Step>
void with_child(const Place& place, ElementKind kind, Step step) {
  if (const auto* child = child_of_kind(place.element, kind)) {
    step(Place{&place, format_of(kind), *child, 1, place.fails});
  }
}

/// A name of the document, and where it was given first.
struct KnownName {
  std::string name;
  DocumentPosition position;
};

/// The names of objects of one kind, compared as the model compares them.
class NameTable {
 public:
  const KnownName* find(std::string_view name) const;
  /// `name` is not known yet.
  void add(std::string_view name, DocumentPosition position);
  void add_all(const NameTable& others) {
    names_.insert(others.names_.begin(), others.names_.end());
  }
  std::size_t size() const { return names_.size(); }
  /// " (did you mean 'NAME'?)", or nothing.
  std::string did_you_mean(std::string_view name) const;

 private:
  std::unordered_map<std::string, KnownName> names_;
};

/// What an import does with a second object of a name.
enum class Repeated {
  fails,
  is_ignored,
  is_set_again,
};

/// Collects the findings of one document, and knows what holds for elements of every kind.
class ElementCheck {
 public:
  /// In a label-reference file label references may stand for numbers and words.
  explicit ElementCheck(bool has_labels) : has_labels_(has_labels) {}

  /// A finding about a place; an error where a fault of the place fails an import.
  void report(const Place& place, std::string_view rule, std::string message);
  /// The same when it is no error anywhere.
  void warn(const Place& place, std::string_view rule, std::string message);

  /// Checks the attributes and the tags of the children that an element of its format has.
  void check(const Place& place);

  /// The element's decoded name; empty when it has none that could be a name. An empty one is
  /// reported.
  std::string name_of(const Place& place);
  /// The same without a report.
  static std::string plain_name_of(const Place& place);

  /// Adds the name of an element to those of its kind. Tells whether it is the first of its name;
  /// reports a repeated one.
  bool take_name(const Place& place, NameTable& names, Repeated repeated);

  /// Reports that an attribute's text, decoded, is not among these names, which are those of
  /// objects that a person calls `noun`. An absent attribute is not reported here.
  void check_reference(const Place& place, std::string_view attribute, std::string_view noun,
                       const NameTable& names);

  std::vector<Finding> take_findings() { return std::move(findings_); }

 private:
  void add(const Place& place, Severity severity, std::string_view rule, std::string message);
  void check_attributes(const Place& place);
  void check_value(const Place& place, const AttributeFormat& format, std::string_view value);
  void check_number(const Place& place, const AttributeFormat& format, std::string_view value);
  void check_word(const Place& place, const AttributeFormat& format, std::string_view value);
  void check_children(const Place& place);
  void check_unknown_child(const Place& place, const KcdElement& child, std::size_t number,
                           std::vector<std::string_view>& missing);

  bool has_labels_;
  std::vector<Finding> findings_;
};

/// A text in quotes, cut off when it is long.
std::string quoted(std::string_view text);

}  // namespace importkcd
