#include "platform/process/Spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <thread>

#include "platform/base/Exception.h"
#include "platform/base/FileIO.h"

extern char** environ;

namespace qrl::process {

pid_t spawnDetached(const std::string& path, const std::vector<std::string>& arguments) {
  std::vector<std::string> argvStrings;
  argvStrings.reserve(arguments.size() + 1);
  argvStrings.push_back(path);
  argvStrings.insert(argvStrings.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (auto& s : argvStrings)
    argv.push_back(s.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  // Its own process group, so a terminal's ^C aimed at the parent does not
  // reach the child mid-job.
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, 0);

  pid_t pid = 0;
  int rc = posix_spawn(&pid, path.c_str(), &actions, &attributes, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (rc != 0)
    throw Exception::fromErrno("spawn", path, rc);

  std::thread([pid] {
    int status = 0;
    retryOnInterrupt([&] { return ::waitpid(pid, &status, 0); });
  }).detach();
  return pid;
}

pid_t currentProcessIdentifier() {
  return getpid();
}

std::string currentExecutablePath() {
  char buffer[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  if (n < 0)
    throw Exception::fromErrno("readlink", "/proc/self/exe", errno);
  return std::string(buffer, static_cast<size_t>(n));
}

}  // namespace qrl::process
