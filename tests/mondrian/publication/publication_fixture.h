#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/import_error.h"
#include "mondrian/publication/mondrian_server.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// A directory of the engine, and runs that publish into it.
class PublicationTest : public ::testing::Test {
 protected:
  std::unique_ptr<WorkingCopyServer> open(ServerAccess access = ServerAccess::read_write) const {
    auto server = make_mondrian_server(directory(), access);
    server->connect("anything");
    return server;
  }

  std::string directory() const { return folder_.file("olap"); }
  std::filesystem::path path(const std::string& file) const {
    return std::filesystem::path(directory()) / file;
  }

  /// Writes back a database with a cube of one dimension and one measure; finish() is to follow.
  static void write_back(OlapServer& server, const std::string& database_name,
                         const std::string& address = "jdbc:postgresql:dw",
                         const std::string& cube_name = "Sales") {
    auto& database = server.add_database(database_name);
    server.write_back_database(database);
    server.write_back_data_source(database, database.data_sources().add({"DW", address, ""}));
    auto& dimension = database.dimensions().add_new("Payment");
    dimension.from_clause = R"("sales")";
    dimension.levels.add_new("Method").member_key_column = R"("sales"."method")";
    server.write_back_dimension(database, dimension);
    add_cube(server, database, cube_name, "DW");
  }

  static void add_cube(OlapServer& server, OlapDatabase& database, const std::string& name,
                       const std::string& data_source) {
    auto& cube = database.add_cube(name, OlapCubeKind::regular);
    cube.data_source = data_source;
    cube.fact_table = R"("sales")";
    cube.from_clause = R"("sales")";
    database.add_cube_dimension(cube, "Payment");
    cube.measures.add_new("Amount").source_column = R"("sales"."amount")";
    server.write_back_cube(database, cube);
  }

  /// One whole run.
  void publish(const std::string& database, const std::string& address = "jdbc:postgresql:dw",
               const std::string& cube = "Sales") const {
    const auto server = open();
    write_back(*server, database, address, cube);
    server->finish();
  }

  void remove(const std::string& database) const {
    const auto server = open();
    server->remove_database(database);
    server->finish();
  }

  RestoredDatabase restore(const std::string& database) const {
    return open(ServerAccess::read_write_existing)->store().restore(database);
  }

  std::vector<std::string> databases() const {
    std::vector<std::string> names;
    for (const auto& object : open(ServerAccess::read_only)->stored_objects()) {
      names.push_back(object.name);
    }
    return names;
  }

  /// The catalogues of datasources.xml, each with its line of the schema file's name.
  std::map<std::string, std::string> catalogues() const {
    std::map<std::string, std::string> result;
    const auto text = read_file(path("datasources.xml"));
    for (auto at = text.find("<Catalog name="); at != std::string::npos;
         at = text.find("<Catalog name=", at + 1)) {
      const auto name = text.substr(at + 15, text.find('"', at + 15) - at - 15);
      const auto file = text.find("/schemas/", at) + 9;
      result[name] = text.substr(file, text.find('<', file) - file);
    }
    return result;
  }

  /// The paths and bytes of what the engine reads, and of what was left beside it.
  std::map<std::string, std::string> served() const {
    std::map<std::string, std::string> result;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory())) {
      const auto name = entry.path().lexically_relative(directory()).string();
      if (entry.is_regular_file() && !name.starts_with("definitions") && !name.ends_with("-lock")) {
        result[name] = read_file(entry.path());
      }
    }
    return result;
  }

  std::vector<std::string> served_files() const {
    std::vector<std::string> names;
    for (const auto& [name, bytes] : served()) {
      names.push_back(name);
    }
    return names;
  }

  template <class Step>
  static std::string error_of(const Step& step) {
    try {
      step();
    } catch (const ImportError& error) {
      return error.description();
    }
    return "none";
  }

 private:
  TemporaryFolder folder_;
};

}  // namespace importkcd::testing
