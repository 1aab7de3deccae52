#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace qrl::process {

// Starts the executable at `path` with `arguments` (after the program name)
// and does not wait for it. A detached reaper collects its exit status so no
// zombie is left. Standard input comes from /dev/null; output is inherited.
// Throws qrl::Exception (IO) when the program cannot be started.
pid_t spawnDetached(const std::string& path, const std::vector<std::string>& arguments);

pid_t currentProcessIdentifier();

// The absolute path of this process's own executable (/proc/self/exe).
std::string currentExecutablePath();

}  // namespace qrl::process
