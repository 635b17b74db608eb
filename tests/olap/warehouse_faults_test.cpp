#include <memory>

#include "tests/olap/http_client.h"
#include "tests/olap/olap_world.h"
#include "tests/olap/small_document.h"
#include "xmla/xmla_client.h"

namespace importkcd::testing {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

constexpr const char* closing = "closing";

/// How many rows the engine has of a kind; all databases without a name.
std::size_t discovered(const std::string& address, const std::string& kind,
                       const std::string& database) {
  const auto answer = answer_to(
      address,
      http_request(R"(<E:Envelope xmlns:E="http://schemas.xmlsoap.org/soap/envelope/"><E:Body>)"
                   R"(<Discover xmlns="urn:schemas-microsoft-com:xml-analysis"><RequestType>)" +
                   kind + "</RequestType><Restrictions/><Properties><PropertyList>" +
                   (database.empty() ? "" : "<Catalog>" + database + "</Catalog>") +
                   "<Content>SchemaData</Content></PropertyList></Properties></Discover></E:Body>"
                   "</E:Envelope>"));
  std::size_t rows = 0;
  for (auto at = answer.find("<row>"); at != std::string::npos; at = answer.find("<row>", at + 1)) {
    ++rows;
  }
  EXPECT_GT(rows, 0U) << answer;
  return rows;
}

/// An engine of its own over four databases: one works, one's warehouse lets nobody in until it is
/// told to, one's has another password, and one names a column that is not there.
class WarehouseFaults : public ::testing::Test {
 protected:
  WarehouseFaults() {
    sql("postgres", std::string("CREATE DATABASE ") + closing);
    sql(closing,
        "CREATE TABLE store (store_id int, store_name text); INSERT INTO store VALUES (1, 'One');"
        "CREATE TABLE sales (store_id int, amount int); INSERT INTO sales VALUES (1, 17)");
    open_warehouse(false);
    const auto good = world().postgres().connection_string(sales_warehouse);
    auto wrong = good;
    wrong.replace(wrong.rfind("Pwd="), std::string::npos, "Pwd=no-such-secret");
    import("Works", good, {.name = "Sales"});
    import("Closed", world().postgres().connection_string(closing), {.name = "Sales"});
    import("Wrong", wrong, {.name = "Sales"});
    import("Lacking", good, {.name = "Sales", .measure_column = R"("sales"."nothing")"});
    engine_ = std::make_unique<OlapService>(KCD_PROGRAM, directory());
  }
  ~WarehouseFaults() override {
    engine_.reset();
    sql("postgres", std::string("DROP DATABASE ") + closing + " WITH (FORCE)");
  }

  static void sql(const std::string& database, const std::string& statements) {
    world().postgres().run_sql(database, statements);
  }

  /// Lets connections in, or ends all and lets none in.
  static void open_warehouse(bool open) {
    sql("postgres", std::string("ALTER DATABASE ") + closing + " ALLOW_CONNECTIONS " +
                        (open ? "true" : "false"));
    if (!open) {
      end_connections();
    }
  }

  static void end_connections() {
    sql("postgres",
        std::string("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '") +
            closing + "'");
  }

  static std::string directory() { return world().folder().file("faults für alle"); }

  static void import(const std::string& database, const std::string& connection,
                     const SmallCube& cube) {
    const auto document =
        world().folder().write(database + ".kcd", small_document(database, connection, {cube}));
    const auto result = run_process({KCD_PROGRAM,
                                     {"import", document, "--server", "mondrian:" + directory()},
                                     {{"LC_ALL", "C"}},
                                     {},
                                     {}});
    EXPECT_EQ(result.exit_status, 0) << result.errors;
  }

  std::string refusal(const std::string& database) const {
    return engine_->refusal(database, "SELECT {[Measures].[Figure]} ON COLUMNS FROM [Sales]");
  }

  std::string fault_of_closing(const std::string& rows) const {
    return difference(figures(engine_->ask("Closed", "SELECT {[Measures].[Figure]} ON COLUMNS, " +
                                                         rows + " ON ROWS FROM [Sales]")),
                      {{"One", "17"}});
  }

  std::unique_ptr<OlapService> engine_;
};

TEST_F(WarehouseFaults, AreToldAndDoNotSpread) {
  EXPECT_TRUE(comes_true([&] {
    const auto errors = engine_->errors();
    return errors.find("'Lacking'") != std::string::npos &&
           errors.find("'Closed'") != std::string::npos &&
           errors.find("'Wrong'") != std::string::npos;
  })) << engine_->errors();
  const std::string closed =
      "the data source 'Warehouse' cannot be used: FATAL: database \"closing\" is not currently "
      "accepting connections";
  const std::string refused =
      "the data source 'Warehouse' refuses the login: FATAL: password authentication failed for "
      "user \"olap reader\"";
  EXPECT_THAT(engine_->errors(),
              AllOf(HasSubstr("Cube 'Sales' of 'Lacking': ERROR: column sales.nothing does not "
                              "exist\n"),
                    HasSubstr("Database 'Closed': " + closed + "\n"),
                    HasSubstr("Database 'Wrong': " + refused + "\n"), Not(HasSubstr("'Works'")),
                    Not(HasSubstr("no-such-secret"))));
  EXPECT_THAT(XmlaClient(engine_->address()).databases(),
              UnorderedElementsAre("Works", "Closed", "Wrong", "Lacking"));
  for (const std::string database : {"Works", "Closed", "Wrong", "Lacking"}) {
    EXPECT_EQ(discovered(engine_->address(), "MDSCHEMA_CUBES", database), 1U);
    discovered(engine_->address(), "MDSCHEMA_MEASURES", database);
  }
  EXPECT_EQ(discovered(engine_->address(), "MDSCHEMA_CUBES", ""), 4U);
  EXPECT_EQ(refusal("Works"), "");
  EXPECT_THAT(refusal("Closed"), HasSubstr(closed));
  EXPECT_THAT(refusal("Wrong"), AllOf(HasSubstr(refused), Not(HasSubstr("no-such-secret"))));
  EXPECT_THAT(refusal("Lacking"), HasSubstr("sales.nothing"));

  open_warehouse(true);
  EXPECT_EQ(fault_of_closing("[Store].[Store].Members"), "");
  // As a restart of the warehouse does; the engine has this connection in its pool.
  end_connections();
  EXPECT_EQ(fault_of_closing("NON EMPTY Filter([Store].[Store].Members, [Measures].[Figure] > 1)"),
            "");
  open_warehouse(false);
  EXPECT_EQ(refusal("Works"), "");
  open_warehouse(true);
  EXPECT_EQ(fault_of_closing("Order([Store].[Store].Members, [Measures].[Figure], DESC)"), "");
}

}  // namespace
}  // namespace importkcd::testing
