#pragma once

#include <string>

namespace importkcd {

/// The schema of cube definition documents, in XML Schema 1.0, made from the one description of
/// their format (kcd_format.h).
///
/// It accepts documents in which a check finds nothing, if they have the tags that are usual; what
/// a schema cannot say (names that have to be different, references, attributes that only some
/// levels need) is left to the check.
std::string kcd_schema();

}  // namespace importkcd
