#include "tests/cli/faults/traced_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>

#include "base/files.h"
#include "base/system.h"

namespace importkcd::testing {
#ifdef __x86_64__
namespace {

/// A stop of this kind is a system call's beginning or end.
constexpr int system_call_stop = SIGTRAP | 0x80;
/// No call: the system carries out nothing.
constexpr auto no_call = static_cast<unsigned long long>(-1);

constexpr std::array never_failing{SYS_exit_group, SYS_exit, SYS_rt_sigreturn, SYS_restart_syscall,
                                   SYS_munmap,     SYS_brk,  SYS_futex,        SYS_execve};

FileDescriptor memory_file() { return FileDescriptor(memfd_create("importkcd-test", MFD_CLOEXEC)); }

std::string content_of(const FileDescriptor& file) {
  std::string content(static_cast<std::size_t>(lseek(file.number(), 0, SEEK_END)), '\0');
  EXPECT_EQ(pread(file.number(), content.data(), content.size(), 0),
            static_cast<ssize_t>(content.size()));
  return content;
}

/// The beginning of a text in another process.
std::string text_at(pid_t process, unsigned long long address, std::size_t size) {
  std::string text(size, '\0');
  iovec here{text.data(), size};
  iovec there{reinterpret_cast<void*>(address), size};  // NOLINT(performance-no-int-to-ptr)
  const auto count = process_vm_readv(process, &here, 1, &there, 1, 0);
  text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return text;
}

/// A program under way, stopped at each of its system calls.
class Tracer {
 public:
  Tracer(pid_t process, std::string watched_folder, const Interference& interference)
      : process_(process),
        watched_folder_(std::move(watched_folder)),
        interference_(interference) {}

  void run_to_its_end(TracedResult& result) {
    int status = 0;
    waitpid(process_, &status, 0);
    ptrace(PTRACE_SETOPTIONS, process_, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    int signal = 0;
    while (WIFSTOPPED(status)) {
      ptrace(PTRACE_SYSCALL, process_, nullptr, signal);
      waitpid(process_, &status, 0);
      signal = WIFSTOPPED(status) ? WSTOPSIG(status) : 0;
      if (signal == system_call_stop) {
        signal = 0;
        begins_ = !begins_;
        begins_ ? call_begins() : call_ends();
      }
    }
    result.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.calls = calls_;
    result.interfered = interfered_;
  }

 private:
  void call_begins() {
    user_regs_struct registers{};
    ptrace(PTRACE_GETREGS, process_, nullptr, &registers);
    const auto number = static_cast<long>(registers.orig_rax);
    counts_ =
        counts_ || (number == SYS_openat &&
                    text_at(process_, registers.rsi, watched_folder_.size()) == watched_folder_);
    if (!counts_ ||
        std::find(never_failing.begin(), never_failing.end(), number) != never_failing.end()) {
      return;
    }
    if (++calls_ != interference_.call) {
      return;
    }
    interfered_ = number;
    if (interference_.error == 0) {
      kill(process_, SIGKILL);
      return;
    }
    registers.orig_rax = no_call;
    ptrace(PTRACE_SETREGS, process_, nullptr, &registers);
    fails_ = true;
  }

  void call_ends() {
    if (fails_) {
      fails_ = false;
      user_regs_struct registers{};
      ptrace(PTRACE_GETREGS, process_, nullptr, &registers);
      registers.rax = static_cast<unsigned long long>(-interference_.error);
      ptrace(PTRACE_SETREGS, process_, nullptr, &registers);
    }
  }

  pid_t process_;
  std::string watched_folder_;
  Interference interference_;
  /// Whether the last stop was a call's beginning.
  bool begins_ = false;
  bool counts_ = false;
  bool fails_ = false;
  int calls_ = 0;
  long interfered_ = -1;
};

}  // namespace

bool can_trace() {
  const auto child = fork();
  if (child == 0) {
    _exit(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TracedResult run_traced(ProcessStart start, const std::string& watched_folder,
                        const Interference& interference) {
  start.arguments.insert(start.arguments.begin(), start.program);
  auto environment = environment_with(start.environment);
  const auto arguments = pointers_to(start.arguments);
  const auto variables = pointers_to(environment);
  const FileDescriptor input(open("/dev/null", O_RDONLY | O_CLOEXEC));
  const auto output = memory_file();
  const auto errors = memory_file();
  const auto child = fork();
  if (child == 0) {
    dup2(input.number(), STDIN_FILENO);
    dup2(output.number(), STDOUT_FILENO);
    dup2(errors.number(), STDERR_FILENO);
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    execve(start.program.c_str(), arguments.data(), variables.data());
    _exit(127);
  }
  TracedResult result;
  Tracer(child, watched_folder, interference).run_to_its_end(result);
  result.output = content_of(output);
  result.errors = content_of(errors);
  return result;
}
#else
bool can_trace() { return false; }

TracedResult run_traced(ProcessStart /*start*/, const std::string& /*watched_folder*/,
                        const Interference& /*interference*/) {
  return {};
}
#endif

}  // namespace importkcd::testing
