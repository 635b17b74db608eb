#include <cstdlib>
#include <fstream>

#include "tests/olap/olap_world.h"
#include "tests/olap/small_document.h"

namespace importkcd::testing {
namespace {

/// How many publications: a few, or as many as the environment says (the example's memory would be
/// full after some hundred).
int publications() {
  const char* number = std::getenv("IMPORTKCD_PUBLICATIONS");
  return number == nullptr ? 12 : std::stoi(number);
}

/// The objects of a class that an engine holds in memory after everything that it can do without
/// went away.
int objects_of(const OlapService& engine, std::string_view its_class) {
  const auto result = run_process(
      {"/usr/bin/jcmd", {std::to_string(engine.process_id()), "GC.class_histogram"}, {}, {}, {}});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  std::istringstream lines(result.output);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string number;
    int instances = 0;
    std::string bytes;
    std::string name;
    if (words >> number >> instances >> bytes >> name && name == its_class) {
      return instances;
    }
  }
  return 0;
}

TEST(EngineMemory, DoesNotGrowWithEachPublicationThatIsAsked) {
  const auto directory = world().folder().file("published");
  const auto document = world().folder().write(
      "published.kcd",
      small_document("Published", world().postgres().connection_string(sales_warehouse),
                     {{.name = "Sales"}}));
  const auto result = run_process({KCD_PROGRAM,
                                   {"import", document, "--server", "mondrian:" + directory},
                                   {{"LC_ALL", "C"}},
                                   {},
                                   {}});
  ASSERT_EQ(result.exit_status, 0) << result.errors;
  const OlapService engine(KCD_PROGRAM, directory, {}, "-Xmx128m");
  const auto schema = directory + "/schemas/Published.xml";
  const auto text = read_file(schema);
  for (int i = 0; i < publications(); ++i) {
    // As an import does it: another mark, written beside and renamed.
    std::ofstream(schema + ".new") << text << "<!-- " << i << " -->\n";
    std::filesystem::rename(schema + ".new", schema);
    ASSERT_EQ(engine.refusal("Published",
                             "SELECT {[Measures].[Figure]} ON COLUMNS, NON EMPTY "
                             "[Store].[Store].Members ON ROWS FROM [Sales]"),
              "");
  }
  constexpr int few = 3;
  EXPECT_TRUE(comes_true([&] { return objects_of(engine, "mondrian.rolap.RolapSchema") <= few; }));
}

TEST(EngineMemory, HoldsNoConnectionThatHasEnded) {
  constexpr int questions = 100;
  for (int i = 0; i < questions; ++i) {
    ASSERT_EQ(world().engine().refusal(sales_database,
                                       "SELECT {[Measures].[Revenue]} ON COLUMNS FROM [Sales]"),
              "");
  }
  EXPECT_LT(objects_of(world().engine(), "org.eclipse.jetty.io.SocketChannelEndPoint"),
            questions / 10);
}

/// Revenue by region of one day and one product: each question is about figures of its own.
FigureTable ask(const OlapService& engine, int day, int product) {
  return figures(engine.ask(
      sales_database,
      "SELECT {[Measures].[Revenue]} ON COLUMNS, [Store].[Region].Members ON ROWS FROM [Sales] "
      "WHERE ([Calendar].[Day].Members.Item(" +
          std::to_string(day) + "), [Product].[Product].Members.Item(" + std::to_string(product) +
          "))"));
}

TEST(EngineMemory, KeepsNoMoreFiguresThanTheirShareHoweverManyQuestionsAreAsked) {
  constexpr int days = 20;
  constexpr int products = 4;
  constexpr int kept_at_most = 20;
  const OlapService engine(KCD_PROGRAM, world().directory(), {}, "-Dimportkcd.figureBytes=100000");
  for (int product = 0; product < products; ++product) {
    for (int day = 0; day < days; ++day) {
      EXPECT_EQ(difference(ask(engine, day, product), ask(world().engine(), day, product)), "")
          << day << ", " << product;
    }
  }
  // Beside what is kept, the engine holds what the last questions needed.
  constexpr auto description = "mondrian.spi.SegmentHeader";
  EXPECT_LT(objects_of(engine, description), 2 * kept_at_most);
  EXPECT_GE(objects_of(world().engine(), description), days * products);
}

}  // namespace
}  // namespace importkcd::testing
