// The C++ client library against a real conduit process.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "clients/cpp/QRLConduitClient.h"
#include "platform/base/Exception.h"

namespace qrl::client {
namespace {

namespace fs = std::filesystem;

class ClientTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/qrl-client-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    root_ = pattern;
    setenv("QRL_RUNTIME_DIR", (root_ / "run").c_str(), 1);
    const char* binary = getenv("QRL_BINARY_DIR");
    setenv("QRL_CONDUIT",
           (std::string(binary ? binary : "build") + "/apps/qrl-conduit/qrl-conduit").c_str(), 1);
  }
  void TearDown() override {
    unsetenv("QRL_RUNTIME_DIR");
    unsetenv("QRL_CONDUIT");
    fs::remove_all(root_);
  }
  fs::path root_;
};

TEST_F(ClientTest, TypedProxiesCarryTheWireFormsTheConduitChecks) {
  auto conduit = QRLConduitClient::launch();
  ASSERT_NE(conduit, nullptr);
  EXPECT_EQ(conduit->name(), std::to_string(conduit->processIdentifier()));
  EXPECT_EQ(conduit->communication().distributedProcessIdentifier(), conduit->processIdentifier());
  EXPECT_FALSE(conduit->communication().communicationLocked());

  // A record whose movie is missing is skipped: the document is the bare root.
  archive::Value record(archive::Value::Dictionary{{"filePath", archive::Value("/no/such.mov")}});
  fs::path xml = root_ / "group.xml";
  EXPECT_TRUE(conduit->documentWriter().saveFinalCut7XmlToPathsForTimecodeDetailsInGroup(
      {xml.string()}, {record}, true));
  std::ifstream in(xml);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(text.find("<xmeml version=\"5\"></xmeml>"), std::string::npos) << text;

  // A second client reaches the same conduit by name.
  auto again = QRLConduitClient::connect(conduit->name());
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->processIdentifier(), conduit->processIdentifier());
  EXPECT_EQ(QRLConduitClient::connect("nobody"), nullptr);

  // Services this build lacks answer with a clear error, not a hang.
  try {
    conduit->distributedOverlay().removeAudioTracksFromQuicktimeMovieAtPath("/no/such.mov");
    FAIL() << "an absent service answered";
  } catch (const Exception& e) {
    EXPECT_NE(std::string(e.what()).find("unrecognized selector"), std::string::npos) << e.what();
  }
}

TEST_F(ClientTest, AConduitThatCannotStartIsAClearError) {
  EXPECT_THROW(QRLConduitClient::launch((root_ / "missing-conduit").string()), Exception);
}

}  // namespace
}  // namespace qrl::client
