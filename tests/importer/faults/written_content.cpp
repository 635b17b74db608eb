#include "tests/importer/faults/written_content.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "tests/support/database_text.h"

namespace importkcd::testing {
namespace {

std::unique_ptr<OlapDatabase> empty_database(const std::string& name) {
  return std::make_unique<OlapDatabase>(name, std::string(), DatabaseSources{});
}

template <class T>
void copy_all(DatabaseObjects<T>& from, DatabaseObjects<T>& to) {
  for (const auto& name : from.names()) {
    to.put(*from.find(name));
  }
}

std::unique_ptr<OlapDatabase> copy_of(OlapDatabase& database) {
  auto result = empty_database(database.name());
  result->description = database.description;
  copy_all(database.data_sources(), result->data_sources());
  copy_all(database.dimensions(), result->dimensions());
  copy_all(database.roles(), result->roles());
  copy_all(database.cubes(), result->cubes());
  return result;
}

/// The database itself and each of its objects, with all that is in them.
std::vector<std::string> sorted_objects(OlapDatabase& database) {
  std::istringstream text(database_text(database));
  std::vector<std::string> objects;
  std::string line;
  while (std::getline(text, line)) {
    if (line.rfind("    ", 0) == 0) {
      objects.back() += '\n' + line;
    } else {
      objects.push_back(line);
    }
  }
  std::sort(objects.begin(), objects.end());
  return objects;
}

}  // namespace

ServerContent content_of(OlapServer& server) {
  ServerContent result;
  for (const auto& object : server.stored_objects()) {
    result[object.name] = sorted_objects(server.open_database(object.name));
  }
  return result;
}

WrittenContent::WrittenContent(std::unique_ptr<OlapServer> target, std::string database,
                               OlapServer& before, ServerContent& result)
    : ForwardingServer(std::move(target)), name_(std::move(database)), result_(result) {
  result_ = content_of(before);
  if (result_.count(name_) != 0) {
    book_ = copy_of(before.open_database(name_));
  }
}

WrittenContent::~WrittenContent() = default;

OlapDatabase& WrittenContent::open_database(const std::string& name) {
  working_copy_ = &ForwardingServer::open_database(name);
  return *working_copy_;
}

OlapDatabase& WrittenContent::add_database(const std::string& name) {
  working_copy_ = &ForwardingServer::add_database(name);
  added_ = empty_database(name);
  return *working_copy_;
}

void WrittenContent::remove_database(const std::string& name) {
  ForwardingServer::remove_database(name);
  book_.reset();
  working_copy_ = nullptr;
}

void WrittenContent::write_back_database(OlapDatabase& database) {
  ForwardingServer::write_back_database(database);
  if (added_) {
    book_ = std::move(added_);
  }
  book_->description = database.description;
  database.cubes().for_each_changed([this](const OlapCube& cube) {
    if (cube.kind == OlapCubeKind::is_virtual) {
      book_->cubes().put(cube);
    }
  });
}

void WrittenContent::write_back_data_source(OlapDatabase& database, OlapDataSource& data_source) {
  ForwardingServer::write_back_data_source(database, data_source);
  book_->data_sources().put(data_source);
}

void WrittenContent::write_back_dimension(OlapDatabase& database, OlapDimension& dimension) {
  ForwardingServer::write_back_dimension(database, dimension);
  book_->dimensions().put(dimension);
}

void WrittenContent::write_back_cube(OlapDatabase& database, OlapCube& cube) {
  ForwardingServer::write_back_cube(database, cube);
  book_->cubes().put(cube);
}

void WrittenContent::write_back_partition(OlapDatabase& database, OlapCube& cube,
                                          OlapPartition& partition) {
  ForwardingServer::write_back_partition(database, cube, partition);
  book_->cubes().edit(cube.name)->partitions.put(partition);
}

void WrittenContent::finish() {
  auto stored = result_;
  stored.erase(name_);
  if (book_) {
    take_over_roles();
    drop_displaced_dimensions();
    stored[name_] = sorted_objects(*book_);
  }
  working_copy_ = nullptr;
  ForwardingServer::finish();
  result_ = std::move(stored);
}

/// Roles take effect without a write back.
void WrittenContent::take_over_roles() {
  if (working_copy_ == nullptr) {
    return;
  }
  working_copy_->roles().for_each_changed(
      [this](const OlapRole& role) { book_->roles().put(role); });
}

/// A cube's own dimensions are there as long as the cube has them.
void WrittenContent::drop_displaced_dimensions() {
  for (const auto& name : book_->dimensions().names()) {
    const auto& dimension = *book_->dimensions().find(name);
    if (dimension.kind == OlapDimensionKind::is_private) {
      const auto* owner = book_->cubes().find(dimension.owner_cube);
      if (owner == nullptr || !owner->dimensions.contains(name)) {
        book_->dimensions().remove(name);
      }
    }
  }
}

}  // namespace importkcd::testing
