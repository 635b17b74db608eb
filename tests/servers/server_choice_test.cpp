#include "servers/choice/server_choice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "base/system.h"
#include "tests/servers/catalogue/catalogue_test_support.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using importkcd::testing::error_of;
using importkcd::testing::TemporaryFolder;

/// Sets an environment variable, or takes it away, as long as this object lives.
class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name); old != nullptr) {
      old_ = old;
    }
    set(value);
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  ~Environment() { set(old_ ? old_->c_str() : nullptr); }

 private:
  void set(const char* value) { value == nullptr ? unsetenv(name_) : setenv(name_, value, 1); }

  const char* name_;
  std::optional<std::string> old_;
};

class ServerChoice : public ::testing::Test {
 protected:
  void import_database(std::string_view machine, const std::string& name) const {
    const auto server = make_olap_server(machine, ServerAccess::read_write);
    server->connect(std::string(machine));
    server->write_back_database(server->add_database(name));
    server->finish();
  }

  /// The databases that a look at a server finds.
  static std::vector<std::string> databases(std::string_view machine) {
    const auto server = make_olap_server(machine, ServerAccess::read_only);
    server->connect(std::string(machine));
    std::vector<std::string> names;
    for (const auto& object : server->stored_objects()) {
      names.push_back(object.name);
    }
    return names;
  }

  TemporaryFolder folder;
  Environment data_home{"XDG_DATA_HOME", folder.file("data").c_str()};
};

std::string upper_cased(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

TEST_F(ServerChoice, AllNamesOfThisComputerMeanItsEmbeddedServer) {
  import_database("localhost", "Sales");
  EXPECT_TRUE(std::filesystem::exists(folder.file("data/importkcd/server.olap")));
  for (const auto& name : {std::string("LocalHost"), std::string("(LOCAL)"), std::string("."),
                           this_computer_name(), upper_cased(this_computer_name())}) {
    EXPECT_THAT(databases(name), ::testing::ElementsAre("Sales")) << name;
  }
}

TEST_F(ServerChoice, LookingAtThisComputersMissingServerFindsNothingAndMakesNothing) {
  EXPECT_THAT(databases("."), ::testing::IsEmpty());
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(ServerChoice, TheFolderOfTheEmbeddedServerIsMadeForItsOwner) {
  import_database("(local)", "Sales");
  EXPECT_EQ(std::filesystem::status(folder.file("data/importkcd")).permissions(),
            std::filesystem::perms::owner_all);
}

TEST_F(ServerChoice, AFolderThatCannotBeMadeIsAnError) {
  folder.write("data", "a file in the folder's place");
  EXPECT_EQ(error_of([] { make_olap_server(".", ServerAccess::read_write); }),
            "cannot make the folder '" + folder.file("data/importkcd") +
                "': Not a directory (OLAP server)");
}

TEST_F(ServerChoice, ACatalogueIsNamedByItsPath) {
  const auto machine = "catalogue:" + folder.file("My Catalogue");
  import_database(machine, "Sales");
  EXPECT_THAT(databases(machine), ::testing::ElementsAre("Sales"));
  EXPECT_FALSE(std::filesystem::exists(folder.file("data")));
}

TEST_F(ServerChoice, LookingAtAMissingCatalogueIsAnError) {
  const auto path = folder.file("none.olap");
  EXPECT_EQ(error_of([&] { databases("catalogue:" + path); }),
            "catalogue '" + path + "': no such file (OLAP server)");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(ServerChoice, AnInMemoryServerEndsWithItsObject) {
  import_database("memory:", "Sales");
  EXPECT_THAT(databases("memory:"), ::testing::IsEmpty());
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(ServerChoice, AnyOtherTextIsAnErrorThatNamesTheForms) {
  for (const std::string machine : {"", "elsewhere.example.com", "catalogue:", "Catalogue:x",
                                    "mondrian:", "memory", "memory:x", "..", " ."}) {
    EXPECT_EQ(error_of([&] { make_olap_server(machine, ServerAccess::read_only); }),
              "'" + machine +
                  "' is no OLAP server that can be reached; there are: this computer ('" +
                  this_computer_name() +
                  "', 'localhost', '(local)' or '.'), 'catalogue:PATH', "
                  "'mondrian:DIRECTORY' and 'memory:' (OLAP server)");
  }
}

TEST_F(ServerChoice, WithoutADataFolderOfItsOwnTheHomeFolderHoldsTheServer) {
  const Environment home("HOME", "/home/somebody");
  for (const char* unusable : {static_cast<const char*>(nullptr), "", "relative/folder"}) {
    const Environment none("XDG_DATA_HOME", unusable);
    EXPECT_EQ(default_catalogue_path(), "/home/somebody/.local/share/importkcd/server.olap");
  }
}

TEST_F(ServerChoice, WithoutAHomeVariableTheUsersOwnHomeFolderHoldsTheServer) {
  const Environment no_home("HOME", nullptr);
  const Environment none("XDG_DATA_HOME", nullptr);
  EXPECT_THAT(default_catalogue_path(),
              ::testing::AllOf(::testing::StartsWith("/"),
                               ::testing::EndsWith("/.local/share/importkcd/server.olap")));
}

}  // namespace
}  // namespace importkcd
