#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace importkcd::testing {

/// What the servers that tests start for themselves have in common. They listen on the loopback
/// interface, run as an ordinary user even when the tests are root's, and end with the test.

/// A port of the loopback interface that nobody listens on at this moment.
int free_port();

/// Whether somebody listens on that port of the loopback interface.
bool accepts_connections(int port);

/// The beginning of a command: what follows it is a program and its arguments. That program gets
/// the signal, such as "KILL", when this process ends, and runs as the first of these users that
/// there is ("nobody" when there is none) when this process is root's.
std::vector<std::string> unprivileged_command(const std::string& signal,
                                              const std::vector<std::string>& users);

/// Makes that user the owner of a file or folder, when this process is root's.
void hand_over(const std::string& path, const std::vector<std::string>& users);

/// Starts a command with an empty standard input and both outputs in a file. The test fails when it
/// cannot be started.
pid_t start_server(std::vector<std::string> command, const std::string& log_file);

/// Whether a process that this one started still runs.
bool runs(pid_t process);

/// Waits for a condition while a server runs, but no longer than two minutes.
bool wait_for_server(const std::function<bool()>& condition, pid_t server);

}  // namespace importkcd::testing
