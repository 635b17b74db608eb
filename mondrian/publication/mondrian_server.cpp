#include "mondrian/publication/mondrian_server.h"

#include <set>
#include <utility>
#include <vector>

#include "base/import_error.h"
#include "mondrian/mapping/cube_mapping.h"
#include "mondrian/publication/data_source_connections.h"
#include "mondrian/publication/mondrian_store.h"

namespace importkcd {
namespace {

/// Sentences for a person, each told once.
class Messages {
 public:
  void add(const std::string& message) {
    if (told_.insert(message).second) {
      waiting_.push_back(message);
    }
  }
  std::vector<std::string> take() { return std::exchange(waiting_, {}); }

 private:
  std::set<std::string> told_;
  std::vector<std::string> waiting_;
};

class MondrianServer : public WorkingCopyServer {
 public:
  MondrianServer(const std::string& directory, ServerAccess access,
                 const std::shared_ptr<Messages>& messages)
      : WorkingCopyServer(make_mondrian_store(
            directory, access, [messages](const std::string& remark) { messages->add(remark); })),
        messages_(messages) {}

  bool structure_is_valid(OlapDatabase& database, const OlapCube& cube) override {
    std::vector<std::string> remarks;
    bool valid = WorkingCopyServer::structure_is_valid(database, cube);
    try {
      DataSourceConnections connections(database);
      RelationAliases aliases;
      map_cube(database, cube, connections, aliases, remarks);
    } catch (const ImportError& error) {
      remarks = {error.description()};
      valid = false;
    }
    for (const auto& remark : remarks) {
      messages_->add(remark);
    }
    return valid;
  }

  std::vector<std::string> take_messages() override { return messages_->take(); }

 private:
  std::shared_ptr<Messages> messages_;
};

}  // namespace

std::unique_ptr<WorkingCopyServer> make_mondrian_server(const std::string& directory,
                                                        ServerAccess access) {
  return std::make_unique<MondrianServer>(directory, access, std::make_shared<Messages>());
}

}  // namespace importkcd
