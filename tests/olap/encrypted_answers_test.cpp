#include <filesystem>
#include <memory>

#include "base/import_error.h"
#include "tests/olap/guarded_world.h"
#include "tests/olap/small_document.h"

// An engine that speaks https, takes its grants from the documents, and reads a warehouse by a
// driver that it was given.

namespace importkcd::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* ask_all =
    "SELECT {[Measures].[Figure]} ON COLUMNS, [Store].[Store].Members ON ROWS FROM [Sales]";

/// A warehouse that is a file of SQL statements.
constexpr const char* hsqldb_warehouse =
    "CREATE SCHEMA PUBLIC AUTHORIZATION DBA\n"
    "CREATE USER READER PASSWORD 'geheim;\"x'\n"
    "CREATE MEMORY TABLE PUBLIC.SALES(STORE_ID INTEGER,AMOUNT INTEGER)\n"
    "CREATE MEMORY TABLE PUBLIC.STORE(STORE_ID INTEGER PRIMARY KEY,STORE_NAME VARCHAR(40))\n"
    "GRANT DBA TO READER\n"
    "ALTER USER READER SET INITIAL SCHEMA PUBLIC\n"
    "SET SCHEMA PUBLIC\n"
    "INSERT INTO SALES VALUES(1,10)\n"
    "INSERT INTO SALES VALUES(2,4)\n"
    "INSERT INTO SALES VALUES(1,2)\n"
    "INSERT INTO STORE VALUES(1,'North')\n"
    "INSERT INTO STORE VALUES(2,'South')\n";

class EncryptedAnswers : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = std::make_unique<TemporaryFolder>();
    make_certificate("first");
    take("first");
    import_document();
    add_user(folder_->file("users"), {"reader", "geheim-1"});
    add_user(folder_->file("users"), {"stranger", "geheim-2"});
    engine_ = std::make_unique<OlapService>(
        KCD_PROGRAM, folder_->file("olap"),
        std::vector<std::string>{"--users", folder_->file("users"), "--grants", "from-documents",
                                 "--tls-certificate", folder_->file("certificate.pem"), "--tls-key",
                                 folder_->file("key.pem"), "--driver", "/usr/share/java/hsqldb.jar",
                                 "--heap", "256m", "--max-concurrent", "4", "--query-timeout", "60",
                                 "--public-health"});
  }
  static void TearDownTestSuite() {
    engine_.reset();
    folder_.reset();
  }

  /// One that counts as an authority for itself.
  static void make_certificate(const std::string& name) {
    const auto result = run_process(
        {"/usr/bin/openssl",
         {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
          "-days", "2", "-subj", "/CN=" + name, "-addext", "subjectAltName=IP:127.0.0.1", "-keyout",
          folder_->file(name + "-key.pem"), "-out", folder_->file(name + ".pem")}});
    ASSERT_EQ(result.exit_status, 0) << result.errors;
  }

  static void take(const std::string& name) {
    const auto put = [&](const std::string& from, const std::string& to) {
      std::filesystem::copy_file(folder_->file(from), folder_->file(to + "~"));
      std::filesystem::rename(folder_->file(to + "~"), folder_->file(to));
    };
    put(name + "-key.pem", "key.pem");
    put(name + ".pem", "certificate.pem");
  }

  static void import_document() {
    folder_->write("wh.script", hsqldb_warehouse);
    folder_->write("wh.properties", "version=2.6.0\nreadonly=true\nmodified=no\n");
    auto text = small_document("Stores",
                               "JDBC=\"jdbc:hsqldb:file:" + folder_->file("wh") +
                                   "\";User ID=READER;Password='geheim;\"x'",
                               {{.name = "Sales",
                                 .measure_column = "sales.amount",
                                 .from_clause = "sales, store",
                                 .join_clause = "sales.store_id = store.store_id"}});
    const auto put = [&](const std::string& from, const std::string& to) {
      text.replace(text.find(from), from.size(), to);
    };
    put("<roles/>",
        R"(<roles><role name="Readers" description="" user_list="SHOP\Reader; x"/></roles>)");
    put("<cube_roles/>", R"(<cube_roles><cube_role name="Readers" permissions="R"/></cube_roles>)");
    const auto result = run_process({KCD_PROGRAM,
                                     {"import", folder_->write("stores.kcd", text), "--server",
                                      "mondrian:" + folder_->file("olap")},
                                     {{"LC_ALL", "C"}},
                                     {},
                                     {}});
    ASSERT_EQ(result.exit_status, 0) << result.errors;
  }

  static XmlaClient client(const Login& login, const std::string& authority) {
    return XmlaClient(engine_->address(), {},
                      {.user = login.name,
                       .password = login.password,
                       .authorities_file = folder_->file(authority + ".pem")});
  }

  /// Why there is no list of databases; empty when there is one.
  static std::string fault(const std::string& authority) {
    try {
      client({"reader", "geheim-1"}, authority).databases();
    } catch (const ImportError& error) {
      return error.description();
    }
    return {};
  }

  static inline std::unique_ptr<TemporaryFolder> folder_;
  static inline std::unique_ptr<OlapService> engine_;
};

TEST_F(EncryptedAnswers, TheUserListsOfTheRolesAreGrants) {
  EXPECT_EQ(engine_->address().substr(0, 8), "https://");
  const auto reader = client({"reader", "geheim-1"}, "first");
  EXPECT_THAT(reader.databases(), ElementsAre("Stores"));
  EXPECT_EQ(
      difference(figures(reader.execute(ask_all, "Stores")), {{"North", "12"}, {"South", "4"}}), "")
      << engine_->errors();
  EXPECT_THAT(client({"stranger", "geheim-2"}, "first").databases(), IsEmpty());
  EXPECT_THAT(engine_->errors(), ::testing::Not(HasSubstr("geheim")));
}

TEST_F(EncryptedAnswers, ProgramsCheckTheCertificate) {
  const auto show = [&](std::vector<std::string> further) {
    std::vector<std::string> arguments{"show",   engine_->address(), "--user",
                                       "reader", "--password-file",  "-"};
    arguments.insert(arguments.end(), further.begin(), further.end());
    return GuardedEngine::kcd(std::move(arguments), "geheim-1");
  };
  EXPECT_EQ(show({"--ca-file", folder_->file("first.pem")}).output,
            "Stores\n`- Cubes (1)\n   `- Sales\n");
  const auto unknown = show({});
  EXPECT_EQ(unknown.exit_status, 1);
  EXPECT_THAT(unknown.errors, HasSubstr("certificate"));
  // Another client than ours; what it gets tells browsers to stay with https.
  const std::string asking = R"(import ssl, sys, urllib.request
answer = urllib.request.urlopen(sys.argv[1].replace('/xmla', '/health'),
    context=ssl.create_default_context(cafile=sys.argv[2]))
print(answer.headers['Strict-Transport-Security'], answer.read().decode(), end='')
)";
  const auto python = run_process(
      {"/usr/bin/env", {"python3", "-c", asking, engine_->address(), folder_->file("first.pem")}});
  EXPECT_EQ(python.output, "max-age=31536000 {\"ready\":true,\"stale_aggregates\":false}\n")
      << python.errors;
}

TEST_F(EncryptedAnswers, ANewCertificateCountsWithoutARestart) {
  make_certificate("second");
  EXPECT_NE(fault("second"), "");
  take("second");
  EXPECT_TRUE(comes_true([&] { return fault("second").empty(); })) << fault("second");
  EXPECT_NE(fault("first"), "");
}

}  // namespace
}  // namespace importkcd::testing
