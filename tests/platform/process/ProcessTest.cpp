#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/base/Exception.h"
#include "platform/process/Application.h"
#include "platform/process/RunningApplications.h"
#include "platform/process/RuntimeDirectory.h"
#include "platform/process/Spawn.h"

namespace qrl::process {
namespace {

namespace fs = std::filesystem;

class ProcessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/qrl-process-test-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    root_ = pattern;
    runtime_ = root_ / "run";
    setenv("QRL_RUNTIME_DIR", runtime_.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("QRL_RUNTIME_DIR");
    fs::remove_all(root_);
  }

  static bool waitFor(const std::function<bool()>& condition) {
    for (int i = 0; i < 100; ++i) {
      if (condition())
        return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
  }

  fs::path root_;
  fs::path runtime_;
};

TEST_F(ProcessTest, RuntimeDirectoryIsPrivateAndRefusedWhenOpenToOthers) {
  std::string dir = runtimeDirectory();
  EXPECT_EQ(dir, runtime_.string());
  struct stat st {};
  ASSERT_EQ(stat(dir.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0700u);

  chmod(dir.c_str(), 0755);
  EXPECT_THROW(runtimeDirectory(), Exception);
}

TEST_F(ProcessTest, SpawnDetachedRunsTheProgramWithItsArguments) {
  fs::path out = root_ / "out.txt";
  pid_t pid = spawnDetached("/bin/sh", {"-c", "echo \"$0 $1\" > " + out.string(), "a", "b c"});
  EXPECT_GT(pid, 0);
  ASSERT_TRUE(waitFor([&] { return fs::exists(out) && fs::file_size(out) > 0; }));
  std::ifstream in(out);
  std::string line;
  std::getline(in, line);
  EXPECT_EQ(line, "a b c");
}

TEST_F(ProcessTest, SpawnOfAMissingProgramThrows) {
  EXPECT_THROW(spawnDetached("/no/such/program", {}), Exception);
}

TEST_F(ProcessTest, RegisteredApplicationIsFoundWhileHeldAndGoneAfter) {
  const std::string bundle = "com.example.TestParent";
  EXPECT_TRUE(runningApplicationsWithBundleIdentifier(bundle).empty());
  {
    auto registration = registerRunningApplication(bundle, "Test Parent");
    auto apps = runningApplicationsWithBundleIdentifier(bundle);
    ASSERT_EQ(apps.size(), 1u);
    EXPECT_EQ(apps[0].processIdentifier, getpid());
    EXPECT_EQ(apps[0].bundleIdentifier, bundle);
    EXPECT_EQ(apps[0].localizedName, "Test Parent");
    EXPECT_TRUE(runningApplicationsWithBundleIdentifier("com.example.Other").empty());
  }
  EXPECT_TRUE(runningApplicationsWithBundleIdentifier(bundle).empty());
}

TEST_F(ProcessTest, EntryOfADeadOwnerReadsAsGoneAndIsRemoved) {
  std::string entry = runtimeSubdirectory("apps") + "/com.example.Crashed@999999";
  std::ofstream(entry) << "Crashed\n";
  EXPECT_TRUE(runningApplicationsWithBundleIdentifier("com.example.Crashed").empty());
  EXPECT_FALSE(fs::exists(entry));
}

TEST_F(ProcessTest, UnregisteredParentIsFoundInTheProcessListByExecutableName) {
  fs::path program = root_ / "FakeParent7";
  fs::create_symlink("/bin/sleep", program);
  pid_t pid = spawnDetached(program.string(), {"30"});
  bool found = waitFor([&] {
    for (const auto& app : runningApplicationsWithBundleIdentifier("com.example.FakeParent7")) {
      if (app.processIdentifier == pid)
        return true;
    }
    return false;
  });
  kill(pid, SIGKILL);
  EXPECT_TRUE(found);
}

TEST(Application, TerminateRunsHandlersOnceAndWakesWaiters) {
  Application application;
  int calls = 0;
  application.addTerminationHandler([&] { ++calls; });
  std::thread waiter([&] { application.waitForTermination(); });
  application.terminate();
  application.terminate();
  waiter.join();
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(application.isTerminating());
}

TEST(Application, ArgumentsKeepTheExecutableAtIndexZero) {
  Application application;
  char a0[] = "/x/qrl-conduit", a1[] = "4021";
  char* argv[] = {a0, a1};
  application.setArguments(2, argv);
  EXPECT_EQ(application.arguments(), (std::vector<std::string>{"/x/qrl-conduit", "4021"}));
}

}  // namespace
}  // namespace qrl::process
