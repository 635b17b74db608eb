#include "tests/olap/olap_world.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

#include "tests/olap/sales_views.h"
#include "xmla/xmla_client.h"

namespace importkcd::testing {
namespace {

std::unique_ptr<OlapWorld> made_world;

class OlapEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { made_world = std::make_unique<OlapWorld>(); }
  void TearDown() override { made_world.reset(); }
};

[[maybe_unused]] const auto* const environment =
    ::testing::AddGlobalTestEnvironment(new OlapEnvironment);

}  // namespace

OlapWorld::OlapWorld() : engine_(KCD_PROGRAM, imported_example()) {}

std::string OlapWorld::imported_example() const {
  postgres_.run_sql("postgres", std::string("CREATE DATABASE ") + sales_warehouse);
  postgres_.run_sql(sales_warehouse, read_file(EXAMPLES_FOLDER "/sales-warehouse.sql"));
  postgres_.run_sql(sales_warehouse, sales_views);
  const auto result =
      import(EXAMPLES_FOLDER "/sales.kcd",
             {"--partitions", "--connect-string", postgres_.connection_string(sales_warehouse)});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_EQ(result.errors,
            "Virtual dimension 'Brand' is not published: no cube has it, and the engine knows "
            "dimensions by their cubes\n");
  return directory();
}

ProcessResult OlapWorld::import(const std::string& document,
                                std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), {"import", document, "--server", "mondrian:" + directory()});
  return run_process({KCD_PROGRAM, std::move(arguments), {{"LC_ALL", "C"}}, {}, {}});
}

const OlapWorld& world() { return *made_world; }

bool comes_true(const std::function<bool()>& condition) {
  constexpr int pause_milliseconds = 50;
  constexpr auto longest_wait = std::chrono::minutes(2);
  const auto end = std::chrono::steady_clock::now() + longest_wait;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    poll(nullptr, 0, pause_milliseconds);
  }
  return true;
}

void wait_for_database(const std::string& name) {
  const XmlaClient client(world().engine().address());
  EXPECT_TRUE(comes_true([&] {
    const auto names = client.databases();
    return std::find(names.begin(), names.end(), name) != names.end();
  })) << name;
}

}  // namespace importkcd::testing
