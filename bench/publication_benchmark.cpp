#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>

#include "mondrian/publication/mondrian_server.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

constexpr int dimensions = 10;
constexpr int dimensions_per_cube = 5;
constexpr int measures_per_cube = 5;

/// A directory of the engine that goes away with this object.
class Directory {
 public:
  Directory() : path_(fs::temp_directory_path() / "importkcd-publication-bench") { clear(); }
  ~Directory() { clear(); }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  void clear() const { fs::remove_all(path_); }

  std::unique_ptr<OlapServer> server() const {
    auto server = make_mondrian_server(path_.string(), ServerAccess::read_write);
    server->connect("");
    return server;
  }

 private:
  fs::path path_;
};

std::string column(const std::string& table, const std::string& name) {
  return "\"" + table + "\".\"" + name + "\"";
}

void add_dimension(OlapServer& server, OlapDatabase& database, int number) {
  const auto table = "table" + std::to_string(number);
  auto& dimension = database.dimensions().add_new("Dimension " + std::to_string(number));
  dimension.data_source = "DW";
  dimension.from_clause = "\"" + table + "\"";
  for (const std::string level : {"group", "member"}) {
    dimension.levels.add_new(level + std::to_string(number)).member_key_column =
        column(table, level);
  }
  server.write_back_dimension(database, dimension);
}

void add_cube(OlapServer& server, OlapDatabase& database, int number) {
  auto& cube = database.add_cube("Cube " + std::to_string(number), OlapCubeKind::regular);
  const auto facts = "facts" + std::to_string(number);
  cube.data_source = "DW";
  cube.fact_table = "\"" + facts + "\"";
  cube.from_clause = cube.fact_table;
  for (int i = 0; i < dimensions_per_cube; ++i) {
    const auto position = (number + i) % dimensions;
    const auto table = "table" + std::to_string(position);
    cube.from_clause += ", \"" + table + "\"";
    cube.join_clause += (i == 0 ? "(" : " AND (") + column(facts, table + "_id") + " = " +
                        column(table, "id") + ")";
    database.add_cube_dimension(cube, "Dimension " + std::to_string(position));
  }
  for (int i = 0; i < measures_per_cube; ++i) {
    cube.measures.add_new("Measure " + std::to_string(i)).source_column =
        column(facts, "amount" + std::to_string(i));
  }
  server.write_back_cube(database, cube);
}

void write_back(OlapServer& server, int cubes) {
  auto& database = server.add_database("Retail");
  server.write_back_database(database);
  server.write_back_data_source(database,
                                database.data_sources().add({"DW", "jdbc:postgresql:dw", ""}));
  for (int i = 0; i < dimensions; ++i) {
    add_dimension(server, database, i);
  }
  for (int i = 0; i < cubes; ++i) {
    add_cube(server, database, i);
  }
}

/// Stores and publishes a new database.
void publish(benchmark::State& state) {
  const Directory directory;
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    directory.clear();
    const auto server = directory.server();
    write_back(*server, static_cast<int>(state.range(0)));
    state.ResumeTiming();
    server->finish();
  }
  state.SetComplexityN(state.range(0));
}

/// Publishes a database again after one of its cubes has changed.
void publish_one_change(benchmark::State& state) {
  const Directory directory;
  {
    const auto server = directory.server();
    write_back(*server, static_cast<int>(state.range(0)));
    server->finish();
  }
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    const auto server = directory.server();
    auto& database = server->open_database("Retail");
    auto& cube = *database.cubes().edit("Cube 0");
    cube.description += "!";
    server->write_back_cube(database, cube);
    state.ResumeTiming();
    server->finish();
  }
  state.SetComplexityN(state.range(0));
}

BENCHMARK(publish)->Arg(100)->Arg(300)->Arg(1000)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(publish_one_change)
    ->Arg(100)
    ->Arg(300)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

}  // namespace
}  // namespace importkcd
