#include "comparison/synchronisation.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "base/connection_text.h"
#include "base/import_error.h"
#include "comparison/plan.h"

namespace importkcd {
namespace {

[[noreturn]] void give_up(const std::string& reason) {
  throw ImportError(reason, error_source::olap_server);
}

/// What happens to an object, which is null when it was not there before.
ObjectAction made_or_set(const void* former) {
  return former == nullptr ? ObjectAction::creating : ObjectAction::updating;
}

OlapDatabase* find_database(OlapServer& server, const std::string& name) {
  for (const auto& object : server.stored_objects()) {
    if (object.class_type == OlapClassType::database && same_name(object.name, name)) {
      return &server.open_database(object.name);
    }
  }
  return nullptr;
}

/// Has every cube keep the partitions that are stored, as an import does that leaves them alone.
void take_stored_partitions(DatabaseDefinition& wanted, const DatabaseDefinition& stored) {
  for (std::size_t i = 0; i < wanted.cubes.size(); ++i) {
    const auto* former = stored.cubes.find(wanted.cubes[i].name);
    if (former != nullptr && former->kind == OlapCubeKind::regular &&
        wanted.cubes[i].kind == OlapCubeKind::regular) {
      wanted.cubes.edit_at(i).partitions = former->partitions;
    }
  }
}

/// Has the database keep its virtual dimensions and cubes, as an import does that leaves them
/// alone. What the document says about an object of such a name comes first.
void take_stored_virtual_objects(DatabaseDefinition& wanted, const DatabaseDefinition& stored) {
  for (const auto& dimension : stored.dimensions) {
    if (dimension.kind == OlapDimensionKind::is_virtual &&
        !wanted.dimensions.contains(dimension.name)) {
      wanted.dimensions.add(dimension);
    }
  }
  for (const auto& cube : stored.cubes) {
    if (cube.kind == OlapCubeKind::is_virtual && !wanted.cubes.contains(cube.name)) {
      wanted.cubes.add(cube);
    }
  }
}

/// Brings one database to what is wanted, object by object.
class Synchronisation {
 public:
  Synchronisation(const ImportRequest& request, OlapServer& server, OlapDatabase& database,
                  const DatabaseDefinition& stored, const DatabaseDefinition& wanted)
      : request_(request), server_(server), database_(database), stored_(stored), wanted_(wanted) {}

  /// Gives whether anything had to be written.
  bool carry_out(bool is_new) {
    if (is_new || stored_.description != wanted_.description) {
      database_.description = wanted_.description;
      server_.write_back_database(database_);
      report(is_new ? ObjectAction::creating : ObjectAction::updating, "database", wanted_.name);
    }
    check_kept_cubes();
    // Names come free before they are used again.
    if (request_.prunes) {
      remove_unknown("cube", OlapObjectKind::cube, stored_.cubes, wanted_.cubes);
      remove_unknown("role", OlapObjectKind::role, stored_.roles, wanted_.roles);
    }
    remove_dimensions();
    if (request_.prunes) {
      remove_unknown("data source", OlapObjectKind::data_source, stored_.data_sources,
                     wanted_.data_sources);
    }
    write_data_sources();
    write_dimensions();
    write_roles();
    write_cubes();
    return changed_;
  }

 private:
  void report(ObjectAction action, std::string_view kind, const std::string& name) {
    changed_ = true;
    const char* verb = action == ObjectAction::creating   ? "Creating"
                       : action == ObjectAction::updating ? "Updating"
                                                          : "Removing";
    request_.options.ReportObject(std::string(verb) + " " + std::string(kind) + " '" + name + "'",
                                  {action, kind, name});
  }

  /// A cube that is kept although the document does not have it must not lose its dimensions.
  void check_kept_cubes() const {
    if (request_.prunes) {
      return;
    }
    for (const auto& cube : stored_.cubes) {
      if (wanted_.cubes.contains(cube.name)) {
        continue;
      }
      for (const auto& place : cube.dimensions) {
        const auto* former = stored_.dimensions.find(place.name);
        const auto* wanted = wanted_.dimensions.find(place.name);
        if (former != nullptr && wanted != nullptr &&
            (former->kind != wanted->kind || !same_name(former->owner_cube, wanted->owner_cube))) {
          give_up("dimension '" + place.name + "' is needed by cube '" + cube.name +
                  "', which the document does not have");
        }
      }
    }
  }

  template <class Object>
  void remove_unknown(std::string_view kind, OlapObjectKind object_kind,
                      const NamedCollection<Object>& stored,
                      const NamedCollection<Object>& wanted) {
    for (const auto& object : stored) {
      if (!wanted.contains(object.name)) {
        server_.remove_object(database_, object_kind, object.name);
        report(ObjectAction::removing, kind, object.name);
      }
    }
  }

  /// Private dimensions come and go with their cubes, and nobody is told of them.
  void remove_dimensions() {
    for (const auto& dimension : stored_.dimensions) {
      if (wanted_.dimensions.contains(dimension.name)) {
        continue;
      }
      if (belongs_to_cube(stored_, dimension)) {
        if (request_.prunes || wanted_.cubes.contains(dimension.owner_cube)) {
          server_.remove_object(database_, OlapObjectKind::dimension, dimension.name);
        }
      } else if (request_.prunes) {
        server_.remove_object(database_, OlapObjectKind::dimension, dimension.name);
        report(ObjectAction::removing, "dimension", dimension.name);
      }
    }
  }

  /// Calls `write` with every object that is not stored as it is wanted.
  template <class Object, class Write>
  void write_kind(std::string_view kind, const NamedCollection<Object>& stored,
                  const NamedCollection<Object>& wanted, Write write) {
    for (const auto& object : wanted) {
      const auto* former = stored.find(object.name);
      if (former == nullptr || !compare(*former, object).empty()) {
        write(object);
        report(made_or_set(former), kind, object.name);
      }
    }
  }

  void write_data_sources() {
    write_kind("data source", stored_.data_sources, wanted_.data_sources,
               [&](const OlapDataSource& data_source) {
                 server_.write_back_data_source(database_,
                                                database_.data_sources().put(data_source));
               });
  }

  void write_dimensions() {
    NamedCollection<OlapDimension> own;
    for (const auto& dimension : wanted_.dimensions) {
      if (!belongs_to_cube(wanted_, dimension)) {
        own.add(dimension);
      }
    }
    write_kind("dimension", stored_.dimensions, own,
               [&](const OlapDimension& dimension) { write_dimension(dimension); });
  }

  void write_dimension(const OlapDimension& dimension) {
    server_.write_back_dimension(database_, database_.dimensions().put(dimension));
  }

  /// Roles take effect when they are set.
  void write_roles() {
    write_kind("role", stored_.roles, wanted_.roles,
               [&](const OlapRole& role) { database_.roles().put(role); });
  }

  void write_cubes() {
    for (const auto& cube : wanted_.cubes) {
      const auto* former = stored_.cubes.find(cube.name);
      if (former == nullptr || !compare_whole_cubes(stored_, *former, wanted_, cube).empty()) {
        write_cube(cube, former);
      }
    }
  }

  void write_cube(const OlapCube& cube, const OlapCube* former) {
    if (former != nullptr) {
      server_.lock_cube(database_, *former);
    }
    for (const auto* dimension : private_dimensions(wanted_, cube)) {
      write_dimension(*dimension);
    }
    auto& written = database_.cubes().put(cube);
    server_.write_back_cube(database_, written);
    report(made_or_set(former), "cube", cube.name);
    if (cube.kind == OlapCubeKind::regular && !server_.structure_is_valid(database_, written)) {
      give_up("the structure of cube '" + cube.name + "' is not valid");
    }
  }

  const ImportRequest& request_;
  OlapServer& server_;
  OlapDatabase& database_;
  const DatabaseDefinition& stored_;
  const DatabaseDefinition& wanted_;
  bool changed_ = false;
};

void tell(const ImportRequest& request, const std::vector<std::string>& messages) {
  if (request.options.notifications != nullptr && !messages.empty()) {
    request.options.notifications->show_messages(messages);
  }
}

void synchronise_database(const ImportRequest& request, OlapServer& server,
                          DatabaseDefinition wanted) {
  server.connect(request.options.machine_name);
  server.hold_database(wanted.name);
  auto* found = find_database(server, wanted.name);
  auto& database = found == nullptr ? server.add_database(wanted.name) : *found;
  const auto stored = definition_of(database);
  if (!request.options.import_partitions) {
    take_stored_partitions(wanted, stored);
  }
  if (!request.options.import_virtual_objects) {
    take_stored_virtual_objects(wanted, stored);
  }
  server.keep_former_databases();
  const bool changed =
      Synchronisation(request, server, database, stored, wanted).carry_out(found == nullptr);
  if (changed) {
    server.finish();
  } else {
    request.options.ReportProgress("Nothing to change in database '" + stored.name + "'");
  }
}

}  // namespace

RequestOutcome synchronise(const ImportRequest& request, const ImportServers& servers) {
  auto document = read_document(request, servers.rehearse);
  if (!document.database) {
    tell(request, document.remarks);
    return document.result;
  }
  std::unique_ptr<OlapServer> server;
  RequestOutcome result{true, {}, {}, document.database->name, false};
  try {
    server = servers.open_for_change(request.options.machine_name);
    synchronise_database(request, *server, std::move(*document.database));
    result.stored = true;
  } catch (const std::exception& error) {
    result.succeeded = false;
    result.error = "Cannot synchronise the database because of " + mask_passwords(error.what());
    result.cause = server ? cause_of(error) : FailureCause::server;
  }
  if (server) {
    tell(request, server->take_messages());
  }
  return result;
}

}  // namespace importkcd
