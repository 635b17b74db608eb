#include "mondrian/publication/aggregates_file.h"

#include <string>
#include <system_error>

#include "base/files.h"
#include "base/import_error.h"
#include "mondrian/publication/files_beside.h"
#include "mondrian/publication/publication.h"

namespace importkcd {

namespace fs = std::filesystem;

AggregateRecords read_aggregates(const fs::path& directory) {
  const auto path = directory / published::aggregates;
  std::error_code ignored;
  if (!fs::exists(path, ignored)) {
    return {};
  }
  return parse_aggregates(text_of_file(path.string(), error_source::olap_server), path.string());
}

void record_aggregates(const fs::path& directory,
                       const std::function<void(AggregateRecords&)>& change) {
  const WaitingLock lock(publication_lock(directory), WaitingLock::Wait::yes);
  auto records = read_aggregates(directory);
  change(records);
  FilesBeside files;
  files.write(directory / published::aggregates, aggregates_text(records),
              FilesBeside::Readers::owner_only);
  files.secure();
  files.take_places();
}

}  // namespace importkcd
