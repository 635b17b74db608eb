#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "model/definition_fields.h"
#include "tests/servers/catalogue/catalogue_test_support.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using importkcd::testing::changes_of;
using importkcd::testing::opened_store;
using importkcd::testing::TemporaryFolder;

/// All that an object consists of.
template <class Object>
std::string text_of(const Object& object) {
  std::string text;
  visit_fields(object, [&](std::string_view, const auto& value) {
    if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::string>) {
      text += value;
    } else {
      text += std::to_string(static_cast<int>(value));
    }
    text += ' ';
  });
  visit_parts(object, [&](std::string_view, const auto& parts) {
    text += '(';
    for (const auto& part : parts) {
      text += text_of(part);
    }
    text += ')';
  });
  return text;
}

/// The library's generator, used without its distributions, gives the same numbers everywhere.
class RandomObjects {
 public:
  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

  /// A few values only, so that one object often equals the other one of its name in something.
  template <class Object>
  Object object(const std::string& name) {
    Object result;
    visit_fields(result, [this](std::string_view, auto& value) {
      using Value = std::decay_t<decltype(value)>;
      if constexpr (std::is_same_v<Value, std::string>) {
        value = below(4) == 0 ? "x" : "";
      } else {
        value = static_cast<Value>(below(8) == 0 ? 1 : 0);
      }
    });
    result.name = name;
    visit_parts(result, [this](std::string_view, auto& parts) { this->fill(parts); });
    return result;
  }

  /// Some of a few names in any order.
  std::vector<std::string> names() {
    std::vector<std::string> result;
    for (auto i = below(4); i > 0; --i) {
      std::string name(1, static_cast<char>('A' + below(5)));
      if (std::find(result.begin(), result.end(), name) == result.end()) {
        result.push_back(std::move(name));
      }
    }
    return result;
  }

 private:
  template <class Part>
  void fill(NamedCollection<Part>& parts) {
    for (const auto& name : names()) {
      parts.add(object<Part>(name));
    }
  }

  std::mt19937 random_{11};
};

/// Databases that are rewritten together, because a commit takes its time.
constexpr std::size_t database_count = 20;
constexpr int rounds = 10;

std::string database_name(std::size_t number) { return "Database " + std::to_string(number); }

TEST(CatalogueRandomRewrite, AnObjectIsStoredAsGivenWhateverWasStoredBefore) {
  const TemporaryFolder folder;
  const auto store = opened_store(folder.file("server.olap"));
  RandomObjects random;
  for (int round = 0; round < rounds; ++round) {
    std::vector<DatabaseChanges> changes;
    std::vector<std::string> given;
    for (std::size_t i = 0; i < database_count; ++i) {
      auto& change = changes.emplace_back(changes_of(database_name(i)));
      const auto& cube = change.cubes.add(random.object<OlapCube>("Cube"));
      const auto& dimension = change.dimensions.add(random.object<OlapDimension>("Dimension"));
      const auto& role = change.roles.add(random.object<OlapRole>("Role"));
      given.push_back(text_of(cube) + text_of(dimension) + text_of(role));
    }
    store->apply(std::move(changes));
    for (std::size_t i = 0; i < database_count; ++i) {
      const auto sources = store->sources(database_name(i));
      ASSERT_EQ(text_of(*sources.cubes->load("Cube")) +
                    text_of(*sources.dimensions->load("Dimension")) +
                    text_of(*sources.roles->load("Role")),
                given[i])
          << "round " << round << ", database " << i;
    }
  }
}

TEST(CatalogueRandomRewrite, DimensionsStandAsIfRemovedOnesHadLeftAndWereAddedAgain) {
  const TemporaryFolder folder;
  const auto store = opened_store(folder.file("server.olap"));
  RandomObjects random;
  std::vector<std::vector<std::string>> expected(database_count);
  for (int round = 0; round < rounds; ++round) {
    std::vector<DatabaseChanges> changes;
    for (std::size_t i = 0; i < database_count; ++i) {
      auto& change = changes.emplace_back(changes_of(database_name(i)));
      change.removed_dimensions = random.names();
      for (const auto& name : change.removed_dimensions) {
        std::erase(expected[i], name);
      }
      for (const auto& name : random.names()) {
        change.dimensions.add(random.object<OlapDimension>(name));
        if (std::find(expected[i].begin(), expected[i].end(), name) == expected[i].end()) {
          expected[i].push_back(name);
        }
      }
    }
    store->apply(std::move(changes));
    for (std::size_t i = 0; i < database_count; ++i) {
      ASSERT_EQ(store->sources(database_name(i)).dimensions->names(), expected[i])
          << "round " << round << ", database " << i;
    }
  }
}

TEST(CatalogueRandomRewrite, AKeptCopyIsWholeWhateverTheDatabaseHolds) {
  const TemporaryFolder folder;
  const auto store = opened_store(folder.file("server.olap"));
  RandomObjects random;
  const auto stored_text = [&] {
    const auto sources = store->sources("Database");
    std::string text = text_of(*sources.data_sources->load("Source"));
    for (const char* name : {"First", "Second"}) {
      text += text_of(*sources.cubes->load(name)) + text_of(*sources.dimensions->load(name)) +
              text_of(*sources.roles->load(name));
    }
    return text;
  };
  for (int round = 0; round < 20; ++round) {
    auto change = changes_of("Database");
    change.data_sources.add(random.object<OlapDataSource>("Source"));
    for (const char* name : {"First", "Second"}) {
      change.cubes.add(random.object<OlapCube>(name));
      change.dimensions.add(random.object<OlapDimension>(name));
      change.roles.add(random.object<OlapRole>(name));
    }
    store->apply({std::move(change)});
    const auto before = stored_text();
    auto removal = changes_of("Database");
    removal.keeps_former = true;
    removal.removed_cubes = {"First"};
    removal.roles.add(random.object<OlapRole>("Second"));
    store->apply({std::move(removal)});
    ASSERT_FALSE(store->sources("Database").cubes->contains("First"));
    store->restore("Database");
    ASSERT_EQ(stored_text(), before) << "round " << round;
  }
}

}  // namespace
}  // namespace importkcd
