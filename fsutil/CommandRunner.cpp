#include "fsutil/CommandRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "platform/base/Exception.h"
#include "platform/base/FileIO.h"

extern char** environ;

namespace qrl::fsutil {
namespace {

struct Pipe {
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
};

Pipe makePipe() {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0)
    throw Exception::fromErrno("pipe", "for command output", errno);
  return {FileDescriptor(fds[0]), FileDescriptor(fds[1])};
}

class SpawnActions {
 public:
  SpawnActions() {
    if (const int err = posix_spawn_file_actions_init(&actions_); err != 0) {
      throw Exception::fromErrno("posix_spawn_file_actions_init", "", err);
    }
  }
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;

  posix_spawn_file_actions_t* get() { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

// Reads both pipes until each reports end of file.
void drain(FileDescriptor& out, FileDescriptor& err, CommandOutput& result) {
  std::array<char, 65536> buffer;
  while (out.valid() || err.valid()) {
    std::array<pollfd, 2> fds{{{out.get(), POLLIN, 0}, {err.get(), POLLIN, 0}}};
    if (retryOnInterrupt([&] { return ::poll(fds.data(), fds.size(), -1); }) < 0) {
      throw Exception::fromErrno("poll", "command output", errno);
    }
    for (size_t i = 0; i < fds.size(); ++i) {
      if (fds[i].fd < 0 || fds[i].revents == 0)
        continue;
      FileDescriptor& fd = i == 0 ? out : err;
      std::string& sink = i == 0 ? result.standardOutput : result.standardError;
      const ssize_t n =
          retryOnInterrupt([&] { return ::read(fd.get(), buffer.data(), buffer.size()); });
      if (n < 0)
        throw Exception::fromErrno("read", "command output", errno);
      if (n == 0) {
        fd.reset();
      } else {
        sink.append(buffer.data(), static_cast<size_t>(n));
      }
    }
  }
}

void checkSpawnCall(int err, const char* what) {
  if (err != 0)
    throw Exception::fromErrno(what, "", err);
}

int waitForExit(pid_t pid) {
  int status = 0;
  if (retryOnInterrupt([&] { return ::waitpid(pid, &status, 0); }) < 0) {
    // With SIGCHLD ignored elsewhere in the process the kernel reaps the
    // child itself; the output is complete, only the status is lost.
    if (errno == ECHILD)
      return kExitStatusUnknown;
    throw Exception::fromErrno("waitpid", std::to_string(pid), errno);
  }
  if (WIFSIGNALED(status))
    return 128 + WTERMSIG(status);
  return WEXITSTATUS(status);
}

}  // namespace

CommandOutput runCommand(const std::string& path, const std::vector<std::string>& arguments) {
  Pipe out = makePipe();
  Pipe err = makePipe();

  SpawnActions actions;
  checkSpawnCall(
      posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0),
      "posix_spawn_file_actions_addopen");
  // dup2 clears close-on-exec on the copies; the originals close at exec.
  checkSpawnCall(posix_spawn_file_actions_adddup2(actions.get(), out.writeEnd.get(), STDOUT_FILENO),
                 "posix_spawn_file_actions_adddup2");
  checkSpawnCall(posix_spawn_file_actions_adddup2(actions.get(), err.writeEnd.get(), STDERR_FILENO),
                 "posix_spawn_file_actions_adddup2");
  // Descriptors that other code opened without close-on-exec stay out of the child.
  checkSpawnCall(posix_spawn_file_actions_addclosefrom_np(actions.get(), STDERR_FILENO + 1),
                 "posix_spawn_file_actions_addclosefrom_np");

  std::vector<char*> argv;
  argv.reserve(arguments.size() + 2);
  argv.push_back(const_cast<char*>(path.c_str()));
  for (const auto& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  pid_t pid = 0;
  // glibc reports a failed exec here, so a missing or non-executable program
  // is an error from posix_spawn rather than a child that exits 127.
  if (const int spawnError =
          posix_spawn(&pid, path.c_str(), actions.get(), nullptr, argv.data(), environ);
      spawnError != 0) {
    throw Exception::fromErrno("posix_spawn", path, spawnError);
  }
  out.writeEnd.reset();
  err.writeEnd.reset();

  CommandOutput result;
  try {
    drain(out.readEnd, err.readEnd, result);
  } catch (...) {
    // Never leave a zombie behind, even when reading failed.
    out.readEnd.reset();
    err.readEnd.reset();
    waitForExit(pid);
    throw;
  }
  result.exitStatus = waitForExit(pid);
  return result;
}

}  // namespace qrl::fsutil
