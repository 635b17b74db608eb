#include "comparison/import_execution.h"

#include <string>
#include <string_view>
#include <utility>

#include "base/import_error.h"
#include "comparison/synchronisation.h"

namespace importkcd {
namespace {

/// Prepares servers for what is asked of them besides the import. Both arguments outlive the
/// result.
OlapServerFactory prepared(const OlapServerFactory& open_server, const ImportRequest& request) {
  return [&](std::string_view machine) {
    auto server = open_server(machine);
    if (request.keeps_former && !server->keep_former_databases()) {
      throw ImportError("'" + std::string(machine) + "' keeps no copies of databases",
                        error_source::olap_server);
    }
    server->wait_for_held_databases(request.longest_wait, [&](const std::string& name) {
      if (request.options.notifications != nullptr) {
        request.options.notifications->show_message(
            "Waiting for database '" + name + "', which is in use by another import, for at most " +
            std::to_string(request.longest_wait.count()) + " s");
      }
    });
    return server;
  };
}

}  // namespace

RequestOutcome carry_out(const ImportRequest& request, const ImportServers& servers) {
  auto open_server = prepared(servers.open_for_change, request);
  return request.synchronises ? synchronise(request, {std::move(open_server), servers.rehearse})
                              : run_importer(request, request.options, std::move(open_server));
}

}  // namespace importkcd
