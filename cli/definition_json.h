#pragma once

#include <nlohmann/json.hpp>

#include "model/definitions.h"

namespace importkcd {

/// The definitions of the OLAP model as JSON objects; catalogue_json.h tells how. A data source
/// that was not set is null.

nlohmann::ordered_json to_json(const OlapDataSource& source);
nlohmann::ordered_json to_json(const OlapDimension& dimension);
/// A role of a database.
nlohmann::ordered_json to_json(const OlapRole& role);
nlohmann::ordered_json to_json(const OlapCube& cube);

}  // namespace importkcd
