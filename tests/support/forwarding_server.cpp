#include "tests/support/forwarding_server.h"

#include <string_view>
#include <utility>

#include "base/import_error.h"

namespace importkcd::testing {
namespace {

std::string_view content_name(OlapCubeContent content) {
  switch (content) {
    case OlapCubeContent::dimensions:
      return "dimensions";
    case OlapCubeContent::measures:
      return "measures";
    case OlapCubeContent::calculated_members:
      return "calculated_members";
    case OlapCubeContent::roles:
      return "roles";
    case OlapCubeContent::data_sources:
      return "data_sources";
    case OlapCubeContent::partitions:
      return "partitions";
  }
  return {};
}

}  // namespace

class ForwardingServer::Announced {
 public:
  Announced(const Hook& before, const Hook& after, std::string operation)
      : after_(after), operation_(std::move(operation)) {
    call(before);
  }
  ~Announced() { call(after_); }
  Announced(const Announced&) = delete;
  Announced& operator=(const Announced&) = delete;

 private:
  void call(const Hook& hook) const {
    if (hook) {
      hook(operation_);
    }
  }

  const Hook& after_;
  std::string operation_;
};

ForwardingServer::ForwardingServer(std::unique_ptr<OlapServer> target, Hook before, Hook after)
    : target_(std::move(target)), before_(std::move(before)), after_(std::move(after)) {}

ForwardingServer::Announced ForwardingServer::announce(const std::string& operation,
                                                       const std::string& object) const {
  return {before_, after_, object.empty() ? operation : operation + " " + object};
}

void ForwardingServer::connect(const std::string& machine) {
  const auto announced = announce("connect", machine);
  target_->connect(machine);
}

OlapClassType ForwardingServer::class_type() const {
  const auto announced = announce("class_type");
  return target_->class_type();
}

std::string ForwardingServer::version() const {
  const auto announced = announce("version");
  return target_->version();
}

std::vector<StoredObject> ForwardingServer::stored_objects() {
  const auto announced = announce("stored_objects");
  return target_->stored_objects();
}

void ForwardingServer::hold_database(const std::string& name) {
  const auto announced = announce("hold_database", name);
  target_->hold_database(name);
}

OlapDatabase& ForwardingServer::open_database(const std::string& name) {
  const auto announced = announce("open_database", name);
  return target_->open_database(name);
}

OlapDatabase& ForwardingServer::add_database(const std::string& name) {
  const auto announced = announce("add_database", name);
  return target_->add_database(name);
}

void ForwardingServer::remove_database(const std::string& name) {
  const auto announced = announce("remove_database", name);
  target_->remove_database(name);
}

void ForwardingServer::write_back_database(OlapDatabase& database) {
  const auto announced = announce("write_back_database", database.name());
  target_->write_back_database(database);
}

void ForwardingServer::write_back_data_source(OlapDatabase& database, OlapDataSource& data_source) {
  const auto announced = announce("write_back_data_source", data_source.name);
  target_->write_back_data_source(database, data_source);
}

void ForwardingServer::write_back_dimension(OlapDatabase& database, OlapDimension& dimension) {
  const auto announced = announce("write_back_dimension", dimension.name);
  target_->write_back_dimension(database, dimension);
}

void ForwardingServer::write_back_cube(OlapDatabase& database, OlapCube& cube) {
  const auto announced = announce("write_back_cube", cube.name);
  target_->write_back_cube(database, cube);
}

void ForwardingServer::write_back_partition(OlapDatabase& database, OlapCube& cube,
                                            OlapPartition& partition) {
  const auto announced = announce("write_back_partition", partition.name);
  target_->write_back_partition(database, cube, partition);
}

void ForwardingServer::remove_object(OlapDatabase& database, OlapObjectKind kind,
                                     const std::string& name) {
  const auto announced = announce("remove_object", name);
  target_->remove_object(database, kind, name);
}

void ForwardingServer::lock_dimension(OlapDatabase& database, const OlapDimension& dimension) {
  const auto announced = announce("lock_dimension", dimension.name);
  target_->lock_dimension(database, dimension);
}

void ForwardingServer::lock_levels(OlapDatabase& database, const OlapDimension& dimension) {
  const auto announced = announce("lock_levels", dimension.name);
  target_->lock_levels(database, dimension);
}

void ForwardingServer::lock_cube(OlapDatabase& database, const OlapCube& cube) {
  const auto announced = announce("lock_cube", cube.name);
  target_->lock_cube(database, cube);
}

void ForwardingServer::remove_first(OlapDatabase& database, OlapCube& cube,
                                    OlapCubeContent content) {
  const auto announced =
      announce("remove_first", std::string(content_name(content)) + " " + cube.name);
  target_->remove_first(database, cube, content);
}

bool ForwardingServer::structure_is_valid(OlapDatabase& database, const OlapCube& cube) {
  const auto announced = announce("structure_is_valid", cube.name);
  return target_->structure_is_valid(database, cube);
}

std::vector<std::string> ForwardingServer::take_messages() { return target_->take_messages(); }

bool ForwardingServer::keeps_failed_runs() const { return target_->keeps_failed_runs(); }

bool ForwardingServer::keep_former_databases() { return target_->keep_former_databases(); }

void ForwardingServer::finish() {
  const auto announced = announce("finish");
  target_->finish();
}

ForwardingServer::Hook fail_operation(int n) {
  return [n, count = 0](const std::string& /*operation*/) mutable {
    if (++count == n) {
      throw ImportError("operation " + std::to_string(n) + " failed", error_source::olap_server);
    }
  };
}

ForwardingServer::Hook fail_operation(const std::string& operation) {
  return [operation](const std::string& actual) {
    if (actual == operation) {
      refuse(operation);
    }
  };
}

void refuse(std::string_view operation) {
  constexpr const char* text = "refused by the test";
  if (operation.starts_with("lock_")) {
    throw LockRefused(text, error_source::olap_server);
  }
  throw ImportError(text, error_source::olap_server);
}

ForwardingServer::Hook record_operations(std::vector<std::string>& record) {
  return [&record](const std::string& operation) { record.push_back(operation); };
}

}  // namespace importkcd::testing
