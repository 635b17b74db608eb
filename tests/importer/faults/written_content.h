#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/forwarding_server.h"

namespace importkcd::testing {

/// Database name -> its description and objects as text, sorted.
using ServerContent = std::map<std::string, std::vector<std::string>>;

/// All that a connected server holds.
ServerContent content_of(OlapServer& server);

/// Forwards a run into one database to another server, and keeps a book of its own of what the
/// write backs that came through make of that database.
class WrittenContent : public ForwardingServer {
 public:
  /// `database` names the run's database. `before` is a connected server that shows what the
  /// target's run starts from; `result` is set to it, and in finish() to what is stored then.
  WrittenContent(std::unique_ptr<OlapServer> target, std::string database, OlapServer& before,
                 ServerContent& result);
  ~WrittenContent() override;

  OlapDatabase& open_database(const std::string& name) override;
  OlapDatabase& add_database(const std::string& name) override;
  void remove_database(const std::string& name) override;
  void write_back_database(OlapDatabase& database) override;
  void write_back_data_source(OlapDatabase& database, OlapDataSource& data_source) override;
  void write_back_dimension(OlapDatabase& database, OlapDimension& dimension) override;
  void write_back_cube(OlapDatabase& database, OlapCube& cube) override;
  void write_back_partition(OlapDatabase& database, OlapCube& cube,
                            OlapPartition& partition) override;
  void finish() override;

 private:
  void take_over_roles();
  void drop_displaced_dimensions();

  std::string name_;
  ServerContent& result_;
  /// What the server is to hold; null when it is not to hold the database.
  std::unique_ptr<OlapDatabase> book_;
  /// The database that was added, until it is written back.
  std::unique_ptr<OlapDatabase> added_;
  /// The run's working copy.
  OlapDatabase* working_copy_ = nullptr;
};

}  // namespace importkcd::testing
