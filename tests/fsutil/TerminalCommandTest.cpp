#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "fsutil/QRLFileSystemUtility.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"
#include "tests/fsutil/TempDirectory.h"

namespace qrl {
namespace {

using process::CapturingLog;
using Args = std::vector<std::string>;

struct RunCase {
  const char* label;
  std::string path;
  Args arguments;
  std::string joined;     // executeTerminalCommand
  std::string delimited;  // executeTerminalCommandWithDelimitedArguments
};

TEST(TerminalCommand, CapturesStandardOutput) {
  const RunCase cases[] = {
      {"echo", "/bin/echo", {"hello", "world"}, "hello world", "hello world\n"},
      {"no arguments", "/bin/true", {}, "", ""},
      {"several lines", "/bin/sh", {"-c", "printf 'a\\nb\\n\\nc'"}, "abc", "a\nb\n\nc"},
      {"non-zero exit keeps output",
       "/bin/sh",
       {"-c", "echo partial; exit 3"},
       "partial",
       "partial\n"},
      {"failing with no output", "/bin/false", {}, "", ""},
      {"standard error is not output", "/bin/sh", {"-c", "echo out; echo err >&2"}, "out", "out\n"},
      {"arguments pass verbatim",
       "/bin/sh",
       {"-c", "printf '%s|' \"$@\"", "sh", "a b", "", "*", "$HOME"},
       "a b||*|$HOME|",
       "a b||*|$HOME|"},
      {"standard input is empty", "/bin/cat", {}, "", ""},
      {"UTF-8 output", "/bin/echo", {"caf\xc3\xa9"}, "caf\xc3\xa9", "caf\xc3\xa9\n"},
      {"carriage returns stay", "/bin/sh", {"-c", "printf 'a\\r\\nb'"}, "a\rb", "a\r\nb"},
  };
  const QRLFileSystemUtility utility;
  CapturingLog log;
  for (const auto& c : cases) {
    EXPECT_EQ(utility.executeTerminalCommand(c.path, c.arguments), c.joined) << c.label;
    EXPECT_EQ(utility.executeTerminalCommand(c.path, c.arguments, false), c.joined) << c.label;
    EXPECT_EQ(utility.executeTerminalCommandWithDelimitedArguments(c.path, c.arguments, true),
              c.delimited)
        << c.label;
  }
  EXPECT_TRUE(log.messages().empty());
}

TEST(TerminalCommand, LargeOutputOnBothStreamsDoesNotStall) {
  const QRLFileSystemUtility utility;
  // Far more than a pipe holds, on standard error first, then on standard output.
  const Args script = {
      "-c", "head -c 3000000 /dev/zero >&2; head -c 3000000 /dev/zero | tr '\\0' x; echo"};
  const auto joined = utility.executeTerminalCommand("/bin/sh", script);
  ASSERT_TRUE(joined.has_value());
  EXPECT_EQ(joined->size(), 3000000u);
  EXPECT_EQ(joined->find_first_not_of('x'), std::string::npos);

  const auto delimited =
      utility.executeTerminalCommandWithDelimitedArguments("/bin/sh", script, true);
  ASSERT_TRUE(delimited.has_value());
  EXPECT_EQ(delimited->size(), 3000001u);
  EXPECT_EQ(delimited->back(), '\n');
}

TEST(TerminalCommand, OutputThatIsNotUtf8GivesNothing) {
  const QRLFileSystemUtility utility;
  CapturingLog log;
  const Args script = {"-c", "printf 'ok\\377'"};
  EXPECT_EQ(utility.executeTerminalCommand("/bin/sh", script), std::nullopt);
  EXPECT_EQ(utility.executeTerminalCommandWithDelimitedArguments("/bin/sh", script, true),
            std::nullopt);
  EXPECT_TRUE(log.messages().empty());
}

TEST(TerminalCommand, MissingProgram) {
  testing::TempDirectory dir;
  const std::string missing = dir.path("no-such-program");
  const QRLFileSystemUtility utility;
  CapturingLog log;

  // Checked: nothing runs and nothing is logged.
  EXPECT_FALSE(utility.terminalCommandPathIsAvailable(missing));
  EXPECT_EQ(utility.executeTerminalCommand(missing, {}), std::nullopt);
  EXPECT_EQ(utility.executeTerminalCommandWithDelimitedArguments(missing, {}, true), std::nullopt);
  EXPECT_TRUE(log.messages().empty());

  // Unchecked: the start fails, which is logged, or thrown by the delimited form.
  EXPECT_EQ(utility.executeTerminalCommand(missing, {"x"}, false), std::nullopt);
  EXPECT_EQ(log.messages(), std::vector<std::string>{"Ex"});
  EXPECT_THROW(utility.executeTerminalCommandWithDelimitedArguments(missing, {}, false), Exception);
  EXPECT_EQ(log.messages().size(), 1u);
}

TEST(TerminalCommand, ExistingButNotRunnable) {
  testing::TempDirectory dir;
  const std::string script = dir.touch("not-executable.sh");
  const QRLFileSystemUtility utility;
  CapturingLog log;

  // Something exists, so the check passes; starting it fails.
  EXPECT_TRUE(utility.terminalCommandPathIsAvailable(script));
  EXPECT_TRUE(utility.terminalCommandPathIsAvailable(dir.path()));
  EXPECT_EQ(utility.executeTerminalCommand(script, {}), std::nullopt);
  EXPECT_EQ(utility.executeTerminalCommand(dir.path(), {}), std::nullopt);
  EXPECT_EQ(log.messages(), (std::vector<std::string>{"Ex", "Ex"}));
  EXPECT_THROW(utility.executeTerminalCommandWithDelimitedArguments(script, {}, true), Exception);
}

TEST(TerminalCommand, LooksUpCommandsOnTheSearchPath) {
  const QRLFileSystemUtility utility;
  CapturingLog log;
  for (const std::string name : {"sh", "ps", "echo"}) {
    const auto found = utility.pathForTerminalCommand(name);
    ASSERT_TRUE(found.has_value()) << name;
    EXPECT_EQ(found->front(), '/') << *found;
    EXPECT_EQ(found->substr(found->rfind('/') + 1), name) << *found;
    EXPECT_EQ(found->find('\n'), std::string::npos) << *found;
    EXPECT_EQ(::access(found->c_str(), X_OK), 0) << *found;
  }
  EXPECT_EQ(utility.pathForTerminalCommand("qrl-no-such-command-4711"), std::nullopt);
  EXPECT_EQ(utility.pathForTerminalCommand(""), std::nullopt);
  EXPECT_TRUE(log.messages().empty());
}

TEST(TerminalCommand, ProcessListComesBackAsOneLine) {
  // What the process-list parent watch does: find ps, run it for one pid.
  const QRLFileSystemUtility utility;
  const auto ps = utility.pathForTerminalCommand("ps");
  ASSERT_TRUE(ps.has_value());
  const std::string pid = std::to_string(::getpid());

  const auto delimited = utility.executeTerminalCommandWithDelimitedArguments(*ps, {pid}, true);
  ASSERT_TRUE(delimited.has_value());
  EXPECT_GE(std::count(delimited->begin(), delimited->end(), '\n'), 2) << *delimited;

  const auto joined = utility.executeTerminalCommand(*ps, {pid});
  ASSERT_TRUE(joined.has_value());
  EXPECT_EQ(joined->find('\n'), std::string::npos);
  EXPECT_NE(joined->find("PID"), std::string::npos) << *joined;
  EXPECT_NE(joined->find(pid), std::string::npos) << *joined;

  // A process that is gone leaves only the header.
  const auto gone = utility.executeTerminalCommand(*ps, {"999999999"});
  ASSERT_TRUE(gone.has_value());
  EXPECT_EQ(gone->find("999999999"), std::string::npos) << *gone;
}

}  // namespace
}  // namespace qrl
