#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "base/import_error.h"
#include "frontend/window/main_window.h"

namespace importkcd {

/// For a window that only shows lines: no server answers, and it is no day at all.
inline WindowServices no_services() {
  WindowServices services;
  services.open_server = [](std::string_view) -> std::unique_ptr<OlapServer> {
    throw ImportError("no server", error_source::olap_server);
  };
  services.open_labels = [](const LabelsLogin&) -> std::unique_ptr<LabelsConnection> {
    throw ImportError("no server", error_source::olap_server);
  };
  services.time_stamp = [] { return std::string(); };
  services.today = [] { return std::chrono::year_month_day{}; };
  return services;
}

}  // namespace importkcd
