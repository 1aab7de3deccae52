#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "protocol/RVM4Application.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;

TEST(Identity, TableOfAnswersPerClassWithInheritance) {
  QRLApplication base;
  RVMApplication product;
  RVM4Application four;
  struct Row {
    const QRLApplication& app;
    std::string title, executable, id, bundle, location, distributedId, preferenceKey;
  };
  for (const Row& r : std::vector<Row>{
           {base, "Quorlan Application", "Quorlan Application", "0000", "",
            "/Applications/Quorlan Application", "QuorlanApplication_0000",
            "QRLDefaultPathToQuorlan Application"},
           {product, "Ravelmark", "Ravelmark4", "1115", "com.quorlan.Ravelmark",
            "/Applications/Ravelmark", "Ravelmark_1115", "QRLDefaultPathToRavelmark"},
           {four, "Ravelmark", "Ravelmark4", "1115", "com.quorlan.Ravelmark4",
            "/Applications/Ravelmark4.app", "Ravelmark_1115", "QRLDefaultPathToRavelmark"}}) {
    EXPECT_EQ(r.app.applicationTitle(), r.title);
    EXPECT_EQ(r.app.currentExecutableTitle(), r.executable);
    EXPECT_EQ(r.app.applicationId(), r.id);
    EXPECT_EQ(r.app.bundleId(), r.bundle);
    EXPECT_EQ(r.app.defaultLocation(), r.location);
    EXPECT_EQ(r.app.distributedId(), r.distributedId);
    EXPECT_EQ(r.app.preferencesDefaultPathKey(), r.preferenceKey);
  }
  EXPECT_TRUE(base.downloadFilePath().empty());
  EXPECT_NE(four.downloadFilePath(), product.downloadFilePath());
}

TEST(Identity, EachClassHasOneSharedInstanceEvenUnderConcurrentFirstUse) {
  std::vector<RVM4Application*> seen(8);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < seen.size(); ++i) {
    threads.emplace_back([&, i] { seen[i] = &RVM4Application::sharedInstance(); });
  }
  for (auto& t : threads)
    t.join();
  EXPECT_EQ(std::set<RVM4Application*>(seen.begin(), seen.end()).size(), 1u);
  EXPECT_NE(static_cast<QRLApplication*>(&RVMApplication::sharedInstance()),
            static_cast<QRLApplication*>(&RVM4Application::sharedInstance()));
  EXPECT_EQ(&QRLApplication::sharedInstance(), &QRLApplication::sharedInstance());
}

class TempDirectoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/qrl-identity-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    root_ = pattern;
    oldTmp_ = getenv("TMPDIR") ? getenv("TMPDIR") : "";
    oldHome_ = getenv("HOME") ? getenv("HOME") : "";
    setenv("TMPDIR", (root_ / "tmp").c_str(), 1);
    setenv("HOME", "/home/ann", 1);
    fs::create_directories(root_ / "tmp");
  }
  void TearDown() override {
    setenv("TMPDIR", oldTmp_.c_str(), 1);
    setenv("HOME", oldHome_.c_str(), 1);
    fs::remove_all(root_);
  }
  fs::path root_;
  std::string oldTmp_, oldHome_;
};

TEST_F(TempDirectoryTest, NamedAfterTheApplicationAndTheUsersHomeFolder) {
  RVMApplication app;
  EXPECT_EQ(app.tempDirectory(), (root_ / "tmp" / "Ravelmark1115-ann").string());
}

TEST_F(TempDirectoryTest, ClearingAMissingDirectoryCreatesNothing) {
  RVMApplication app;
  app.clearTempDirectory();
  EXPECT_FALSE(fs::exists(app.tempDirectory()));
}

TEST_F(TempDirectoryTest, ConfigureEmptiesNestedContentAndKeepsTheDirectory) {
  RVMApplication app;
  app.createTempDirectory();
  fs::create_directories(fs::path(app.tempDirectory()) / "Sub1" / "deep");
  std::ofstream(fs::path(app.tempDirectory()) / "Sub1" / "deep" / "f.mov") << "x";
  std::ofstream(fs::path(app.tempDirectory()) / "loose.txt") << "y";
  app.configureTempDirectory();
  ASSERT_TRUE(fs::is_directory(app.tempDirectory()));
  EXPECT_TRUE(fs::is_empty(app.tempDirectory()));
}

TEST_F(TempDirectoryTest, UniqueSubDirectoriesAreNumberedBelow100000AndNotCreated) {
  RVMApplication app;
  app.createTempDirectory();
  for (int i = 0; i < 50; ++i) {
    fs::path sub = app.uniqueTempSubDirectory();
    EXPECT_EQ(sub.parent_path(), fs::path(app.tempDirectory()));
    std::string name = sub.filename().string();
    ASSERT_EQ(name.rfind("Sub", 0), 0u) << name;
    long number = std::stol(name.substr(3));
    EXPECT_GE(number, 0);
    EXPECT_LT(number, 100000);
    EXPECT_FALSE(fs::exists(sub));
  }
}

}  // namespace
}  // namespace qrl
