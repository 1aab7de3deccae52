#include "fsutil/CommandRunner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>
#include <string>

#include "platform/base/Exception.h"
#include "tests/platform/base/InterruptingSignals.h"

namespace qrl::fsutil {
namespace {

TEST(CommandRunner, ReportsExitStatusAndBothStreams) {
  struct Case {
    const char* script;
    std::string out;
    std::string err;
    int status;
  } const cases[] = {
      {"exit 0", "", "", 0},
      {"echo out; echo err >&2; exit 3", "out\n", "err\n", 3},
      {"echo before; kill -9 $$", "before\n", "", 128 + SIGKILL},
      {"exit 255", "", "", 255},
  };
  for (const auto& c : cases) {
    const CommandOutput result = runCommand("/bin/sh", {"-c", c.script});
    EXPECT_EQ(result.standardOutput, c.out) << c.script;
    EXPECT_EQ(result.standardError, c.err) << c.script;
    EXPECT_EQ(result.exitStatus, c.status) << c.script;
  }
}

TEST(CommandRunner, LeavesNoChildBehind) {
  for (int i = 0; i < 20; ++i)
    runCommand("/bin/true", {});
  EXPECT_THROW(runCommand("/nonexistent/program", {}), Exception);
  errno = 0;
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST(CommandRunner, ChildInheritsOnlyTheStandardStreams) {
  // A descriptor opened without close-on-exec must still not reach the child.
  const int leaky = ::open("/dev/null", O_RDONLY);
  ASSERT_GE(leaky, 0);
  const CommandOutput result = runCommand("/bin/sh", {"-c", "ls /proc/$$/fd"});
  ::close(leaky);
  std::istringstream lines(result.standardOutput);
  std::string line;
  int count = 0;
  while (std::getline(lines, line)) {
    ++count;
    EXPECT_TRUE(line == "0" || line == "1" || line == "2") << "descriptor " << line << " leaked";
  }
  EXPECT_EQ(count, 3);
}

TEST(CommandRunner, KeepsOutputWhenChildrenAreReapedElsewhere) {
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigemptyset(&ignore.sa_mask);
  struct sigaction previous {};
  ASSERT_EQ(::sigaction(SIGCHLD, &ignore, &previous), 0);
  const CommandOutput result = runCommand("/bin/sh", {"-c", "echo reaped; exit 2"});
  ::sigaction(SIGCHLD, &previous, nullptr);
  EXPECT_EQ(result.standardOutput, "reaped\n");
  EXPECT_EQ(result.exitStatus, kExitStatusUnknown);
}

TEST(CommandRunner, SurvivesInterruptingSignals) {
  // poll, read and waitpid fail with EINTR over and over while the child runs.
  CommandOutput result;
  {
    testing::InterruptingSignals interrupts;
    result =
        runCommand("/bin/sh", {"-c", "sleep 0.2; head -c 200000 /dev/zero | tr '\\0' y; exit 4"});
  }

  EXPECT_EQ(result.standardOutput, std::string(200000, 'y'));
  EXPECT_EQ(result.exitStatus, 4);
}

}  // namespace
}  // namespace qrl::fsutil
