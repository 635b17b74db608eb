#include <sys/stat.h>

#include <filesystem>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "tests/cli/kcd_fixture.h"
#include "tests/labels/labels_content.h"
#include "tests/support/catalogue_check.h"
#include "tests/support/tds_server.h"

namespace importkcd::testing {
namespace {

namespace fs = std::filesystem;

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// Sets the file mode creation mask of this process and of those that it starts.
class ScopedMask {
 public:
  explicit ScopedMask(mode_t mask) : former_(umask(mask)) {}
  ~ScopedMask() { umask(former_); }
  ScopedMask(const ScopedMask&) = delete;
  ScopedMask& operator=(const ScopedMask&) = delete;

 private:
  mode_t former_;
};

/// Passwords are made of letters of which three are enough to be found, or one byte by its number.
class KcdSecrets : public KcdTest {
 protected:
  /// Runs `kcd` and looks for the password in everything that it says.
  ProcessResult silent(std::vector<std::string> arguments) {
    auto result = kcd(std::move(arguments));
    for (const auto* piece : {"geh", "hei", "eim", "0x65"}) {
      EXPECT_THAT(result.output, Not(HasSubstr(piece)));
      EXPECT_THAT(result.errors, Not(HasSubstr(piece)));
    }
    return result;
  }

  /// The same for a run that has to fail with these words.
  void silent_failure(std::vector<std::string> arguments, const std::string& words) {
    const auto result = silent(std::move(arguments));
    EXPECT_NE(result.exit_status, 0);
    EXPECT_THAT(result.errors, HasSubstr(words));
  }

  /// What is left in the folder for temporary files.
  std::vector<fs::path> temporary_files() const {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder.file("tmp"))) {
      files.push_back(entry.path());
    }
    return files;
  }

  static void expect_private(const fs::path& path) {
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write)
        << path;
  }

  /// A document whose data source has this text, as it stands, for its connection string.
  std::string with_connection_string(const std::string& text,
                                     const std::string& name = "Warehouse") const {
    return folder.write("secret.kcd", bare_document(known_version, "Shop",
                                                    "<library><data_sources><data_source name=\"" +
                                                        name + "\" connection_string=\"" + text +
                                                        "\"/></data_sources></library>"));
  }

  /// whole_document() with a password, after a change of its text.
  std::string whole_with_password(const std::string& from = "", const std::string& to = "") const {
    auto text = whole_document();
    const std::string source = "Data Source=dw1";
    text.replace(text.find(source), source.size(), "Password=geheim;" + source);
    if (!from.empty()) {
      text.replace(text.find(from), from.size(), to);
    }
    return folder.write("secret.kcd", text);
  }

  std::string plain = "Provider=P;User ID=u;Password=geheim;Data Source=S";
  std::string secret_file = folder.write("secret", plain + "\n");
};

TEST_F(KcdSecrets, AnImportTellsNoPasswordInAnyMode) {
  for (const auto* mode : {"incremental", "replace", "update", "incremental"}) {
    EXPECT_EQ(silent({"import", with_connection_string(plain), "--mode", mode}).exit_status, 0);
    EXPECT_EQ(silent({"import", whole_with_password(), "--mode", mode, "--database", "Other",
                      "--connect-string-file", secret_file, "--data-source", "D"})
                  .exit_status,
              std::string(mode) == "update" ? 1 : 0);
  }
  EXPECT_THAT(shown().dump(), HasSubstr("Password=geheim")) << "there is something to tell";
}

TEST_F(KcdSecrets, TheTreeShowsNoPassword) {
  for (const std::string text :
       {"Password=geheim", "PWD = {geheim;geheim}}geheim};x=y", "pwd='geheim",
        "x=y;pAsSwOrD=geheim",
        "Jet OLEDB:Database Password=&quot;geheim;&quot;&quot;geheim&quot;;a=b",
        "Extended Properties=&quot;DSN=x;PWD=geheim;UID=u&quot;;Provider=P"}) {
    ASSERT_EQ(silent({"import", with_connection_string(text), "--mode", "replace"}).exit_status, 0);
    EXPECT_THAT(silent({"show"}).output, HasSubstr("***")) << text;
    EXPECT_EQ(silent({"restore", "--list"}).exit_status, 0);
  }
  EXPECT_EQ(silent({"restore", "Shop"}).exit_status, 0);
}

TEST_F(KcdSecrets, ABrokenDocumentIsToldWithoutItsPassword) {
  for (const std::string text :
       {"Password=a&geheim;b", "Password=a&geheim", "Password=&#geheim;", "Password=<geheim",
        "Password=\"geheim\"", "Password=\" geheim\"", "Password=\" geheim ", "Password=geheim\x01",
        "Password=geheim\xFF", "Password=\xFFgeheim",
        "Password=&quot;geheim\" x:a='1' x:a='1' b=\""}) {
    silent_failure({"import", with_connection_string(text)}, "Cannot open kcd document file ");
  }
  const auto whole = read_file(whole_with_password());
  for (auto end = whole.find("geheim"); end < whole.find("geheim") + 10; ++end) {
    silent_failure({"import", folder.write("cut.kcd", whole.substr(0, end))},
                   "Cannot open kcd document file ");
  }
}

TEST_F(KcdSecrets, AFailureOfASectionIsToldWithoutThePassword) {
  const std::vector<std::pair<std::string, std::string>> faults{
      {"version=\"1.0.1073\"", "version=\"2\""},
      {"name=\"Shop\"", ""},
      {"<data_source name=\"Warehouse\"", "<data_source"},
      {"<data_source name=\"Warehouse\"", "<data_source name=\"\""},
      {"column_size=\"4\"", "column_size=\"x\""},
      {"user_list=\"anna;bert\"", ""},
      {"estimated_rows=\"10\"", "estimated_rows=\"many\""},
  };
  for (const auto& [from, to] : faults) {
    for (const auto* mode : {"incremental", "replace", "update"}) {
      const auto document = whole_with_password(from, to);
      silent({"import", document, "--mode", mode});
      silent({"import", document, "--mode", mode, "--connect-string", plain});
      EXPECT_THAT(temporary_files(), IsEmpty()) << "the copy is deleted on this road";
    }
    EXPECT_EQ(kcd({"import", whole_with_password(from, to), "--mode", "replace"}).exit_status, 1)
        << from;
  }
}

TEST_F(KcdSecrets, AFailureOfTheServerIsToldWithoutThePassword) {
  const auto document = with_connection_string(plain);
  const auto path = folder.write("server.olap", "no catalogue, but a text");
  silent_failure({"import", document, "--server", "catalogue:" + path}, "is no OLAP catalogue");
  silent_failure({"show", "catalogue:" + path}, "is no OLAP catalogue");
  EXPECT_THAT(temporary_files(), IsEmpty()) << "no copy was made";

  const auto refusing = folder.file("refusing.olap");
  ASSERT_EQ(silent({"import", document, "--server", "catalogue:" + refusing}).exit_status, 0);
  refuse_unless(refusing, "data_sources", "false");
  silent_failure({"import", document, "--server", "catalogue:" + refusing, "--mode", "replace"},
                 "refused");
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(KcdSecrets, AConnectionStringInPlaceOfTheServerIsToldWithoutItsPassword) {
  const auto document = with_connection_string(plain);
  const auto result = silent({"import", document, "--server", plain});
  EXPECT_EQ(result.exit_status, 5);
  EXPECT_THAT(result.output, HasSubstr("on machine 'Provider=P;User ID=u;Password=***;Data"));
  silent_failure({"show", plain}, "Password=***");
  silent_failure({"restore", plain, "--list"}, "Password=***");
  silent_failure({"import", document, "--server", "jdbc:mysql://u:geheim@h/db?password=geheim"},
                 "//u:***@h/db?password=***");
}

TEST_F(KcdSecrets, APathWithAPasswordIsToldWithoutIt) {
  const auto document = with_connection_string(plain);
  const auto blocked = folder.write("file", "") + "/x;Password=geheim;y";
  for (const auto& server :
       std::vector<std::string>{"catalogue:" + blocked, "mondrian:" + blocked}) {
    silent_failure({"import", document, "--server", server}, "Password=***");
    silent_failure({"show", server}, "Password=***");
    silent_failure({"restore", server, "--list"}, "Password=***");
  }
  silent_failure({"query", blocked, "select"}, "Password=***");
  silent_failure({"serve", blocked}, "Password=***");

  const auto present = folder.file("x;Password=geheim;y");
  silent_failure({"import", document, "--server",
                  "catalogue:" + folder.write("x;Password=geheim;z", "no catalogue")},
                 "Password=***");
  fs::create_directory(present);
  silent_failure({"import", document, "--server", "catalogue:" + present}, "Password=***");
  silent_failure({"query", present, "select"}, "Password=***");
  silent_failure({"serve", present}, "Password=***");
  folder.write("x;Password=geheim;y/datasources.xml", "<DataSources/>");
  silent_failure({"import", document, "--server", "mondrian:" + present}, "Password=***");
  const auto empty = "catalogue:" + folder.file("e;Password=geheim");
  ASSERT_EQ(
      silent({"import", folder.write("wrong.kcd", "<a/>"), "--server", empty, "--on-error", "keep"})
          .exit_status,
      1);
  EXPECT_THAT(silent({"show", empty}).output, HasSubstr("Password=***"));
  EXPECT_THAT(silent({"restore", empty, "--list"}).output, HasSubstr("Password=***"));
}

TEST_F(KcdSecrets, ANewPatternComesFromAFile) {
  const auto document = with_connection_string("%SERVER%;x=y");
  ASSERT_EQ(
      silent({"import", document, "--pattern-from", "%SERVER%", "--pattern-to-file", secret_file})
          .exit_status,
      0);
  EXPECT_THAT(shown().dump(), HasSubstr(plain + ";x=y"));
  start.input = plain + "\n";
  ASSERT_EQ(silent({"import", document, "--pattern-from", "%SERVER%", "--pattern-to-file", "-",
                    "--database", "Other"})
                .exit_status,
            0);
  EXPECT_THAT(shown({"localhost", "Other"}).dump(), HasSubstr(plain + ";x=y"));
  silent_failure({"import", document, "--pattern-from", "a", "--pattern-to", plain,
                  "--pattern-to-file", secret_file},
                 "--pattern-to");
  silent_failure({"import", document, "--pattern-to-file", secret_file}, "--pattern-from");
  silent_failure({"import", document, "--pattern-from", "a", "--pattern-to-file",
                  folder.write("two", plain + "\n" + plain)},
                 "Cannot take a pattern from");
}

TEST_F(KcdSecrets, ARefusedCommandLineIsToldWithoutThePassword) {
  const auto document = with_connection_string(plain);
  silent_failure({"import", document, plain}, "not expected: Provider=P;User ID=u;Password=***");
  silent_failure({"import", document, "--connect-string", plain, plain}, "Password=***");
  silent_failure({"import", document, "--connect-string", plain, "--connect-string", plain}, "");
  silent_failure({"import", document, "--connect-string", plain, "--connect-string-file", "-"},
                 "--connect-string");
  silent_failure({"import", document, "--partitions=" + plain}, "partitions");
  silent_failure({"import", document, "--mode", plain}, "--mode");
  silent_failure(
      {"import", document, "--connect-string-file", folder.write("two", plain + "\n" + plain)},
      "connection string");
}

TEST_F(KcdSecrets, TheTemporaryCopyIsForItsOwnerAndStaysOnlyWhenItCannotBeLoaded) {
  const ScopedMask mask(0);
  EXPECT_EQ(silent({"import", whole_with_password()}).exit_status, 0);
  EXPECT_EQ(silent({"import", whole_with_password(), "--mode", "replace"}).exit_status, 0);
  EXPECT_EQ(silent({"import", folder.file("missing.kcd")}).exit_status, 1);
  EXPECT_EQ(silent({"import", whole_with_password(), "--server", "nowhere"}).exit_status, 5);
  EXPECT_THAT(temporary_files(), IsEmpty());

  EXPECT_EQ(silent({"import", with_connection_string("Password=<geheim")}).exit_status, 1);
  ASSERT_EQ(temporary_files().size(), 1U);
  expect_private(temporary_files().front());
  EXPECT_THAT(read_file(temporary_files().front()), HasSubstr("geheim"));
}

TEST_F(KcdSecrets, AKilledImportLeavesACopyForItsOwnerOnly) {
  const ScopedMask mask(0);
  start.arguments = {"import", whole_with_password()};
  RunningProcess run(start);
  run.read_until("Opening kcd document file");
  run.kill();
  for (const auto& file : temporary_files()) {
    expect_private(file);
  }
}

TEST_F(KcdSecrets, EveryFileOfACatalogueIsForItsOwnerWhateverTheMask) {
  for (const mode_t bits : {0U, 022U, 077U}) {
    const ScopedMask mask(bits);
    const auto server = folder.file("catalogue" + std::to_string(bits));
    fs::create_directory(server);
    const auto machine = "catalogue:" + server + "/server.olap";
    for (const auto* mode : {"incremental", "replace"}) {
      ASSERT_EQ(silent({"import", whole_with_password(), "--server", machine, "--mode", mode})
                    .exit_status,
                0);
    }
    ASSERT_EQ(silent({"restore", machine, "Shop"}).exit_status, 0);
    ASSERT_EQ(silent({"show", machine}).exit_status, 0);
    int files = 0;
    for (const auto& entry : fs::directory_iterator(server)) {
      expect_private(entry.path());
      ++files;
    }
    EXPECT_EQ(files, 4) << "the catalogue, its two logs and its locks";
  }
}

/// `kcd convert` with a user's password, given in every way that there is.
class KcdLabelsSecrets : public KcdSecrets {
 protected:
  KcdLabelsSecrets() { start.environment.emplace_back("IMPORTKCD_LABELS_PASSWORD", "geheim"); }

  void silent_conversion(const std::string& server, const std::string& words) {
    start.input = "geheim\n";
    for (const auto& login : std::vector<std::vector<std::string>>{
             {"--user", "u"},
             {"--user", "u", "--password-file", folder.write("password", "geheim\n")},
             {"--user", "u", "--password-file", "-"}}) {
      std::vector<std::string> arguments{"convert",    kci,       "--labels-server",   server,
                                         "--language", "English", "--labels-database", "labels"};
      arguments.insert(arguments.end(), login.begin(), login.end());
      silent_failure(std::move(arguments), words);
      EXPECT_FALSE(fs::exists(folder.file("shop.kcd")));
    }
  }

  std::string kci = folder.write("shop.kci", "<database guid='served' name='$##1%'/>");
};

TEST_F(KcdLabelsSecrets, AServerThatCannotBeReachedIsToldWithoutPasswords) {
  for (const std::string server :
       {"odbc:Driver=/nowhere.so;PWD=geheim", "odbc:DSN=nowhere;UID=u;Password={geheim;geheim}",
        "odbc:PWD=geheim", "Driver=/nowhere.so;PWD=geheim;Server=127.0.0.1,1",
        "odbc:DRIVER={MariaDB Unicode};SERVER=127.0.0.1;PORT=1;PWD=geheim", "127.0.0.1,1"}) {
    silent_conversion(server, "Error while connecting to : ");
  }
}

TEST_F(KcdLabelsSecrets, ALoginOrAStatementThatFailsIsToldWithoutPasswords) {
  const TdsServer server({{"first", {}}, {"labels", {}}});
  silent_conversion(server.address(), "Login failed");
  fs::create_directory(folder.file("labels"));
  folder.write("labels/labels.db", "no database");
  silent_conversion("sqlite:" + folder.file("labels"), "not a correct labels database");
}

}  // namespace
}  // namespace importkcd::testing
