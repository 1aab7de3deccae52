// Runs the built qrl program and collects its exit status and output.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace apps_testing {

struct Outcome {
  int status = -1;
  std::string out, err;
};

inline std::string slurp(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// Runs `args[0]` with the rest as its arguments.
inline Outcome run(std::vector<std::string> args) {
  char outPath[] = "/tmp/qrl-test-out-XXXXXX";
  char errPath[] = "/tmp/qrl-test-err-XXXXXX";
  int outFd = mkstemp(outPath);
  int errFd = mkstemp(errPath);
  EXPECT_GE(outFd, 0);
  EXPECT_GE(errFd, 0);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, outFd, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errFd, STDERR_FILENO);
  std::vector<char*> argv;
  for (auto& arg : args) {
    argv.push_back(arg.data());
  }
  argv.push_back(nullptr);
  Outcome outcome;
  pid_t pid = 0;
  int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  EXPECT_EQ(spawned, 0) << "cannot start " << args[0];
  int waitStatus = 0;
  if (spawned == 0 && waitpid(pid, &waitStatus, 0) == pid && WIFEXITED(waitStatus)) {
    outcome.status = WEXITSTATUS(waitStatus);
  }
  close(outFd);
  close(errFd);
  outcome.out = slurp(outPath);
  outcome.err = slurp(errPath);
  unlink(outPath);
  unlink(errPath);
  return outcome;
}

inline Outcome qrl(std::vector<std::string> args) {
  args.insert(args.begin(), QRL_PROGRAM);
  return run(std::move(args));
}

}  // namespace apps_testing
