#pragma once
// Runs the built vantrove tool as a separate process with chosen standard
// streams, environment, folder and user, for the tests that check how it
// treats a user's files.
#include <sys/types.h>

#include <string>
#include <vector>

namespace vantrove::testing {

struct ToolRun {
  int status = -1;  // exit code, or -1 when killed by a signal
  int signal = 0;   // the signal that ended it
  std::string out;  // standard output (unless sent to a file)
  std::string err;  // standard error
};

struct ToolOptions {
  std::string input = "/dev/null";  // standard input
  std::string output;               // standard output to this file ("" = captured)
  std::string folder;               // working folder ("" = the test's)
  std::vector<std::pair<std::string, std::string>> env;  // added to the environment
  uid_t uid = 0;                    // run as this user and its group (0 = as the test runs)
  bool closedOutput = false;        // standard output is a pipe nobody reads (SIGPIPE on write)
};

// Runs `vantrove ARGS` and waits for it.
ToolRun RunTool(const std::vector<std::string>& args, const ToolOptions& options = {});

// Starts `vantrove ARGS` with its standard input a pipe kept open by the
// caller (`input_fd`); standard output and error go to /dev/null.
pid_t StartTool(const std::vector<std::string>& args, const ToolOptions& options, int& input_fd);

// Waits for a started tool.
ToolRun WaitTool(pid_t pid);

// The unprivileged user tests switch to: nobody (65534).
inline constexpr uid_t kNobody = 65534;
// True when this process may switch users (runs as root).
bool CanSwitchUser();

}  // namespace vantrove::testing
