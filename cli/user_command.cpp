#include <crypt.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <istream>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "base/files.h"
#include "base/import_error.h"
#include "base/shared_library.h"
#include "base/text.h"
#include "base/whole_file.h"
#include "cli/arguments.h"
#include "cli/commands.h"

namespace importkcd {
namespace {

constexpr std::string_view user_source = "kcd";
/// Two to this power is the number of rounds: about a tenth of a second in the engine's host.
constexpr unsigned long bcrypt_cost = 10;
/// bcrypt takes no notice of what stands behind.
constexpr std::size_t longest_password = 72;
constexpr std::size_t longest_name = 200;

[[noreturn]] void refuse_user(const std::string& reason,
                              FailureCause cause = FailureCause::command_line) {
  throw ImportError("kcd: " + reason, user_source, cause);
}

bool has_control_character(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == '\x7F'; });
}

void check_name(const std::string& name) {
  if (name.empty() || name.size() > longest_name || name.find(':') != std::string::npos ||
      name.front() == '#' || has_control_character(name)) {
    refuse_user(
        "'" + printable(name) +
        "' cannot be a user's name: it is empty or long, begins with '#', or has a colon or a "
        "control character");
  }
}

void check_password(const std::string& password) {
  if (password.empty() || password.size() > longest_password || has_control_character(password)) {
    refuse_user("a password has 1 to 72 bytes, none of them a control character");
  }
}

/// The terminal that standard input is, without its echo from constructor to destructor.
class SilentTerminal {
 public:
  SilentTerminal() {
    if (tcgetattr(STDIN_FILENO, &former_) == 0) {
      auto silent = former_;
      silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
      is_silent_ = tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
    }
  }
  ~SilentTerminal() {
    if (is_silent_) {
      tcsetattr(STDIN_FILENO, TCSAFLUSH, &former_);
    }
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

 private:
  termios former_{};
  bool is_silent_ = false;
};

std::string typed_line(const CommandEnvironment& environment, const char* prompt) {
  environment.err << prompt << std::flush;
  std::string line;
  std::getline(environment.in, line);
  environment.err << '\n';
  return line;
}

std::string asked_password(const CommandEnvironment& environment) {
  if (isatty(STDIN_FILENO) == 0) {
    return read_password("-", environment.in);
  }
  // A signal leaves the echo off, as it does with other programs that ask for passwords.
  const SilentTerminal silent;
  auto password = typed_line(environment, "Password: ");
  if (typed_line(environment, "The same again: ") != password) {
    refuse_user("these were two different passwords");
  }
  return password;
}

std::string hashed(const std::string& password) {
  const SharedLibrary library(CRYPT_LIBRARY, "password", user_source);
  const LibraryFunction<decltype(&crypt_gensalt_rn)> gensalt(library, "crypt_gensalt_rn");
  const LibraryFunction<decltype(&crypt_r)> crypt(library, "crypt_r");
  std::array<char, CRYPT_GENSALT_OUTPUT_SIZE> salt{};
  const auto data = std::make_unique<crypt_data>();
  const char* hash = nullptr;
  if (gensalt("$2y$", bcrypt_cost, nullptr, 0, salt.data(), static_cast<int>(salt.size())) !=
      nullptr) {
    hash = crypt(password.c_str(), salt.data(), data.get());
  }
  if (hash == nullptr || !std::string_view(hash).starts_with("$2y$")) {
    refuse_user("the system's library of passwords knows no bcrypt", FailureCause::refused);
  }
  return hash;
}

using Lines = std::vector<std::string>;

/// The lines of a file; none when it is not there and need not be.
Lines lines_in(const std::string& file, bool must_be_there) {
  std::error_code error;
  Lines lines;
  if (!must_be_there && !std::filesystem::exists(file, error)) {
    return lines;
  }
  std::istringstream stream(text_of_file(file, user_source));
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// Empty for a line that is no user's.
std::string name_in(const std::string& line) {
  return line.starts_with('#') || line.find(':') == std::string::npos
             ? std::string()
             : line.substr(0, line.find(':'));
}

/// Lets other commands wait that change the same file, until this object ends. The file itself is
/// locked, so that nothing lies beside it and its own permissions say who may wait for it. It is
/// looked for again when another command has replaced it meanwhile. Made when it is not there, for
/// its owner only. A file that cannot be locked is not: writing it tells why, if it cannot be.
class HeldFile {
 public:
  explicit HeldFile(const std::string& path) {
    do {
      if (std::error_code error; !std::filesystem::exists(path, error)) {
        make_fresh_file([&](int) { return path; }, S_IRUSR | S_IWUSR);
      }
      file_ = FileDescriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
      while (::flock(file_.number(), LOCK_EX) != 0 && errno == EINTR) {
      }
    } while (file_.is_open() && !is_at(path));
  }

 private:
  bool is_at(const std::string& path) const {
    struct stat held {};
    struct stat there {};
    return ::fstat(file_.number(), &held) == 0 && ::stat(path.c_str(), &there) == 0 &&
           held.st_dev == there.st_dev && held.st_ino == there.st_ino;
  }

  FileDescriptor file_;
};

void change_lines(const std::string& file, const std::function<void(Lines&)>& change) {
  const HeldFile held(file);
  auto lines = lines_in(file, true);
  change(lines);
  // A file that is there keeps its permissions.
  WholeFile whole(file, user_source);
  for (const auto& line : lines) {
    whole.append(line + "\n");
  }
  whole.finish();
}

class UserCommand : public Command {
 public:
  explicit UserCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  void add(const CommandEnvironment& environment) const;
  void remove() const;
  void list(const CommandEnvironment& environment) const;

  CLI::App* add_ = nullptr;
  CLI::App* remove_ = nullptr;
  CLI::App* list_ = nullptr;
  std::string file_;
  std::string name_;
};

UserCommand::UserCommand(CLI::App& program)
    : Command(program, "user", "Keep the file of those who may log in to kcd serve") {
  const auto with_file = [this](const char* name, const char* description) {
    auto* command = command_->add_subcommand(name, description);
    command->add_option("FILE", file_, "The file of users")->required()->type_name("");
    return command;
  };
  add_ = with_file("add",
                   "Add a user, or give one another password, which is asked for on the terminal "
                   "or read from standard input");
  remove_ = with_file("remove", "Remove a user");
  for (auto* command : {add_, remove_}) {
    command->add_option("NAME", name_, "The user's name")->required()->type_name("");
  }
  list_ = with_file("list", "List the users' names");
  command_->require_subcommand(1);
}

int UserCommand::run(const CommandEnvironment& environment) const {
  if (add_->parsed()) {
    add(environment);
  } else if (remove_->parsed()) {
    remove();
  } else {
    list(environment);
  }
  return exit_status::success;
}

void UserCommand::add(const CommandEnvironment& environment) const {
  check_name(name_);
  // One that cannot be read needs no password.
  lines_in(file_, false);
  const auto password = asked_password(environment);
  check_password(password);
  const auto line = name_ + ":" + hashed(password);
  change_lines(file_, [&](Lines& lines) {
    const auto own = std::find_if(lines.begin(), lines.end(), [&](const std::string& other) {
      return name_in(other) == name_;
    });
    if (own == lines.end()) {
      lines.push_back(line);
    } else {
      *own = line;
    }
  });
}

void UserCommand::remove() const {
  lines_in(file_, true);
  change_lines(file_, [&](Lines& lines) {
    const auto removed =
        std::erase_if(lines, [&](const std::string& line) { return name_in(line) == name_; });
    if (removed == 0) {
      refuse_user("there is no user '" + printable(name_) + "' in '" + file_ + "'",
                  FailureCause::refused);
    }
  });
}

void UserCommand::list(const CommandEnvironment& environment) const {
  for (const auto& line : lines_in(file_, true)) {
    if (const auto name = name_in(line); !name.empty()) {
      environment.out << printable(name) << '\n';
    }
  }
}

}  // namespace

std::unique_ptr<const Command> make_user_command(CLI::App& program) {
  return std::make_unique<const UserCommand>(program);
}

}  // namespace importkcd
