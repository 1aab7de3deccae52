#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "protocol/QRLApplicationLauncher.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;

TEST(Launcher, TitlesGetOneAppSuffixWhateverItsCase) {
  struct Case {
    std::string title, bundle;
  };
  for (const Case& c : std::vector<Case>{{"Conduit", "Conduit.app"},
                                         {"Conduit.app", "Conduit.app"},
                                         {"Conduit.APP", "Conduit.APP"},
                                         {"Conduit.aPp", "Conduit.aPp"},
                                         {"app", "app.app"},
                                         {"Conduit.apps", "Conduit.apps.app"}}) {
    EXPECT_EQ(QRLApplicationLauncher::bundleNameForTitle(c.title), c.bundle) << c.title;
  }
}

class LauncherProcessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/qrl-launcher-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    root_ = pattern;
    setenv("QRL_RUNTIME_DIR", (root_ / "run").c_str(), 1);
  }
  void TearDown() override {
    unsetenv("QRL_RUNTIME_DIR");
    fs::remove_all(root_);
  }

  // A program that records its argument count and arguments.
  void writeRecorder(const fs::path& path) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << "#!/bin/sh\necho \"$# $*\" > " << (root_ / "args").string() << "\n";
    chmod(path.c_str(), 0755);
  }
  std::string recordedArguments() {
    for (int i = 0; i < 200 && !(fs::exists(root_ / "args") && fs::file_size(root_ / "args"));
         ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::ifstream in(root_ / "args");
    std::string line;
    std::getline(in, line);
    return line;
  }

  fs::path root_;
};

TEST_F(LauncherProcessTest, WithoutANameAndFlagTheChildGetsNoArguments) {
  writeRecorder(root_ / "tool");
  QRLApplicationLauncher launcher;
  EXPECT_TRUE(launcher.launchApplicationAtPath((root_ / "tool").string(), std::nullopt));
  EXPECT_EQ(launcher.launchCounter(), 1);
  EXPECT_EQ(recordedArguments(), "0 ");
}

TEST_F(LauncherProcessTest, ABundleRunsItsInnerExecutableWithNameThenFlag) {
  writeRecorder(root_ / "Tool.app" / "Contents" / "MacOS" / "Tool");
  QRLApplicationLauncher launcher;
  auto start = std::chrono::steady_clock::now();
  auto proxy = launcher.launchDistributedApplicationAtPath((root_ / "Tool.app").string(),
                                                           std::string("4021"), std::nullopt, true);
  auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(proxy, nullptr) << "the recorder never publishes a name";
  EXPECT_GE(waited, std::chrono::milliseconds(2900)) << "gives up only after about 3 s";
  EXPECT_EQ(recordedArguments(), "2 4021 QRLDistributedParentMustNotBeSelfArgument");
}

TEST_F(LauncherProcessTest, AProgramThatCannotStartIsLoggedAndStillAnswersYes) {
  QRLApplicationLauncher launcher;
  EXPECT_TRUE(launcher.launchApplicationAtPath((root_ / "missing").string(), std::nullopt));
  EXPECT_EQ(launcher.launchCounter(), 0);
}

}  // namespace
}  // namespace qrl
