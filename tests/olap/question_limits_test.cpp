#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>

#include "tests/olap/http_client.h"
#include "tests/olap/olap_world.h"

namespace importkcd::testing {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// The time that a process has computed so far, in the kernel's ticks.
long computed(int process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string text{std::istreambuf_iterator<char>(file), {}};
  text.erase(0, text.rfind(')') + 1);
  std::istringstream words(text);
  std::string skipped;
  for (int i = 0; i < 11; ++i) {
    words >> skipped;
  }
  long user = 0;
  long system = 0;
  EXPECT_TRUE(words >> user >> system);
  return user + system;
}

/// Whether it computes next to nothing now.
bool rests(int process) {
  constexpr useconds_t while_microseconds = 500'000;
  constexpr long few_ticks = 10;
  const auto before = computed(process);
  ::usleep(while_microseconds);
  return computed(process) - before < few_ticks;
}

/// Takes some years.
std::string nested_sums() {
  std::string formula = "[Measures].[Revenue]";
  for (int i = 0; i < 11; ++i) {
    formula.insert(0, "Sum([Store].[Store].Members, ").append(")");
  }
  return "WITH MEMBER [Measures].[Sums] AS '" + formula +
         "' SELECT {[Measures].[Sums]} ON COLUMNS FROM [Sales]";
}

/// An engine with short limits over the example, started in a folder in which somebody left a file
/// that the engine would read. The young part of its memory is so small that garbage is collected
/// all the time.
class ShortLimits : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const auto folder = world().folder().path() / "somebodys";
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "mondrian.properties") << "mondrian.result.limit=1\n";
    const auto here = std::filesystem::current_path();
    std::filesystem::current_path(folder);
    engine_ = std::make_unique<OlapService>(
        KCD_PROGRAM, world().directory(), std::vector<std::string>{"--limit", "3"},
        "-Dimportkcd.receiveSeconds=2 -Dimportkcd.idleSeconds=2 -Xmn1m");
    std::filesystem::current_path(here);
  }
  static void TearDownTestSuite() { engine_.reset(); }

  static std::unique_ptr<OlapService> engine_;
};

std::unique_ptr<OlapService> ShortLimits::engine_;

TEST_F(ShortLimits, AreNotThoseOfAFileInTheWorkingFolder) {
  EXPECT_EQ(
      engine_->refusal(sales_database,
                       "SELECT [Store].[Country].Members ON COLUMNS, [Calendar].[Year].Members "
                       "ON ROWS FROM [Sales]"),
      "");
}

TEST_F(ShortLimits, EndQuestionsThatComputeTooLong) {
  EXPECT_THAT(engine_->refusal(sales_database, nested_sums()),
              AnyOf(HasSubstr("Query timeout of 3 seconds reached"),
                    // What takes the time on a busy machine, the engine does not see.
                    HasSubstr("the question ended, because it took too long")));
  EXPECT_TRUE(comes_true([] { return rests(engine_->process_id()); }));
}

TEST_F(ShortLimits, EndSlowSendersWhileOthersAreAnswered) {
  const auto question = http_request(xmla_question(sales_database, "SELECT FROM [Sales]"));
  std::vector<std::unique_ptr<HttpClient>> slow;
  constexpr int most = 64;
  for (int i = 0; i < most; ++i) {
    slow.push_back(std::make_unique<HttpClient>(engine_->address()));
    slow.back()->send(question.substr(0, i % 2 == 0 ? 30 : question.size() - 200));
  }
  EXPECT_THAT(answer_to(engine_->address(), question), StartsWith("HTTP/1.1 200"));
  // However they go on, each of them comes to its end.
  for (std::size_t next = 0; next < slow.size(); ++next) {
    EXPECT_TRUE(comes_true([&] { return !slow[next]->send("x"); })) << next;
  }
}

TEST_F(ShortLimits, DoNotLoseTheEngineToItsGarbageCollector) {
  constexpr int clients = 8;
  constexpr int questions = 80;
  std::atomic<int> refused = 0;
  std::vector<std::thread> threads;
  threads.reserve(clients);
  for (int i = 0; i < clients; ++i) {
    threads.emplace_back([&] {
      for (int asked = 0; asked < questions; ++asked) {
        refused += engine_->refusal(sales_database, "SELECT FROM [Sales]").empty() ? 0 : 1;
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(refused, 0);
}

TEST(Questions, EndWhenTheirClientHasLeft) {
  const int engine = world().engine().process_id();
  const auto before = computed(engine);
  constexpr long a_second = 100;
  {
    const HttpClient client(world().engine().address());
    client.send(http_request(xmla_question(sales_database, nested_sums())));
    EXPECT_TRUE(comes_true([&] { return computed(engine) > before + a_second; }));
  }
  EXPECT_TRUE(comes_true([&] { return rests(engine); }));
}

TEST(Questions, EndWithAReasonWhenTheirClientHasSentItsLast) {
  const HttpClient client(world().engine().address());
  client.send(http_request(xmla_question(sales_database, nested_sums())));
  client.end_sending();
  const auto answer = client.receive();
  EXPECT_THAT(answer,
              AllOf(StartsWith("HTTP/1.1 200"),
                    HasSubstr("the question ended, because its client has closed the connection"),
                    Not(HasSubstr("Internal Error"))));
}

TEST(Questions, MayBeMeantForNamesThatWereGiven) {
  const OlapService engine(KCD_PROGRAM, world().directory(),
                           {"--host", "olap.example", "--host", "Second.Example"});
  const auto question = xmla_question(sales_database, "SELECT FROM [Sales]");
  for (const std::string host : {"olap.example:8712", "second.example", "localhost"}) {
    EXPECT_THAT(answer_to(engine.address(), http_request(question, host)),
                StartsWith("HTTP/1.1 200"));
  }
  EXPECT_THAT(answer_to(engine.address(), http_request(question, "third.example")),
              StartsWith("HTTP/1.1 421"));
}

}  // namespace
}  // namespace importkcd::testing
