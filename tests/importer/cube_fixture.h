#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/import_error.h"
#include "tests/support/forwarding_server.h"
#include "tests/support/import_fixture.h"

namespace importkcd::testing {

/// "description in source" of the ImportError that `step` ends in; empty when it ends in none.
template <class Step>
std::string error_of(Step step) {
  try {
    step();
    return {};
  } catch (const ImportError& error) {
    return error.description() + " in " + error.source();
  }
}

/// The names of the objects of a collection, in order.
template <class T>
std::vector<std::string> names_of(const NamedCollection<T>& collection) {
  std::vector<std::string> names;
  for (const auto& item : collection) {
    names.push_back(item.name);
  }
  return names;
}

/// `xml` without the first attribute of that name.
inline std::string without_attribute(std::string xml, const std::string& attribute) {
  const auto start = xml.find(" " + attribute + "=\"");
  if (start == std::string::npos) {
    ADD_FAILURE() << "no attribute " << attribute << " in " << xml;
    return xml;
  }
  const auto end = xml.find('"', start + attribute.size() + 3);
  return xml.erase(start, end + 1 - start);
}

/// `xml` with another value of the first attribute of that name.
inline std::string with_attribute(const std::string& xml, const std::string& attribute,
                                  const std::string& value) {
  const auto start = xml.find(" " + attribute + "=\"");
  auto result = without_attribute(xml, attribute);
  return start == std::string::npos ? result
                                    : result.insert(start, " " + attribute + "=\"" + value + "\"");
}

/// A forwarding server whose version text can be chosen.
class VersionedServer : public ForwardingServer {
 public:
  VersionedServer(std::unique_ptr<OlapServer> target, Hook before, const std::string& version)
      : ForwardingServer(std::move(target), std::move(before)), version_(version) {}

  std::string version() const override { return version_; }

 private:
  const std::string& version_;
};

/// Runs a section of a cube on the stored database "Test", which has the data sources "Sales DW"
/// and "Other DW" and the shared dimensions "Time" ("(All)", "Year", "Month") and "Product"
/// ("Category", "Item"). Messages and server operations are recorded in one sequence.
class CubeTest : public SectionTest {
 protected:
  CubeTest() { options.progres_window = &timeline_sink_; }

  void SetUp() override {
    use_server(std::make_unique<VersionedServer>(
        make_memory_server(store), [this](const std::string& operation) { before(operation); },
        version));
    for (const auto* name : {"Sales DW", "Other DW"}) {
      OlapDataSource data_source;
      data_source.name = name;
      server().write_back_data_source(database(), database().data_sources().add(data_source));
    }
    add_dimension("Time", {"(All)", "Year", "Month"});
    add_dimension("Product", {"Category", "Item"});
    store_and_reopen();
    run();
    timeline.clear();
  }

  /// Adds a shared dimension; each level has its name in brackets as member key column.
  void add_dimension(const std::string& name, const std::vector<std::string>& levels) {
    OlapDimension dimension;
    dimension.name = name;
    for (const auto& level_name : levels) {
      OlapLevel level;
      level.name = level_name;
      level.member_key_column = "[" + level_name + "]";
      dimension.levels.add(std::move(level));
    }
    server().write_back_dimension(database(), database().dimensions().add(std::move(dimension)));
  }

  /// Adds a written-back cube and makes it the current one.
  OlapCube& add_current_cube(const std::string& name = "Sales") {
    run().current_cube = &database().add_cube(name, OlapCubeKind::regular);
    server().write_back_cube(database(), *run().current_cube);
    timeline.clear();
    return *run().current_cube;
  }

  /// What the server holds of a cube after the run; the run is over then.
  const OlapCube& stored_cube(const std::string& name) {
    store_and_reopen();
    const auto* cube = database().cubes().find(name);
    EXPECT_NE(cube, nullptr) << name;
    static const OlapCube none;
    return cube == nullptr ? none : *cube;
  }

  /// The server's version text; may be changed at any time.
  std::string version = "8.0";
  /// An operation of this text is refused with "refused by the test".
  std::string refused_operation;
  /// Messages and operations in the order in which they came.
  std::vector<std::string> timeline;

 private:
  class TimelineSink : public ProgressSink {
   public:
    explicit TimelineSink(CubeTest& test) : test_(test) {}
    void put_progres_message(const std::string& message) override {
      test_.timeline.push_back(message);
      test_.sink.put_progres_message(message);
    }

   private:
    CubeTest& test_;
  };

  void before(const std::string& operation) {
    timeline.push_back(operation);
    if (operation == refused_operation) {
      refuse(operation);
    }
  }

  TimelineSink timeline_sink_{*this};
};

}  // namespace importkcd::testing
