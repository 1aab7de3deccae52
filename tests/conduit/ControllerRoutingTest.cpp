#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>

#include "conduit/QRLQTConduitAppController.h"
#include "platform/base/Exception.h"
#include "platform/ipc/RunLoop.h"
#include "platform/process/SystemLog.h"
#include "protocol/QRLRemoteInterface.h"
#include "settings/SettingsPresets.h"

namespace qrl {
namespace {

using archive::Value;

// A service that answers a chosen set of selectors and records what it
// performed and on which thread.
class RecordingService : public QRLServiceObject {
 public:
  RecordingService(std::string name, std::vector<std::string> selectors)
      : name_(std::move(name)), selectors_(selectors.begin(), selectors.end()) {}
  std::string_view className() const override { return name_; }
  std::optional<ipc::MethodSignature> instanceMethodSignatureForSelector(
      std::string_view selector) const override {
    if (!respondsToSelector(selector))
      return std::nullopt;
    return ipc::MethodSignature{{}, kind::Object};
  }
  bool respondsToSelector(std::string_view selector) const override {
    return selectors_.contains(selector);
  }
  Value invoke(std::string_view selector, const Arguments&) override {
    performed.emplace_back(selector);
    thread = std::this_thread::get_id();
    return Value(name_);
  }

  std::vector<std::string> performed;
  std::thread::id thread;

 private:
  std::string name_;
  std::set<std::string, std::less<>> selectors_;
};

struct Services {
  std::shared_ptr<RecordingService> qt =
      std::make_shared<RecordingService>("QT", std::vector<std::string>{"onlyQt", "qtAndOverlay"});
  std::shared_ptr<RecordingService> parser = std::make_shared<RecordingService>(
      "Parser", std::vector<std::string>{"overlayAndParser", "parserAndWriter", "onlyParser"});
  std::shared_ptr<RecordingService> overlay = std::make_shared<RecordingService>(
      "Overlay", std::vector<std::string>{"qtAndOverlay", "overlayAndParser"});
  std::shared_ptr<RecordingService> writer = std::make_shared<RecordingService>(
      "Writer", std::vector<std::string>{"parserAndWriter", "onlyWriter"});

  QRLConduitServiceFactory factory() {
    return [this] { return QRLConduitServices{qt, parser, overlay, writer}; };
  }
};

// Runs the main loop on a thread of its own until the work queued so far is
// done; returns that thread's identifier.
std::thread::id drainMainLoop() {
  auto& loop = ipc::RunLoop::main();
  std::thread mainThread([&] { loop.run(); });
  std::thread::id mainId = mainThread.get_id();
  std::atomic<bool> drained{false};
  loop.perform([&] { drained = true; });
  while (!drained)
    std::this_thread::yield();
  loop.stop();
  mainThread.join();
  return mainId;
}

TEST(ConduitRouting, EachMessageGoesToTheFirstServiceInDispatchOrder) {
  Services services;
  QRLQTConduitAppController controller(services.factory());
  struct Case {
    std::string selector;
    std::string performer;
  };
  for (const Case& c : std::vector<Case>{{"onlyQt", "QT"},
                                         {"qtAndOverlay", "QT"},
                                         {"overlayAndParser", "Overlay"},
                                         {"onlyWriter", "Writer"}}) {
    EXPECT_EQ(controller.invoke(c.selector, {}), Value(c.performer)) << c.selector;
  }
  EXPECT_TRUE(services.parser->performed.empty());
}

TEST(ConduitRouting, SettingsParserWorkIsQueuedToTheMainLoopAndTheCallerGetsNil) {
  Services services;
  QRLQTConduitAppController controller(services.factory());
  EXPECT_TRUE(controller.invoke("parserAndWriter", {}).isNull());
  EXPECT_TRUE(controller.invoke("onlyParser", {}).isNull());
  EXPECT_TRUE(services.parser->performed.empty()) << "performed before the caller got its reply";
  EXPECT_TRUE(services.writer->performed.empty());

  std::thread::id mainId = drainMainLoop();
  EXPECT_EQ(services.parser->performed,
            (std::vector<std::string>{"parserAndWriter", "onlyParser"}));
  EXPECT_EQ(services.parser->thread, mainId);
}

TEST(ConduitRouting, SignaturesAreLookedUpInDeclarationOrderThenOnTheController) {
  Services services;
  QRLQTConduitAppController controller(services.factory());
  EXPECT_EQ(controller.helperClasses(),
            (std::vector<std::string_view>{"QT", "Parser", "Overlay", "Writer",
                                           "QRLQTConduitAppController"}));
  EXPECT_TRUE(controller.methodSignatureForSelector("overlayAndParser").has_value());
  EXPECT_FALSE(controller.methodSignatureForSelector("nobodyKnowsThis").has_value());

  // Known only to the controller's own class: performed there, not forwarded.
  auto signature = controller.methodSignatureForSelector("communicationLocked");
  ASSERT_TRUE(signature.has_value());
  EXPECT_EQ(signature->result, kind::Bool);
  EXPECT_EQ(controller.invoke("communicationLocked", {}), Value(false));
  controller.invoke("lockCommunication", {});
  EXPECT_EQ(controller.invoke("communicationLocked", {}), Value(true));
  EXPECT_GT(*controller.invoke("distributedProcessIdentifier", {}).integer(), 0);
}

TEST(ConduitRouting, EmptySlotsAnswerNothingAndUnansweredMessagesFail) {
  Services services;
  QRLQTConduitAppController controller([&] {
    return QRLConduitServices{nullptr, nullptr, nullptr, services.writer};
  });
  EXPECT_EQ(controller.helperClasses()[0], std::string_view());
  EXPECT_FALSE(controller.methodSignatureForSelector("onlyQt").has_value());
  EXPECT_EQ(controller.invoke("parserAndWriter", {}), Value("Writer"));
  EXPECT_THROW(controller.invoke("onlyQt", {}), Exception);
}

TEST(ConduitRouting, TheDefaultConduitServesTheEditListWriter) {
  QRLQTConduitAppController controller;
  auto signature = controller.methodSignatureForSelector(
      "saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode:");
  ASSERT_TRUE(signature.has_value());
  EXPECT_EQ(signature->result, kind::Bool);
  ASSERT_EQ(controller.helperClasses()[3], "QRLMediaDocumentWriter32");
  // Malformed arguments of the right kinds are refused with a clear error.
  EXPECT_THROW(controller.invoke("saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode:",
                                 {Value("not an array"), Value(Value::Array{}), Value(false)}),
               Exception);
}

// The proof that the caller is answered before the parser works: the
// parser's log line appears only once the main loop runs, on its thread.
TEST(ConduitRouting, TheDefaultConduitsSettingsParserAnswersNilAndWorksLaterOnTheMainLoop) {
  QRLQTConduitAppController controller;
  ASSERT_EQ(controller.helperClasses()[1], "QRLQTSettingsParser");
  std::mutex mutex;
  std::vector<std::pair<std::thread::id, std::string>> logged;
  auto previous = process::SystemLog::setSink([&](std::string_view message) {
    std::lock_guard lock(mutex);
    logged.emplace_back(std::this_thread::get_id(), std::string(message));
  });
  archive::Data preset = settings::SettingsPresets::largeSettings();
  EXPECT_TRUE(
      controller.invoke("loadCompressorPanelWithCompressionData:", {Value(preset)}).isNull());
  {
    std::lock_guard lock(mutex);
    EXPECT_TRUE(logged.empty()) << "the parser ran before the caller had its answer";
  }

  std::thread::id mainId = drainMainLoop();
  process::SystemLog::setSink(previous);
  ASSERT_EQ(logged.size(), 1u);
  EXPECT_EQ(logged[0].first, mainId);
  EXPECT_EQ(logged[0].second,
            "loadCompressorPanelWithCompressionData: " + std::to_string(preset.size()) +
                " bytes of settings, " + std::to_string(preset.size()) +
                " bytes chosen; the caller was answered nil");
}

// Every row is served by exactly one performer or declared unserved; a
// service answering a row the controller performs itself, or nothing
// answering a served row, is reported by name.
TEST(ConduitRouting, EveryRowHasOnePerformerOrIsDeclaredUnserved) {
  QRLQTConduitAppController controller;
  EXPECT_EQ(controller.performerProblems(), std::vector<std::string>{});

  Services services;
  services.qt = std::make_shared<RecordingService>(
      "QT", std::vector<std::string>{"killSelf", "removeAudioTracksFromQuicktimeMovieAtPath:"});
  QRLQTConduitAppController broken(services.factory());
  auto problems = broken.performerProblems();
  auto mentions = [&](const std::string& text) {
    return std::find(problems.begin(), problems.end(), text) != problems.end();
  };
  EXPECT_TRUE(mentions("killSelf has 2 performers"));
  EXPECT_TRUE(
      mentions("removeAudioTracksFromQuicktimeMovieAtPath: is declared unserved but has a "
               "performer"));
  EXPECT_TRUE(mentions("durationOfFileInMiliseconds: has 0 performers"));
  EXPECT_THROW(broken.awakeFromNib(), Exception);
}

}  // namespace
}  // namespace qrl
