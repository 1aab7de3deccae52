#pragma once

#include <string>
#include <vector>

// Runs one program to completion and captures what it prints.
namespace qrl::fsutil {

// The exit status when the child was reaped by someone else (SIGCHLD ignored).
inline constexpr int kExitStatusUnknown = -1;

struct CommandOutput {
  std::string standardOutput;
  std::string standardError;
  // The exit code, 128 plus the signal number when a signal ended it, or
  // kExitStatusUnknown.
  int exitStatus = 0;
};

// Starts the executable at `path` (no PATH search) with `arguments` after the
// program name, standard input from /dev/null and both output streams on
// pipes that are drained together while it runs, so a chatty program never
// blocks on a full pipe. Returns once both streams have ended and the
// program has exited. The child inherits the environment and no other file
// descriptors. Throws qrl::Exception (IO) when the program cannot be started.
CommandOutput runCommand(const std::string& path, const std::vector<std::string>& arguments);

}  // namespace qrl::fsutil
