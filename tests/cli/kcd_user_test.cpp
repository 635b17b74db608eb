#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <utility>

#include "base/files.h"
#include "tests/cli/kcd_fixture.h"

// The file of those who may log in, and what `kcd serve` wants before it starts.

namespace importkcd {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

class KcdUser : public testing::KcdTest {
 protected:
  testing::ProcessResult user(std::vector<std::string> arguments, const std::string& input = {}) {
    arguments.insert(arguments.begin(), "user");
    start.input = input;
    return kcd(std::move(arguments));
  }

  std::string users() const { return testing::read_file(folder.file("users")); }

  std::string file = folder.file("users");
};

TEST_F(KcdUser, PasswordsAreHashedAsHtpasswdDoes) {
  const auto added = user({"add", file, "anna"}, "geheim\n");
  EXPECT_EQ(added.exit_status, 0);
  EXPECT_EQ(added.output + added.errors, "");
  const auto line = users();
  EXPECT_THAT(line, MatchesRegex("anna:\\$2y\\$10\\$[./A-Za-z0-9]{53}\n"));
  EXPECT_EQ(std::filesystem::status(file).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  user({"add", file, "Börge O'Neill"}, "geheim");
  EXPECT_EQ(users().substr(0, line.size()), line);
  // Another salt and another hash.
  user({"add", file, "anna"}, "geheim");
  EXPECT_NE(users().substr(0, line.size()), line);
  EXPECT_EQ(user({"list", file}).output, "anna\nBörge O'Neill\n");
  EXPECT_EQ(user({"remove", file, "anna"}).exit_status, 0);
  EXPECT_EQ(user({"list", file}).output, "Börge O'Neill\n");
}

TEST_F(KcdUser, OtherLinesAndPermissionsStay) {
  folder.write("users", "# who may ask\n\nboss:$2y$05$x\n");
  ::chmod(file.c_str(), 0640);
  EXPECT_EQ(user({"add", file, "anna"}, "geheim").exit_status, 0);
  EXPECT_THAT(users(), StartsWith("# who may ask\n\nboss:$2y$05$x\nanna:$2y$"));
  EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(file).permissions()), 0640U);
}

/// Whether a process waits for a lock, by the kernel's list.
bool waits_for_a_lock(int process) {
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);) {
    if (line.find("-> FLOCK") != std::string::npos &&
        line.find(" " + std::to_string(process) + " ") != std::string::npos) {
      return true;
    }
  }
  return false;
}

/// The lock that commands take which change a file of users.
FileDescriptor locked(const std::string& file) {
  FileDescriptor held(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(::flock(held.number(), LOCK_EX), 0);
  return held;
}

void expect_that_it_waits(const testing::RunningProcess& process) {
  constexpr int looks = 3000;
  constexpr useconds_t pause_microseconds = 20'000;
  int look = 0;
  while (!waits_for_a_lock(process.process_id()) && look < looks) {
    ::usleep(pause_microseconds);
    ++look;
  }
  ASSERT_LT(look, looks) << "it does not wait";
}

TEST_F(KcdUser, AChangeWaitsForOthersAndKeepsThem) {
  folder.write("users", "boss:$2y$05$x\nleaving:$2y$05$x\n");
  const auto password = folder.write("password", "geheim");
  for (const std::vector<std::string>& change :
       std::vector<std::vector<std::string>>{{"add", file, "anna"}, {"remove", file, "leaving"}}) {
    auto held = locked(file);
    testing::ProcessStart waiting{"/bin/sh", {"-c", R"(exec "$0" user "$@" <)" + password}};
    waiting.arguments.emplace_back(KCD_PROGRAM);
    waiting.arguments.insert(waiting.arguments.end(), change.begin(), change.end());
    testing::RunningProcess process(waiting);
    for (const std::string other : {"first", "second"}) {
      expect_that_it_waits(process);
      // As the command itself writes: another file in its place, here one that is locked, too.
      const auto name = other + "-beside-" + change.front();
      folder.write("users.new", users() + name + ":$2y$05$x\n");
      auto next = locked(folder.file("users.new"));
      std::filesystem::rename(folder.file("users.new"), file);
      std::swap(held, next);
    }
    held.close();
    EXPECT_EQ(process.finish(), 0) << process.errors();
  }
  EXPECT_EQ(user({"list", file}).output,
            "boss\nfirst-beside-add\nsecond-beside-add\nanna\nfirst-beside-remove\n"
            "second-beside-remove\n");
}

TEST_F(KcdUser, ManyAtOnceAreAllAdded) {
  constexpr int users_at_once = 24;
  std::vector<std::thread> threads;
  threads.reserve(users_at_once);
  for (int number = 0; number < users_at_once; ++number) {
    threads.emplace_back([&, number] {
      testing::ProcessStart adding{KCD_PROGRAM,
                                   {"user", "add", file, "user-" + std::to_string(number)}};
      adding.input = "geheim\n";
      EXPECT_EQ(testing::run_process(adding).exit_status, 0);
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  for (int number = 0; number < users_at_once; ++number) {
    EXPECT_THAT(users(), HasSubstr("user-" + std::to_string(number) + ":$2y$10$"));
  }
  // Nothing lies beside it.
  EXPECT_THAT(names_in_folder(folder.path().string()), UnorderedElementsAre("tmp", "users"));
}

TEST_F(KcdUser, NamesAndPasswordsThatCannotBeAreRefused) {
  for (const std::string name : {"", "a:b", "#a", "a\nb", "a\x7F"}) {
    const auto refused = user({"add", file, name}, "geheim");
    EXPECT_EQ(refused.exit_status, 2) << name;
    EXPECT_THAT(refused.errors, HasSubstr("cannot be a user's name")) << name;
  }
  EXPECT_EQ(user({"add", file, "anna"}, std::string(73, 'x')).errors,
            "kcd: a password has 1 to 72 bytes, none of them a control character\n");
  EXPECT_EQ(user({"add", file, "anna"}, "a\tb").exit_status, 2);
  EXPECT_THAT(user({"add", file, "anna"}, "").errors, HasSubstr("it is empty"));
  EXPECT_THAT(user({"add", file, "anna"}, "one\ntwo\n").errors, HasSubstr("more than one line"));
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_EQ(user({"remove", file, "anna"}).exit_status, 1);
  folder.write("users", "boss:$2y$05$x\n");
  const auto unknown = user({"remove", file, "anna"});
  EXPECT_EQ(unknown.exit_status, 1);
  EXPECT_EQ(unknown.errors, "kcd: there is no user 'anna' in '" + file + "'\n");
}

TEST_F(KcdUser, ServingOthersWantsUsers) {
  for (const std::string address :
       {"0.0.0.0", "::", "192.0.2.1", "127.example.com", "localhost.example.com"}) {
    const auto refused = kcd({"serve", folder.file("olap"), "--address", address});
    EXPECT_EQ(refused.exit_status, 2) << address;
    EXPECT_EQ(refused.errors, "kcd: others reach '" + address +
                                  "', and could ask everything: --users FILE asks them for a "
                                  "login, --insecure does without\n");
  }
  const auto past = [&](std::vector<std::string> options) {
    options.insert(options.begin(), {"serve", folder.file("olap")});
    return kcd(std::move(options)).errors;
  };
  for (const std::string address : {"127.0.0.1", "127.1.2.3", "::1", "localhost"}) {
    EXPECT_THAT(past({"--address", address}), StartsWith("there is no directory")) << address;
  }
  EXPECT_THAT(past({"--address", "0.0.0.0", "--insecure"}), StartsWith("there is no directory"));
  EXPECT_THAT(past({"--address", "0.0.0.0", "--users", "x"}), StartsWith("there is no directory"));
}

TEST_F(KcdUser, OptionsOfServingThatMakeNoSenseAreRefused) {
  for (const std::vector<std::string>& options :
       std::vector<std::vector<std::string>>{{"--grants", "x"},
                                             {"--tls-key", "x"},
                                             {"--tls-certificate", "x"},
                                             {"--heap", "2"},
                                             {"--heap", "m"},
                                             {"--heap", "2g -Dx=y"},
                                             {"--max-concurrent", "0"},
                                             {"--check-aggregates", "-1"},
                                             {"--check-aggregates", "often"},
                                             {"--admin-port", "x"}}) {
    auto arguments = options;
    arguments.insert(arguments.begin(), {"serve", folder.file("olap")});
    EXPECT_EQ(kcd(arguments).exit_status, 2) << options.front() << ' ' << options.back();
  }
  const auto settings = folder.write("kcd.toml", "[serve]\nheap = \"lots\"\n");
  EXPECT_THAT(
      kcd({"serve", folder.file("olap"), "--config", settings}).errors,
      AllOf(HasSubstr("such as 2g"), HasSubstr(settings + ":2"), Not(HasSubstr("directory"))));
}

}  // namespace
}  // namespace importkcd
