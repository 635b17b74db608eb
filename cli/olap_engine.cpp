#include "cli/olap_engine.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

#include "base/connection_text.h"
#include "base/import_error.h"
#include "base/system.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view component = "OLAP engine";
constexpr const char* host_jar = "importkcd-olap-server.jar";
constexpr const char* main_class = "importkcd.olapserver.OlapServer";
constexpr const char* library_folder = "/usr/share/java";

[[noreturn]] void fail(const std::string& description) {
  throw ImportError(description, component);
}

bool is_program(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error) && access(path.c_str(), X_OK) == 0;
}

/// JAVA_HOME's, or the first one on the search path.
std::string java_program() {
  if (const char* home = std::getenv("JAVA_HOME"); home != nullptr && *home != '\0') {
    const auto java = fs::path(home) / "bin" / "java";
    if (is_program(java)) {
      return java.string();
    }
  }
  const char* path = std::getenv("PATH");
  std::istringstream folders(path == nullptr ? "" : path);
  for (std::string folder; std::getline(folders, folder, ':');) {
    const auto java = fs::path(folder) / "java";
    if (!folder.empty() && is_program(java)) {
      return java.string();
    }
  }
  fail(
      "the OLAP engine needs Java 17 or newer, and there is no 'java' on the search path "
      "(Debian package default-jre-headless)");
}

/// The folder of the engine's host: named by the environment, beside this program, or where an
/// installed one has it.
fs::path host_folder() {
  if (const char* folder = std::getenv("IMPORTKCD_OLAP_SERVER");
      folder != nullptr && *folder != '\0') {
    return folder;
  }
  std::error_code error;
  const auto programs = fs::read_symlink("/proc/self/exe", error).parent_path();
  auto beside = programs / "olap-server";
  if (fs::exists(beside / host_jar, error)) {
    return beside;
  }
  return (programs / KCD_HOST_FOLDER).lexically_normal();
}

/// The class path of the engine: its host and the libraries that the list beside it names.
std::string class_path() {
  const auto folder = host_folder();
  std::error_code error;
  std::ifstream list(folder / "libraries.txt");
  if (!list || !fs::exists(folder / host_jar, error)) {
    fail("the OLAP engine's host is not there: " + (folder / host_jar).string());
  }
  auto path = (folder / host_jar).string();
  std::string missing;
  for (std::string line; std::getline(list, line);) {
    std::istringstream words(line);
    std::string jar;
    std::string package;
    if (!(words >> jar >> package) || jar.starts_with('#')) {
      continue;
    }
    const auto file = fs::path(library_folder) / jar;
    if (!fs::exists(file, error)) {
      missing +=
          (missing.empty() ? " " : ", ") + file.string() + " (Debian package " + package + ")";
    }
    path += ":" + file.string();
  }
  if (!missing.empty()) {
    fail("libraries of the OLAP engine are missing:" + missing);
  }
  return path;
}

void check_directory(const std::string& directory) {
  std::error_code error;
  // Somebody may have put a connection string in its place.
  const auto shown = mask_passwords(directory);
  if (!fs::is_directory(directory, error)) {
    fail("there is no directory '" + shown + "'");
  }
  if (!fs::is_regular_file(fs::path(directory) / "datasources.xml", error)) {
    fail("'" + shown + "' holds no datasources.xml: nothing was imported into 'mondrian:" + shown +
         "' yet");
  }
}

/// Those of the drivers, each with a colon in front.
std::string driver_path(const std::vector<std::string>& jars) {
  std::string path;
  std::error_code error;
  for (const auto& jar : jars) {
    if (!fs::is_regular_file(jar, error)) {
      fail("there is no driver '" + jar + "'");
    }
    path += ":" + fs::absolute(jar, error).string();
  }
  return path;
}

/// The words by which the host is told what to do, behind its directory.
std::vector<std::string> host_words(const EngineOptions& options) {
  std::vector<std::string> words{"address=" + options.address,
                                 "port=" + std::to_string(options.port),
                                 "seconds=" + std::to_string(options.question_seconds)};
  const auto add = [&](const char* name, const std::string& value) {
    if (!value.empty()) {
      words.push_back(name + ("=" + value));
    }
  };
  for (const auto& host : options.hosts) {
    add("host", host);
  }
  add("users", options.users_file);
  if (options.grants == from_documents) {
    add("grants-from-documents", "yes");
  } else {
    add("grants", options.grants);
  }
  add("certificate", options.certificate_file);
  add("key", options.key_file);
  add("access-log", options.access_log_file);
  add("admin-port", options.admin_port ? std::to_string(*options.admin_port) : "");
  add("public-health", options.has_public_health ? "yes" : "");
  constexpr double seconds_per_minute = 60;
  add("check-aggregates",
      std::to_string(std::lround(std::ceil(options.aggregate_check_minutes * seconds_per_minute))));
  return words;
}

/// The engine decodes file names by the character set of its locale, which has to be UTF-8.
std::vector<std::string> engine_environment() { return environment_with({{"LC_ALL", "C.UTF-8"}}); }

/// Everything that the other side writes until it closes its end.
std::string read_pipe_to_end(int pipe_end) {
  std::string text;
  std::array<char, 4096> buffer{};
  ssize_t count = 0;
  while ((count = read(pipe_end, buffer.data(), buffer.size())) != 0) {
    if (count > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      break;
    }
  }
  return text;
}

/// The first line that the other side writes; less than a line when it ends before.
std::string read_pipe_line(int pipe_end) {
  std::string line;
  char c = '\0';
  ssize_t count = 0;
  while ((count = read(pipe_end, &c, 1)) != 0 && c != '\n') {
    if (count > 0) {
      line += c;
    } else if (errno != EINTR) {
      break;
    }
  }
  return line;
}

struct Pipe {
  Pipe() {
    std::array<int, 2> both{};
    if (pipe2(both.data(), O_CLOEXEC) != 0) {
      fail("the OLAP engine cannot be started: " + std::generic_category().message(errno));
    }
    reading = both[0];
    writing = both[1];
  }
  ~Pipe() {
    close(reading);
    close_writing();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  void close_writing() {
    if (writing >= 0) {
      close(std::exchange(writing, -1));
    }
  }

  int reading = -1;
  int writing = -1;
};

/// In the child: only calls that are safe between fork and exec.
[[noreturn]] void run_child(const std::vector<char*>& arguments, char* const* environment,
                            pid_t parent, const Pipe& output, const Pipe& errors) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(1);
  }
  dup2(output.writing, STDOUT_FILENO);
  dup2(errors.writing, STDERR_FILENO);
  execve(arguments[0], arguments.data(), environment);
  _exit(1);
}

}  // namespace

std::string engine_directory(std::string_view text) {
  constexpr std::string_view prefix = "mondrian:";
  return std::string(text.starts_with(prefix) ? text.substr(prefix.size()) : text);
}

std::vector<std::string> engine_command(const std::string& directory,
                                        const EngineOptions& options) {
  check_directory(directory);
  const auto java = java_program();
  const auto classes = class_path() + driver_path(options.driver_jars);
  std::vector<std::string> command{java, "-XX:+UseSerialGC"};
  const auto add = [&](const std::vector<std::string>& arguments) {
    command.insert(command.end(), arguments.begin(), arguments.end());
  };
  const EngineArchive archive(java, classes);
  add(options.is_for_one_question && !archive.exists() ? archive.make() : archive.use());
  if (options.is_for_one_question) {
    // It ends before the second compiler has earned what it costs.
    add({"-XX:TieredStopAtLevel=1", "-Dimportkcd.check=false"});
  }
  if (!options.heap.empty()) {
    add({"-Xmx" + options.heap});
  }
  if (options.concurrent_questions > 0) {
    add({"-Dimportkcd.questions=" + std::to_string(options.concurrent_questions)});
  }
  add({"-cp", classes, main_class, directory});
  add(host_words(options));
  return command;
}

void become_engine(const std::vector<std::string>& command) {
  auto arguments = command;
  auto environment = engine_environment();
  execve(command.front().c_str(), pointers_to(arguments).data(), pointers_to(environment).data());
  fail(command.front() + " cannot be started: " + std::generic_category().message(errno));
}

OlapEngine::OlapEngine(const std::string& directory) {
  EngineArchive archive(java_program(), class_path());
  auto reason = start(directory, archive);
  if (!reason.empty() && archive.exists()) {
    // It may be what is wrong.
    archive.discard();
    reason = start(directory, archive);
  }
  if (!reason.empty()) {
    fail(reason);
  }
}

std::string OlapEngine::start(const std::string& directory, const EngineArchive& archive) {
  // Whoever asks it sets the time, and ends it.
  auto command =
      engine_command(directory, {.port = 0, .question_seconds = 0, .is_for_one_question = true});
  const auto arguments = pointers_to(command);
  auto variables = engine_environment();
  const auto environment = pointers_to(variables);
  Pipe output;
  Pipe errors;
  const auto parent = getpid();
  process_ = fork();
  if (process_ == 0) {
    run_child(arguments, environment.data(), parent, output, errors);
  }
  if (process_ < 0) {
    fail("the OLAP engine cannot be started: " + std::generic_category().message(errno));
  }
  output.close_writing();
  errors.close_writing();
  const auto line = read_pipe_line(output.reading);
  const auto address = line.rfind(" at http://");
  if (address == std::string::npos) {
    stop();
    auto reason = read_pipe_to_end(errors.reading);
    reason.erase(reason.find_last_not_of('\n') + 1);
    return reason.empty() ? "the OLAP engine does not start" : reason;
  }
  address_ = line.substr(address + 4);
  if (!archive.exists()) {
    archive_ = archive;
  }
  return {};
}

OlapEngine::~OlapEngine() { stop(); }

void OlapEngine::stop() noexcept {
  if (process_ > 0) {
    // Asked to end it writes the archive before, once.
    kill(process_, archive_ ? SIGTERM : SIGKILL);
    int status = -1;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = -1;
    if (archive_ && status == 0) {
      archive_->keep();
    }
  }
}

}  // namespace importkcd
