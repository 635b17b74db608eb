#include "cli/mdx_check.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "base/files.h"
#include "base/import_error.h"
#include "check/kcd_format.h"
#include "importer/import_olapdb_from_kcd_doc.h"

namespace importkcd {
namespace {

/// A fresh folder that only its owner can read; it goes away with this object.
class TemporaryServerFolder {
 public:
  TemporaryServerFolder() : path_((std::filesystem::temp_directory_path() / pattern).string()) {
    if (::mkdtemp(path_.data()) == nullptr) {
      throw ImportError("Cannot make a folder " + path_ + ": " + system_description(errno), "kcd");
    }
  }
  ~TemporaryServerFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryServerFolder(const TemporaryServerFolder&) = delete;
  TemporaryServerFolder& operator=(const TemporaryServerFolder&) = delete;

  const std::string& path() const { return path_; }

 private:
  static constexpr const char* pattern = "importkcd-check-XXXXXX";
  std::string path_;
};

class KeepingSink : public NotificationSink {
 public:
  void show_message(const std::string& text) override { messages.push_back(text); }
  std::vector<std::string> messages;
};

/// The finding that a message of the server is: at the cube whose name it begins with, if it does.
Finding placed(const KcdDocument& document, const std::string& message) {
  for (const auto kind : {ElementKind::cubes, ElementKind::virtual_cubes}) {
    const auto* cubes = child_of_kind(document.root(), kind);
    const auto& format = format_of(*format_of(kind).every_child);
    std::size_t number = 0;
    for (const KcdElement& cube : children_of(cubes)) {
      auto part = path_part(format, cube, ++number);
      part.front() = static_cast<char>(part.front() - 'a' + 'A');
      if (cube.attribute("name") && message.starts_with(part + " ")) {
        return {Severity::warning, cube.position(), path_part(format, cube, number),
                rule::not_for_mdx, message.substr(part.size() + 1)};
      }
    }
  }
  return {Severity::warning, document.root().position(), "", rule::not_for_mdx, message};
}

}  // namespace

std::vector<Finding> check_for_mdx(const KcdDocument& document, const std::string& file,
                                   const OlapServerFactory& open_server) {
  const TemporaryServerFolder folder;
  KeepingSink sink;
  ImportOLAPDBFromKCDDoc importer(open_server);
  importer.kcd_document_file_name = file;
  importer.machine_name = "mondrian:" + folder.path();
  importer.ImportType = import_type::incremental;
  importer.import_partitions = true;
  importer.after_failure = AfterFailure::keep;
  importer.notifications = &sink;
  importer.succeeded = true;
  importer.make();
  std::vector<Finding> findings;
  for (const auto& message : sink.messages) {
    // What an import says about incomplete cubes follows from the reasons.
    if (message.find("is stored although it is not complete") == std::string::npos) {
      findings.push_back(placed(document, message));
    }
  }
  if (!importer.succeeded && findings.empty()) {
    throw ImportError(importer.last_error, "kcd");
  }
  return findings;
}

}  // namespace importkcd
