#pragma once

#include <nlohmann/json.hpp>

#include "xmla/dataset.h"

namespace importkcd {

/// The answer to an MDX question for programs: `{"cube": ..., "axes": [{"name": ..., "hierarchies":
/// [...], "tuples": [[member, ...], ...]}, ...], "slicer": [member, ...], "cells": [{"ordinal":
/// ..., "value": ..., "formatted": ...}, ...]}`. A member has "hierarchy", "unique_name",
/// "caption", "level" and "properties". Ordinals count along the columns first; empty cells are
/// left out. Values are numbers where the server says so, and texts otherwise.
nlohmann::ordered_json to_json(const Dataset& dataset);

}  // namespace importkcd
