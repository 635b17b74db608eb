#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/engine_archive.h"

namespace importkcd {

/// Where the OLAP engine listens unless told otherwise.
constexpr const char* default_engine_address = "127.0.0.1";
constexpr std::uint16_t default_engine_port = 8712;
constexpr std::uint32_t default_question_seconds = 300;
constexpr double default_aggregate_check_minutes = 15;

/// A folder that a document was imported into, as it may be named: the prefix "mondrian:" of a
/// server's text is dropped.
std::string engine_directory(std::string_view text);

/// How the OLAP engine serves.
struct EngineOptions {
  std::string address = default_engine_address;
  /// 0 is any free one.
  std::uint16_t port = default_engine_port;
  /// A question ends after so many seconds; 0 is never.
  std::uint32_t question_seconds = default_question_seconds;
  /// Names that requests may be meant for, beside the address and those of this computer's loopback
  /// interface.
  std::vector<std::string> hosts{};
  /// Who may log in, a file as htpasswd writes it with bcrypt; empty: everybody may ask.
  std::string users_file{};
  /// Who sees what: a file, or from_documents; empty: who logs in sees everything.
  std::string grants{};
  /// A certificate and its key, in PEM; both or none.
  std::string certificate_file{};
  std::string key_file{};
  std::string access_log_file{};
  /// Where health and metrics are told on the loopback interface.
  std::optional<std::uint16_t> admin_port{};
  /// Tell health where questions are answered, too.
  bool has_public_health = false;
  /// How often aggregate tables are compared with the facts; 0 is never.
  double aggregate_check_minutes = default_aggregate_check_minutes;
  /// JDBC drivers beside those of the host.
  std::vector<std::string> driver_jars{};
  /// The most memory, as Java takes it ("2g"); empty: what Java finds fit.
  std::string heap{};
  /// How many questions are answered at the same time; 0: as the host finds fit.
  std::uint32_t concurrent_questions = 0;
  /// For one question: what does not help it is left out.
  bool is_for_one_question = false;
};

/// Grants that are the user lists of the documents' roles.
constexpr const char* from_documents = "from-documents";

/// The command that serves a directory's catalogues over XMLA: program and arguments. Throws
/// ImportError, whose description says what is missing, when it cannot be carried out: the
/// directory, its datasources.xml, Java, the engine's host or its libraries.
std::vector<std::string> engine_command(const std::string& directory, const EngineOptions& options);

/// Makes this process the engine; it returns only by throwing ImportError.
[[noreturn]] void become_engine(const std::vector<std::string>& command);

/// An engine of this process's own, on a free port of the loopback interface. It ends with this
/// object, and with this process, too.
class OlapEngine {
 public:
  /// Waits until the engine answers. Throws ImportError when it cannot be started; its description
  /// is what the engine said.
  explicit OlapEngine(const std::string& directory);
  ~OlapEngine();
  OlapEngine(const OlapEngine&) = delete;
  OlapEngine& operator=(const OlapEngine&) = delete;

  /// Its XMLA address.
  const std::string& address() const { return address_; }

 private:
  /// Why it cannot be started; empty when it answers.
  std::string start(const std::string& directory, const EngineArchive& archive);
  void stop() noexcept;

  pid_t process_ = -1;
  /// What the engine writes when it ends; nothing when that is there already.
  std::optional<EngineArchive> archive_;
  std::string address_;
};

}  // namespace importkcd
