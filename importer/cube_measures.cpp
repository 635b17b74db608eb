#include "importer/cube_measures.h"

#include <exception>
#include <utility>

#include "document/attributes.h"
#include "model/vocabularies.h"

namespace importkcd {
namespace {

void build_measure(const KcdElement& element, OlapCube& cube) {
  OlapMeasure& measure = cube.measures.add_new(decoded_text(element, "name"));
  measure.description = decoded_text(element, "description");
  measure.format = raw_text(element, "format");
  measure.source_column = raw_text(element, "source_column");
  measure.internal = boolean(element.attribute("internal"), false);
  measure.aggregate_function = aggregate_function(raw_text(element, "aggregate_function"));
}

}  // namespace

void BuildMeasures(ImportRun& run, const KcdElement& cube_measures) {
  for (const KcdElement& element : children_of(cube_measures)) {
    try {
      build_measure(element, *run.current_cube);
    } catch (const std::exception&) {
      // A broken measure is not worth the cube: whoever uses the cube sees what is missing.
    }
  }
}

}  // namespace importkcd
