#include "frontend/status_file.h"

#include "frontend/line_file.h"

namespace importkcd {

void WriteStatusFile(const std::string& file_name, std::string_view text) {
  if (file_name.empty()) {
    return;
  }
  LineFile file(file_name, LineFileMode::truncate);
  file.write_line(text);
  file.close();
}

}  // namespace importkcd
