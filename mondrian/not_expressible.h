#pragma once

#include <string>

#include "base/import_error.h"

namespace importkcd {

/// A definition that an MDX engine cannot serve as its document means it. What it belongs to is
/// left out of the publication, and the description, which is a reason for people, is told. Any
/// other error, such as definitions that cannot be read just now, says nothing about them: it is
/// never taken for this one, and fails the publication.
class NotExpressible : public ImportError {
 public:
  explicit NotExpressible(const std::string& reason)
      : ImportError(reason, error_source::olap_server) {}
};

}  // namespace importkcd
