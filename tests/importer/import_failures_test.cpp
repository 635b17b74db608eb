#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "servers/catalogue/catalogue_store.h"
#include "servers/working_copy_server.h"
#include "tests/support/importer_fixture.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr const char* opening_server = "Opening DSO server on machine 'memory:'";

class ImportFailures : public ImporterTest {
 protected:
  void expect_failure(const std::string& last_error) const {
    EXPECT_FALSE(importer->succeeded);
    EXPECT_EQ(importer->last_error, last_error);
  }
};

// Opening the server

TEST_F(ImportFailures, AServerThatCannotBeMadeIsToldWithItsMachine) {
  server_factory = [](std::string_view) -> std::unique_ptr<OlapServer> {
    throw ImportError("no such server", error_source::olap_server);
  };
  options.machine_name = "far away";
  import(whole_document());
  expect_failure("Cannot open DSO server on machine 'far away' because: no such server");
  EXPECT_THAT(sink.messages, ElementsAre("Opening DSO server on machine 'far away'"));
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(ImportFailures, AServerThatCannotBeConnectedIsToldWithItsMachine) {
  server_factory = [this](std::string_view) {
    return std::make_unique<WorkingCopyServer>(
        make_catalogue_store(folder.file("missing/server.olap"), ServerAccess::read_only));
  };
  options.machine_name = "catalogue:missing";
  import(whole_document());
  EXPECT_FALSE(importer->succeeded);
  EXPECT_THAT(importer->last_error,
              StartsWith("Cannot open DSO server on machine 'catalogue:missing' because: "));
  EXPECT_THAT(sink.messages, ElementsAre("Opening DSO server on machine 'catalogue:missing'"));
}

class ServerOfWrongClass : public ForwardingServer {
 public:
  using ForwardingServer::ForwardingServer;
  OlapClassType class_type() const override { return OlapClassType::database; }
};

TEST_F(ImportFailures, AServerOfAnotherClassTypeIsRefused) {
  server_factory = [](std::string_view) {
    return std::make_unique<ServerOfWrongClass>(make_memory_server());
  };
  import(whole_document());
  expect_failure("DSO server is not of correct DSO class type.");
  EXPECT_THAT(sink.messages, ElementsAre(opening_server));
  EXPECT_THAT(temporary_files(), IsEmpty());
}

// Preparing the document

TEST_F(ImportFailures, AMissingDocument) {
  options.kcd_document_file_name = folder.file("missing.kcd");
  import_file();
  expect_failure("Error in opening document " + folder.file("missing.kcd") +
                 " No such file or directory");
  EXPECT_THAT(sink.messages, ElementsAre(opening_server));
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(ImportFailures, AnEmptyDocumentName) {
  options.kcd_document_file_name = "";
  import_file();
  expect_failure("Error in opening document  No such file or directory");
}

TEST_F(ImportFailures, ADocumentThatCannotBeRead) {
  options.kcd_document_file_name = folder.path().string();
  import_file();
  expect_failure("Error in reading document " + folder.path().string() + " Is a directory");
  EXPECT_THAT(sink.messages, ElementsAre(opening_server));
}

TEST_F(ImportFailures, AMissingFolderForTemporaryFiles) {
  options.kcd_document_file_name = folder.write("document.kcd", whole_document());
  const ScopedEnvironment missing("TMPDIR", folder.file("missing"));
  import_file();
  expect_failure("Error in creating temporary file 2 : No such file or directory");
  EXPECT_THAT(sink.messages, ElementsAre(opening_server));
}

TEST_F(ImportFailures, AFileInPlaceOfTheFolderForTemporaryFiles) {
  options.kcd_document_file_name = folder.write("document.kcd", whole_document());
  const ScopedEnvironment file("TMPDIR", options.kcd_document_file_name);
  import_file();
  expect_failure("Error in creating temporary file 20 : Not a directory");
}

TEST_F(ImportFailures, AFolderForTemporaryFilesThatTakesNone) {
  options.kcd_document_file_name = folder.write("document.kcd", whole_document());
  const ScopedEnvironment read_only("TMPDIR", "/proc");
  import_file();
  EXPECT_FALSE(importer->succeeded);
  EXPECT_THAT(importer->last_error, StartsWith("Error in opening file for writing /proc/"));
  EXPECT_THAT(importer->last_error, ::testing::EndsWith(" No such file or directory"));
  EXPECT_THAT(sink.messages, ElementsAre(opening_server));
}

/// Lets no file of this process grow beyond a size.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(std::size_t bytes) : former_handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &former_);
    rlimit limit = former_;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &former_);
    (void)std::signal(SIGXFSZ, former_handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit former_{};
  void (*former_handler_)(int);
};

TEST_F(ImportFailures, AFailedWriteDoesNotEndTheRun) {
  auto text = whole_document();
  text.pop_back();
  options.kcd_document_file_name = folder.write("document.kcd", text);
  {
    // Only the line end that closes the last line does not fit.
    const FileSizeLimit limit(text.size());
    import_file();
  }
  EXPECT_TRUE(importer->succeeded);
  EXPECT_EQ(importer->last_error, "Error in writing to file " + copy_path() + " File too large");
  EXPECT_EQ(processing_messages(), whole_document_messages(false));
  EXPECT_THAT(stored_databases(), ElementsAre("Shop"));
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(ImportFailures, ACopyThatIsCutOffIsToldAsTheFailedWriteAndRemoved) {
  options.kcd_document_file_name = folder.write("document.kcd", whole_document());
  {
    const FileSizeLimit limit(100);
    import_file();
  }
  expect_failure("Error in writing to file " + copy_path() + " File too large");
  EXPECT_THAT(sink.messages, SizeIs(2)) << "the run went on with what was written";
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(ImportFailures, AnErrorAfterAFailedWriteTakesItsPlace) {
  const std::string text = R"(<database version="2" name=""/>)";
  options.kcd_document_file_name = folder.write("document.kcd", text);
  {
    const FileSizeLimit limit(text.size());
    import_file();
  }
  expect_failure("Expected kcd document version '1.0.1073', but found version '2'.");
}

TEST_F(ImportFailures, AFailedStoringAfterAFailedWriteKeepsTheEarlierText) {
  auto text = whole_document();
  text.pop_back();
  options.kcd_document_file_name = folder.write("document.kcd", text);
  hook = fail_operation("finish");
  {
    const FileSizeLimit limit(text.size());
    import_file();
  }
  expect_failure("Error in writing to file " + copy_path() + " File too large");
}

// Opening the copy

TEST_F(ImportFailures, BrokenDocumentsAreToldWithTheCopyAndLeaveIt) {
  for (const char* text : {"", "\n", "text", "<database", "<database><library></database>",
                           R"(<database a="1" a="2"/>)", "<database/><database/>",
                           "<database a=\"&unknown;\"/>", "<x:database/>"}) {
    import(text);
    EXPECT_FALSE(importer->succeeded) << text;
    EXPECT_THAT(importer->last_error,
                StartsWith("Cannot open kcd document file " + copy_path() + " because "))
        << text;
    EXPECT_THAT(sink.messages,
                ElementsAre(opening_server, "Opening kcd document file '" + copy_path() + "'"));
    EXPECT_THAT(temporary_files(), ElementsAre(copy_path()));
    EXPECT_THAT(stored_databases(), IsEmpty());
    std::filesystem::remove(copy_path());
  }
}

/// Does something to the world when a message arrives.
class ActingSink : public RecordingSink {
 public:
  ActingSink(std::string message, std::function<void()> action)
      : message_(std::move(message)), action_(std::move(action)) {}

  void put_progres_message(const std::string& message) override {
    RecordingSink::put_progres_message(message);
    if (message.rfind(message_, 0) == 0) {
      action_();
    }
  }

 private:
  std::string message_;
  std::function<void()> action_;
};

TEST_F(ImportFailures, ACopyThatIsGoneBeforeItIsOpened) {
  ActingSink acting("Opening kcd document file '",
                    [&] { std::filesystem::remove(temporary_files().at(0)); });
  options.progres_window = &acting;
  import(whole_document());
  EXPECT_FALSE(importer->succeeded);
  EXPECT_THAT(importer->last_error, StartsWith("Cannot open kcd document file "));
}

// Deleting the copy

TEST_F(ImportFailures, ACopyThatIsGoneBeforeItIsDeletedIsANotificationOnly) {
  std::string path;
  ActingSink acting("Processing document", [&] {
    path = temporary_files().at(0);
    std::filesystem::remove(path);
  });
  options.progres_window = &acting;
  import(whole_document());
  EXPECT_TRUE(importer->succeeded);
  EXPECT_EQ(importer->last_error, "");
  EXPECT_THAT(sink.notifications,
              ElementsAre("Error in deleting file " + path + " (No such file or directory)"));
  EXPECT_THAT(acting.notifications, IsEmpty());
}

TEST_F(ImportFailures, AReadOnlyCopyIsNotDeleted) {
  std::string path;
  ActingSink acting("Processing document", [&] {
    path = temporary_files().at(0);
    chmod(path.c_str(), S_IRUSR);
  });
  options.progres_window = &acting;
  import(whole_document());
  EXPECT_TRUE(importer->succeeded);
  EXPECT_EQ(importer->last_error, "");
  EXPECT_THAT(sink.notifications,
              ElementsAre("Error in deleting file " + path + " (Permission denied)"));
  EXPECT_THAT(temporary_files(), ElementsAre(path));
}

TEST_F(ImportFailures, ACopyThatCannotBeDeletedKeepsTheErrorOfTheRun) {
  ActingSink acting("Processing document",
                    [&] { std::filesystem::remove(temporary_files().at(0)); });
  options.progres_window = &acting;
  import(bare_document("2.0", "D"));
  expect_failure("Expected kcd document version '1.0.1073', but found version '2.0'.");
  EXPECT_THAT(sink.notifications, SizeIs(1));
}

TEST_F(ImportFailures, ACopyThatCannotBeDeletedNeedsNobodyToTell) {
  ActingSink acting("Processing document",
                    [&] { std::filesystem::remove(temporary_files().at(0)); });
  options.progres_window = &acting;
  options.notifications = nullptr;
  import(whole_document());
  EXPECT_TRUE(importer->succeeded);
}

// Processing the document

TEST_F(ImportFailures, AnAbsentDatabaseName) {
  import(R"(<database version="1.0.1073" description=""/>)");
  expect_failure("Cannot create DSS database because of Invalid use of Null in KCD document");
  EXPECT_THAT(processing_messages(), ElementsAre("Processing document"));
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(ImportFailures, AnAbsentDatabaseNameOutdoesAWrongVersion) {
  import("<database version=\"2.0\"/>");
  expect_failure("Cannot create DSS database because of Invalid use of Null in KCD document");
}

TEST_F(ImportFailures, AnEmptyDatabaseName) {
  import(bare_document("1.0.1073", ""));
  EXPECT_FALSE(importer->succeeded);
  EXPECT_THAT(importer->last_error, StartsWith("Cannot create DSS database because of "));
  EXPECT_THAT(importer->last_error, HasSubstr(" in OLAP server"));
  EXPECT_THAT(stored_databases(), IsEmpty());
}

TEST_F(ImportFailures, AnAbsentDescriptionCreatesNoDatabase) {
  import(R"(<database version="1.0.1073" name="D"/>)");
  expect_failure("Cannot create DSS database because of Invalid use of Null in KCD document");
  EXPECT_THAT(processing_messages(), ElementsAre("Processing document", "Creating database 'D'"));
  EXPECT_THAT(stored_databases(), IsEmpty());
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(ImportFailures, AnErrorThatIsNoneOfTheImportersOwnNamesTheProgram) {
  ActingSink acting("Creating roles", [] { throw std::runtime_error("window gone"); });
  options.progres_window = &acting;
  import(whole_document());
  expect_failure("Cannot create DSS database because of window gone in ImportKCD");
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(ImportFailures, NoExceptionOfTheSinkLeavesTheEarlierSteps) {
  for (const char* message : {"Opening DSO server", "Opening kcd document file"}) {
    ActingSink acting(message, [] { throw std::runtime_error("window gone"); });
    options.progres_window = &acting;
    import(whole_document());
    EXPECT_FALSE(importer->succeeded);
    EXPECT_THAT(importer->last_error, HasSubstr("window gone"));
  }
}

TEST_F(ImportFailures, AFailedStoringIsToldInTheDriversWords) {
  hook = fail_operation("finish");
  import(whole_document());
  expect_failure("Cannot create DSS database because of refused by the test in OLAP server");
  EXPECT_EQ(processing_messages(), whole_document_messages(false));
  EXPECT_THAT(stored_databases(), IsEmpty());
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(ImportFailures, AnEarlierErrorStaysWhenStoringFailsToo) {
  hook = fail_operation("finish");
  import(bare_document("2.0", "D"));
  expect_failure("Expected kcd document version '1.0.1073', but found version '2.0'.");
}

TEST_F(ImportFailures, AFailedOperationOfAnySectionThatTrapsNothingReachesTheDriver) {
  for (const char* operation :
       {"hold_database Shop", "stored_objects", "add_database Shop", "write_back_database Shop",
        "write_back_cube Sales", "write_back_dimension Channel", "structure_is_valid Stock"}) {
    clear_store();
    hook = fail_operation(operation);
    import(whole_document());
    expect_failure("Cannot create DSS database because of refused by the test in OLAP server");
    EXPECT_THAT(temporary_files(), IsEmpty());
  }
}

TEST_F(ImportFailures, AFailedOperationOfASectionWithATrapIsItsBareText) {
  for (const char* operation : {"write_back_data_source Warehouse", "write_back_dimension Time"}) {
    clear_store();
    hook = fail_operation(operation);
    import(whole_document());
    expect_failure("refused by the test");
    EXPECT_THAT(temporary_files(), IsEmpty());
  }
}

}  // namespace
}  // namespace importkcd::testing
