// End-to-end: real conduit processes started as a parent starts them, talked
// to over their real sockets.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "conduit/QRLDistributedAppController.h"
#include "platform/archive/PropertyList.h"
#include "platform/base/Exception.h"
#include "platform/ipc/Message.h"
#include "platform/ipc/Server.h"
#include "platform/process/RunningApplications.h"
#include "platform/process/Spawn.h"
#include "protocol/QRLApplicationLauncher.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;
using archive::Value;
using Clock = std::chrono::steady_clock;

constexpr int kIntervalMs = 200;

class ConduitProcessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/qrl-conduit-e2e-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    root_ = pattern;
    setenv("QRL_RUNTIME_DIR", (root_ / "run").c_str(), 1);
    setenv("QRL_WATCH_INTERVAL_MS", std::to_string(kIntervalMs).c_str(), 1);
    const char* binary = getenv("QRL_BINARY_DIR");
    conduit_ = std::string(binary ? binary : "build") + "/apps/qrl-conduit/qrl-conduit";
    ASSERT_TRUE(fs::exists(conduit_)) << conduit_;
  }
  void TearDown() override {
    for (pid_t pid : started_)
      kill(pid, SIGKILL);
    unsetenv("QRL_RUNTIME_DIR");
    unsetenv("QRL_WATCH_INTERVAL_MS");
    fs::remove_all(root_);
  }

  // This test process stands in for the running parent application.
  void registerAsParent() {
    registration_ = process::registerRunningApplication("com.quorlan.Ravelmark4", "Ravelmark4");
  }

  std::unique_ptr<ipc::Proxy> launch(std::optional<std::string> name = std::nullopt) {
    QRLApplicationLauncher launcher;
    auto proxy = launcher.launchDistributedApplicationAtPath(
        conduit_, name, QRLProtocol::QRLDistributedAppCommunicationProtocol);
    lastPid_ = launcher.lastLaunchedProcessIdentifier();
    started_.push_back(lastPid_);
    return proxy;
  }

  pid_t start(const std::vector<std::string>& arguments) {
    pid_t pid = process::spawnDetached(conduit_, arguments);
    started_.push_back(pid);
    return pid;
  }

  static bool alive(pid_t pid) { return kill(pid, 0) == 0; }

  // How long until the process is gone, or nothing within the limit.
  static std::optional<std::chrono::milliseconds> exitsWithin(pid_t pid,
                                                              std::chrono::milliseconds limit) {
    auto start = Clock::now();
    while (Clock::now() - start < limit) {
      if (!alive(pid)) {
        return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return std::nullopt;
  }

  fs::path root_;
  std::string conduit_;
  std::vector<pid_t> started_;
  pid_t lastPid_ = 0;
  std::unique_ptr<process::ApplicationRegistration> registration_;
};

TEST_F(ConduitProcessTest, AParentLaunchesConnectsAndCallsTheControllerAndAService) {
  registerAsParent();
  auto start = Clock::now();
  auto proxy = launch();
  auto connected = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
  ASSERT_NE(proxy, nullptr);
  RecordProperty("launch_to_connection_us", static_cast<int>(connected.count()));
  std::printf("launch to connection: %.1f ms\n", connected.count() / 1000.0);
  EXPECT_EQ(proxy->name(), std::to_string(lastPid_)) << "published under its process identifier";

  proxy->send("setParentProcessId:", {Value(static_cast<int64_t>(getpid()))});
  EXPECT_EQ(proxy->send("distributedProcessIdentifier"), Value(static_cast<int64_t>(lastPid_)));
  EXPECT_EQ(proxy->send("communicationLocked"), Value(false));
  proxy->send("lockCommunication");
  EXPECT_EQ(proxy->send("communicationLocked"), Value(true));

  fs::path out = root_ / "empty.xml";
  Value written =
      proxy->send("saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode:",
                  {Value(Value::Array{Value(out.string())}), Value(Value::Array{}), Value(false)});
  EXPECT_EQ(written, Value(true));
  std::ifstream in(out);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(text.find("<xmeml"), std::string::npos) << text;

  // The settings parser's work is queued: the answer is nil, and serving goes on.
  EXPECT_TRUE(
      proxy->send("loadCompressorPanelWithCompressionData:", {Value(archive::Data{0, 1, 2, 3})})
          .isNull());

  // Alive well past six checks now that the parent reported itself.
  std::this_thread::sleep_for(std::chrono::milliseconds(8 * kIntervalMs));
  EXPECT_TRUE(alive(lastPid_));
  EXPECT_EQ(proxy->send("communicationLocked"), Value(true));
}

TEST_F(ConduitProcessTest, ItEndsSoonAfterTheParentApplicationIsGone) {
  // A parent seen only in the process list, by its executable name.
  fs::path parent = root_ / "Ravelmark4";
  fs::create_symlink("/bin/sleep", parent);
  pid_t parentPid = process::spawnDetached(parent.string(), {"60"});
  started_.push_back(parentPid);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));

  auto proxy = launch();
  ASSERT_NE(proxy, nullptr);
  proxy->send("setParentProcessId:", {Value(static_cast<int64_t>(parentPid))});
  std::this_thread::sleep_for(std::chrono::milliseconds(3 * kIntervalMs));
  ASSERT_TRUE(alive(lastPid_));

  kill(parentPid, SIGKILL);
  auto gone = exitsWithin(lastPid_, std::chrono::milliseconds(10 * kIntervalMs));
  ASSERT_TRUE(gone.has_value()) << "conduit outlived its parent";
  EXPECT_LE(gone->count(), 3 * kIntervalMs);
}

TEST_F(ConduitProcessTest, AParentThatNeverReportsItselfGetsTheConduitEndedOnTheSixthCheck) {
  registerAsParent();
  auto start = Clock::now();
  auto proxy = launch();
  ASSERT_NE(proxy, nullptr);
  auto gone = exitsWithin(lastPid_, std::chrono::milliseconds(20 * kIntervalMs));
  ASSERT_TRUE(gone.has_value());
  auto lived = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
  EXPECT_GE(lived.count(), 6 * kIntervalMs) << "ended before the sixth check";
  EXPECT_LE(lived.count(), 6 * kIntervalMs + 1500);
}

TEST_F(ConduitProcessTest, NoParentApplicationEndsItAtOnce) {
  pid_t pid = start({});
  EXPECT_TRUE(exitsWithin(pid, std::chrono::milliseconds(3000)).has_value());
}

TEST_F(ConduitProcessTest, ASecondConduitUnderALiveNameAndOneWithoutANameEnd) {
  registerAsParent();
  auto first = launch(std::string("shared-name"));
  ASSERT_NE(first, nullptr);
  pid_t firstPid = lastPid_;
  // Reported, so that it outlives the others however slowly they start and end.
  first->send("setParentProcessId:", {Value(static_cast<int64_t>(getpid()))});
  pid_t second = start({"shared-name"});
  EXPECT_TRUE(exitsWithin(second, std::chrono::milliseconds(3000)).has_value());
  pid_t unnamed = start({""});
  EXPECT_TRUE(exitsWithin(unnamed, std::chrono::milliseconds(3000)).has_value());
  EXPECT_TRUE(alive(firstPid));
  EXPECT_EQ(first->send("communicationLocked"), Value(false)) << "the first keeps its name";
}

TEST_F(ConduitProcessTest, AStaleSocketOfAKilledConduitDoesNotBlockANewOne) {
  registerAsParent();
  auto first = launch(std::string("reused"));
  ASSERT_NE(first, nullptr);
  kill(lastPid_, SIGKILL);
  ASSERT_TRUE(exitsWithin(lastPid_, std::chrono::milliseconds(2000)).has_value());
  EXPECT_TRUE(fs::exists(ipc::socketPathForName("reused"))) << "the killed one left its socket";
  auto second = launch(std::string("reused"));
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(second->send("distributedProcessIdentifier"), Value(static_cast<int64_t>(lastPid_)));
}

TEST_F(ConduitProcessTest, PublishingUnderASecondNameKeepsTheFirstServed) {
  registerAsParent();
  auto proxy = launch(std::string("first-name"));
  ASSERT_NE(proxy, nullptr);
  proxy->send("setParentProcessId:", {Value(static_cast<int64_t>(getpid()))});
  proxy->send("vendAsDistributedObjectWithRegisteredName:", {Value("second-name")});
  auto second = ipc::Proxy::rootProxyForConnectionWithRegisteredName("second-name");
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(second->send("distributedProcessIdentifier"), Value(static_cast<int64_t>(lastPid_)));
  EXPECT_EQ(proxy->send("communicationLocked"), Value(false));
}

// A raw client that sends bytes no proxy would.
class RawClient {
 public:
  explicit RawClient(const std::string& name) : fd_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string path = ipc::socketPathForName(name);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    connected_ = ::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    timeval timeout{5, 0};
    setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  }
  ~RawClient() { ::close(fd_); }
  bool connected() const { return connected_; }
  void sendBytes(const std::vector<uint8_t>& bytes) {
    ASSERT_EQ(::write(fd_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  std::optional<ipc::Reply> exchange(const std::vector<uint8_t>& body) {
    ipc::writeFrame(fd_, body);
    auto frame = ipc::readFrame(fd_);
    if (!frame)
      return std::nullopt;
    return ipc::decodeReply(*frame);
  }
  int fd() const { return fd_; }

 private:
  int fd_;
  bool connected_ = false;
};

std::vector<uint8_t> request(const std::string& selector, std::vector<Value> arguments) {
  ipc::Request r;
  r.selector = selector;
  r.arguments = std::move(arguments);
  return ipc::encodeRequest(r);
}

TEST_F(ConduitProcessTest, BadInputAtTheSocketGetsClearErrorsAndServingGoesOn) {
  registerAsParent();
  auto proxy = launch(std::string("robust"));
  ASSERT_NE(proxy, nullptr);
  proxy->send("setParentProcessId:", {Value(static_cast<int64_t>(getpid()))});

  RawClient client("robust");
  ASSERT_TRUE(client.connected());
  struct Case {
    std::string what;
    std::vector<uint8_t> body;
    std::string expected;
  };
  auto wrongShape = archive::PropertyList::binaryData(Value(Value::Array{Value("x")}));
  for (const Case& c : std::vector<Case>{
           {"garbage", {'h', 'e', 'l', 'l', 'o'}, ""},
           {"wrong shape", {wrongShape.begin(), wrongShape.end()}, "not a dictionary"},
           {"unknown selector", request("frobnicate:", {Value(1)}), "unrecognized selector"},
           {"wrong kind", request("setParentProcessId:", {Value("me")}), "argument 1"},
           {"wrong count", request("communicationLocked", {Value(1)}), "expected 0 arguments"},
           {"out of range", request("setParentProcessId:", {Value(int64_t{1} << 33)}),
            "out of range"}}) {
    auto reply = client.exchange(c.body);
    ASSERT_TRUE(reply.has_value()) << c.what;
    ASSERT_TRUE(reply->error.has_value()) << c.what;
    EXPECT_NE(reply->error->find(c.expected), std::string::npos) << c.what << ": " << *reply->error;
  }
  auto fine = client.exchange(request("communicationLocked", {}));
  ASSERT_TRUE(fine.has_value());
  EXPECT_EQ(fine->result, Value(false));

  // A truncated frame and then a hang-up leave the conduit serving others.
  {
    RawClient truncated("robust");
    truncated.sendBytes({0, 0, 0, 50, 'b', 'p'});
  }
  // An oversized length is answered and the connection closed.
  {
    RawClient huge("robust");
    huge.sendBytes({0x7f, 0xff, 0xff, 0xff});
    auto frame = ipc::readFrame(huge.fd());
    ASSERT_TRUE(frame.has_value());
    EXPECT_TRUE(ipc::decodeReply(*frame).error.has_value());
    EXPECT_FALSE(ipc::readFrame(huge.fd()).has_value());
  }
  EXPECT_EQ(proxy->send("communicationLocked"), Value(false));
  EXPECT_TRUE(alive(lastPid_));
}

TEST_F(ConduitProcessTest, AConnectionFromAnotherUserIsRefused) {
  if (getuid() != 0)
    GTEST_SKIP() << "needs root to act as another user";
  registerAsParent();
  auto proxy = launch(std::string("guarded"));
  ASSERT_NE(proxy, nullptr);
  std::string path = ipc::socketPathForName("guarded");
  pid_t child = fork();
  if (child == 0) {
    if (setgid(65534) != 0 || setuid(65534) != 0)
      _exit(3);
    int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
      _exit(0);
    uint8_t byte;
    _exit(::read(fd, &byte, 1) > 0 ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(proxy->send("communicationLocked"), Value(false));
}

}  // namespace
}  // namespace qrl
