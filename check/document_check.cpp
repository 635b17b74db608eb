#include "check/document_check.h"

#include <string>
#include <string_view>
#include <utility>

#include "base/apostrophes.h"
#include "base/name_folding.h"
#include "base/quoting.h"
#include "check/cube_check.h"
#include "check/element_check.h"

// A check walks through the document in the order of an import and keeps what was defined so far,
// because references count from there on. What an import reads of an object that it then leaves
// out, such as a second one of a name, is checked as well, but cannot be an error: that is what
// Place::fails tells.

namespace importkcd {
namespace {

class DocumentCheck {
 public:
  explicit DocumentCheck(const CheckOptions& options)
      : options_(options), check_(options.is_label_file) {}

  std::vector<Finding> run(const KcdDocument& document);

 private:
  void check_root(const Place& root);
  void check_library(const Place& library);
  void check_shared_dimension(const Place& dimension);
  void check_virtual_dimensions(const Place& dimensions);
  void check_virtual_cube(const Place& cube);
  void check_measure_reference(const Place& measure);

  CheckOptions options_;
  ElementCheck check_;
  KnownObjects known_;
  NameTable virtual_dimensions_;
  NameTable virtual_cubes_;
};

std::vector<Finding> DocumentCheck::run(const KcdDocument& document) {
  const Place root{nullptr, format_of(ElementKind::database), document.root()};
  check_root(root);
  known_.keeps_measures = child_of_kind(root.element, ElementKind::virtual_cubes) != nullptr;
  with_child(root, ElementKind::library, [&](const Place& library) { check_library(library); });
  with_child(root, ElementKind::cubes, [&](const Place& cubes) {
    check_.check(cubes);
    for_each_child(cubes, [&](const Place& cube) { check_cube(check_, known_, cube); });
  });
  with_child(root, ElementKind::library, [&](const Place& library) {
    with_child(library, ElementKind::virtual_dimensions,
               [&](const Place& dimensions) { check_virtual_dimensions(dimensions); });
  });
  with_child(root, ElementKind::virtual_cubes, [&](const Place& cubes) {
    check_.check(cubes);
    for_each_child(cubes, [&](const Place& cube) { check_virtual_cube(cube); });
  });
  auto findings = check_.take_findings();
  sort_by_place(findings);
  return findings;
}

void DocumentCheck::check_root(const Place& root) {
  check_.check(root);
  check_.name_of(root);
  if (!options_.is_label_file) {
    return;
  }
  if (root.element.tag() != root.format.tag) {
    check_.report(
        root, rule::label_file,
        "the root of a label-reference file is 'database', not " + quoted(root.element.tag()));
  }
  if (root.element.attribute("guid").value_or("").empty()) {
    check_.report(root, rule::label_file,
                  "the root has no 'guid', by which the labels database knows the file");
  }
}

void DocumentCheck::check_library(const Place& library) {
  check_.check(library);
  with_child(library, ElementKind::data_sources, [&](const Place& data_sources) {
    check_.check(data_sources);
    for_each_child(data_sources, [&](Place data_source) {
      data_source.fails =
          check_.take_name(data_source, known_.data_sources, Repeated::is_ignored) ||
          check_.plain_name_of(data_source).empty();
      check_.check(data_source);
    });
  });
  with_child(library, ElementKind::shared_dimensions, [&](const Place& dimensions) {
    check_.check(dimensions);
    for_each_child(dimensions, [&](const Place& dimension) { check_shared_dimension(dimension); });
  });
  with_child(library, ElementKind::roles, [&](const Place& roles) {
    check_.check(roles);
    for_each_child(roles, [&](Place role) {
      role.fails = check_.take_name(role, known_.roles, Repeated::is_ignored) ||
                   check_.plain_name_of(role).empty();
      check_.check(role);
    });
  });
}

void DocumentCheck::check_shared_dimension(const Place& place) {
  auto dimension = place;
  const auto name = check_.name_of(dimension);
  const auto* known = known_.dimension(name);
  if (!name.empty() && known != nullptr) {
    check_.warn(dimension, rule::duplicate_name,
                quoted(name) + " is already defined in line " +
                    std::to_string(known->position.line) + "; this one is ignored");
    dimension.fails = false;
  }
  check_.check(dimension);
  check_.check_reference(dimension, "data_source", "data source", known_.data_sources);
  NameTable levels;
  with_child(dimension, ElementKind::levels,
             [&](const Place& collection) { levels = check_levels(check_, collection); });
  if (!name.empty()) {
    known_.dimensions.emplace(
        lower_cased(name), KnownDimension{name, dimension.element.position(), std::move(levels)});
  }
}

void DocumentCheck::check_virtual_dimensions(const Place& dimensions) {
  check_.check(dimensions);
  for_each_child(dimensions, [&](Place dimension) {
    const auto name = check_.plain_name_of(dimension);
    if (const auto* known = known_.dimension(name); known != nullptr && !name.empty()) {
      check_.warn(dimension, rule::duplicate_name,
                  quoted(name) + " is already defined in line " +
                      std::to_string(known->position.line) + "; this one is ignored");
      dimension.fails = false;
    } else {
      dimension.fails =
          check_.take_name(dimension, virtual_dimensions_, Repeated::is_ignored) || name.empty();
    }
    check_.check(dimension);
    with_child(dimension, ElementKind::virtual_levels, [&](const Place& levels) {
      NameTable names;
      check_.check(levels);
      for_each_child(levels, [&](const Place& level) {
        check_.check(level);
        check_.take_name(level, names, Repeated::fails);
      });
    });
  });
}

void DocumentCheck::check_virtual_cube(const Place& place) {
  auto cube = place;
  const auto cube_name = check_.plain_name_of(cube);
  if (const auto* taken = known_.cubes.find(cube_name)) {
    cube.fails = false;
    check_.warn(cube, rule::duplicate_name,
                "the name of the virtual cube is taken by the cube in line " +
                    std::to_string(taken->position.line));
  } else {
    cube.fails = check_.take_name(cube, virtual_cubes_, Repeated::is_ignored) || cube_name.empty();
  }
  check_.check(cube);
  with_child(cube, ElementKind::measure_references, [&](const Place& measures) {
    NameTable names;
    check_.check(measures);
    for_each_child(measures, [&](const Place& measure) {
      check_.check(measure);
      check_.take_name(measure, names, Repeated::fails);
      check_measure_reference(measure);
    });
  });
  with_child(cube, ElementKind::dimension_references, [&](const Place& dimensions) {
    NameTable names;
    check_.check(dimensions);
    for_each_child(dimensions, [&](const Place& dimension) {
      check_.check(dimension);
      check_.take_name(dimension, names, Repeated::fails);
      const auto name = check_.plain_name_of(dimension);
      if (!name.empty() && known_.dimension(name) == nullptr &&
          virtual_dimensions_.find(name) == nullptr) {
        check_.report(dimension, rule::unknown_reference,
                      "dimension " + quoted(name) + " is not in the document" +
                          known_.dimension_did_you_mean(name));
      }
    });
  });
  with_child(cube, ElementKind::cube_roles,
             [&](const Place& roles) { check_cube_roles(check_, known_, roles); });
}

/// The names of a path such as "[Sales].[Net Revenue]" or "Sales.Amount"; nothing when it is none.
std::vector<std::string> names_of_path(std::string_view text) {
  std::vector<std::string> names;
  while (!text.empty()) {
    std::string name;
    if (text.front() == '[') {
      auto quoted_name = take_quoted_text(text);
      if (!quoted_name) {
        return {};
      }
      name = std::move(*quoted_name);
    } else {
      name = text.substr(0, text.find('.'));
      text.remove_prefix(name.size());
    }
    names.push_back(std::move(name));
    if (!text.empty() && text.front() != '.') {
      return {};
    }
    text.remove_prefix(text.empty() ? 0 : 1);
  }
  return names;
}

void DocumentCheck::check_measure_reference(const Place& measure) {
  const auto source = measure.element.attribute("source_column");
  if (!source) {
    return;
  }
  const auto names = names_of_path(*source);
  if (names.size() < 2) {
    check_.warn(measure, rule::unknown_reference,
                quoted(*source) + " does not name a cube and its measure ([CUBE].[MEASURE])");
    return;
  }
  if (known_.cubes.find(names.front()) == nullptr) {
    check_.warn(measure, rule::unknown_reference,
                "cube " + quoted(names.front()) + " is not in the document" +
                    known_.cubes.did_you_mean(names.front()));
    return;
  }
  const auto& measures = known_.measures[lower_cased(names.front())];
  if (measures.find(names.back()) == nullptr) {
    check_.warn(measure, rule::unknown_reference,
                "cube " + quoted(names.front()) + " has no measure " + quoted(names.back()) +
                    measures.did_you_mean(names.back()));
  }
}

}  // namespace

std::vector<Finding> check_document(const KcdDocument& document, const CheckOptions& options) {
  return DocumentCheck(options).run(document);
}

}  // namespace importkcd
