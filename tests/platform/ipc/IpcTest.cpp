#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/archive/PropertyList.h"
#include "platform/base/Exception.h"
#include "platform/ipc/Message.h"
#include "platform/ipc/Proxy.h"
#include "platform/ipc/RunLoop.h"
#include "platform/ipc/Server.h"
#include "platform/process/SystemLog.h"

namespace qrl::ipc {
namespace {

namespace fs = std::filesystem;
using archive::Value;

// A kind of the test's own, as a service adds its own kinds to the generic
// ones: a dictionary with an "x" and a "y".
std::optional<std::string> checkPoint(const Value& value) {
  if (value.find("x") == nullptr || value.find("y") == nullptr)
    return "the point needs 'x' and 'y'";
  return std::nullopt;
}
constexpr ValueKind kPointKind{"point", checkPoint};

// A root object with a few methods of different kinds; "add:to:" adds two
// int32s, "echo:" returns its object, "nothing" returns nil, "fail" throws.
class TestRoot : public RootObject {
 public:
  std::optional<MethodSignature> methodSignatureForSelector(std::string_view selector) override {
    ++signatureRequests;
    if (selector == "add:to:")
      return MethodSignature{{kind::Int32, kind::Int32}, kind::Int32};
    if (selector == "echo:")
      return MethodSignature{{kind::Object}, kind::Object};
    if (selector == "nothing")
      return MethodSignature{{}, kind::None};
    if (selector == "fail")
      return MethodSignature{{}, kind::None};
    if (selector == "at:")
      return MethodSignature{{kPointKind}, kind::Object};
    return std::nullopt;
  }
  Value invoke(const std::string& selector, const std::vector<Value>& arguments) override {
    invokedOn = std::this_thread::get_id();
    if (selector == "add:to:")
      return *arguments[0].integer() + *arguments[1].integer();
    if (selector == "echo:" || selector == "at:")
      return arguments[0];
    if (selector == "fail")
      throw Exception::io("no such movie");
    return Value();
  }
  std::atomic<int> signatureRequests{0};
  std::thread::id invokedOn;
};

class IpcTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/qrl-ipc-test-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    root_ = pattern;
    setenv("QRL_RUNTIME_DIR", (root_ / "run").c_str(), 1);
  }
  void TearDown() override {
    stopServing();
    unsetenv("QRL_RUNTIME_DIR");
    fs::remove_all(root_);
  }

  void serve(const std::string& name) {
    server_ = Server::registerName(name, object_, loop_);
    thread_ = std::thread([this] { loop_.run(); });
  }
  void stopServing() {
    if (thread_.joinable()) {
      loop_.stop();
      thread_.join();
    }
    server_.reset();
  }

  // A raw connection for sending frames the proxy would never send.
  int rawConnect(const std::string& name) {
    int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string path = socketPathForName(name);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    EXPECT_EQ(::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return fd;
  }

  fs::path root_;
  TestRoot object_;
  RunLoop loop_;
  std::unique_ptr<Server> server_;
  std::thread thread_;
};

TEST_F(IpcTest, MessagesRoundTripThroughARealSocket) {
  serve("4021");
  auto proxy = Proxy::rootProxyForConnectionWithRegisteredName("4021");
  ASSERT_NE(proxy, nullptr);
  EXPECT_EQ(proxy->send("add:to:", {Value(40), Value(2)}), Value(42));
  Value nested(Value::Dictionary{{"paths", Value(Value::Array{Value("/a b.mov"), Value("/c")})},
                                 {"data", Value(archive::Data{0, 1, 255})}});
  EXPECT_EQ(proxy->send("echo:", {nested}), nested);
  EXPECT_TRUE(proxy->send("nothing").isNull());
  EXPECT_TRUE(proxy->send("echo:", {Value()}).isNull()) << "nil travels as a marker";
  EXPECT_EQ(object_.invokedOn, thread_.get_id()) << "messages run on the serving loop's thread";
}

TEST_F(IpcTest, UnknownSelectorsBadArgumentsAndRemoteFailuresAreClearErrors) {
  serve("errors");
  auto proxy = Proxy::rootProxyForConnectionWithRegisteredName("errors");
  ASSERT_NE(proxy, nullptr);
  EXPECT_FALSE(proxy->methodSignatureForSelector("frobnicate").has_value());
  try {
    proxy->send("frobnicate");
    FAIL() << "unknown selector accepted";
  } catch (const Exception& e) {
    EXPECT_NE(std::string(e.what()).find("unrecognized selector 'frobnicate'"), std::string::npos);
  }
  EXPECT_THROW(proxy->send("add:to:", {Value(1)}), Exception);
  EXPECT_THROW(proxy->send("add:to:", {Value(1), Value("two")}), Exception);
  EXPECT_THROW(proxy->send("add:to:", {Value(1), Value(int64_t{1} << 40)}), Exception);
  EXPECT_THROW(proxy->send("at:", {Value(Value::Dictionary{{"x", Value(1.0)}})}), Exception);
  try {
    proxy->send("fail");
    FAIL() << "remote failure not reported";
  } catch (const Exception& e) {
    EXPECT_NE(std::string(e.what()).find("no such movie"), std::string::npos);
  }
  EXPECT_EQ(proxy->send("add:to:", {Value(1), Value(2)}), Value(3)) << "still serving";
}

TEST_F(IpcTest, ADeclaredProtocolSavesTheSignatureRoundTrip) {
  serve("typed");
  auto proxy = Proxy::rootProxyForConnectionWithRegisteredName("typed");
  ASSERT_NE(proxy, nullptr);
  proxy->send("add:to:", {Value(1), Value(2)});
  int before = object_.signatureRequests;
  EXPECT_EQ(before, 2) << "one lookup for the signature request, one before invoking";
  proxy->setProtocolForProxy(
      {{"add:to:", MethodSignature{{kind::Int32, kind::Int32}, kind::Int32}}});
  proxy->send("add:to:", {Value(1), Value(2)});
  EXPECT_EQ(object_.signatureRequests, before + 1) << "only the server's own check remains";
}

TEST_F(IpcTest, ServerChecksArgumentsItselfAndSurvivesGarbageFrames) {
  serve("robust");
  int fd = rawConnect("robust");

  auto exchange = [&](const std::vector<uint8_t>& body) {
    writeFrame(fd, body);
    auto reply = readFrame(fd);
    EXPECT_TRUE(reply.has_value());
    return reply ? decodeReply(*reply) : Reply{};
  };
  std::vector<uint8_t> garbage{'n', 'o', 't', ' ', 'a', ' ', 'p', 'l', 'i', 's', 't'};
  EXPECT_TRUE(exchange(garbage).error.has_value());

  auto array = archive::PropertyList::binaryData(Value(Value::Array{Value(1)}));
  EXPECT_TRUE(exchange({array.begin(), array.end()}).error.has_value());

  Request bad;
  bad.selector = "add:to:";
  bad.arguments = {Value("one"), Value(2)};
  Reply reply = exchange(encodeRequest(bad));
  ASSERT_TRUE(reply.error.has_value());
  EXPECT_NE(reply.error->find("argument 1"), std::string::npos) << *reply.error;

  Request good;
  good.selector = "add:to:";
  good.arguments = {Value(2), Value(3)};
  EXPECT_EQ(exchange(encodeRequest(good)).result, Value(5));

  // An absurd length cannot be resynchronised: answered, then closed.
  uint8_t huge[] = {0xff, 0xff, 0xff, 0xff};
  ASSERT_EQ(::write(fd, huge, 4), 4);
  auto last = readFrame(fd);
  ASSERT_TRUE(last.has_value());
  EXPECT_TRUE(decodeReply(*last).error.has_value());
  EXPECT_FALSE(readFrame(fd).has_value());
  ::close(fd);

  auto proxy = Proxy::rootProxyForConnectionWithRegisteredName("robust");
  ASSERT_NE(proxy, nullptr);
  EXPECT_EQ(proxy->send("add:to:", {Value(20), Value(22)}), Value(42));
}

TEST_F(IpcTest, ALiveNameCannotBeTakenAndADeadOwnersNameIsReclaimed) {
  serve("owned");
  EXPECT_THROW(Server::registerName("owned", object_, loop_), Exception);
  EXPECT_NE(Proxy::rootProxyForConnectionWithRegisteredName("owned"), nullptr);
  stopServing();
  EXPECT_EQ(Proxy::rootProxyForConnectionWithRegisteredName("owned"), nullptr);

  // A crashed owner leaves its socket and an unlocked lock file behind.
  std::ofstream(lockPathForName("crashed")).put('x');
  int stale = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::string path = socketPathForName("crashed");
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  ASSERT_EQ(::bind(stale, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ::close(stale);
  EXPECT_EQ(Proxy::rootProxyForConnectionWithRegisteredName("crashed"), nullptr);
  serve("crashed");
  auto proxy = Proxy::rootProxyForConnectionWithRegisteredName("crashed");
  ASSERT_NE(proxy, nullptr);
  EXPECT_EQ(proxy->send("add:to:", {Value(1), Value(1)}), Value(2));
}

TEST_F(IpcTest, InvalidNamesAreRefused) {
  for (const std::string& name :
       std::vector<std::string>{"", ".", "..", "a/b", std::string(65, 'n')}) {
    EXPECT_THROW(Server::registerName(name, object_, loop_), Exception) << name;
  }
}

TEST_F(IpcTest, PeersOfAnotherUserAreRefused) {
  if (getuid() != 0)
    GTEST_SKIP() << "needs root to act as another user";
  process::CapturingLog log;
  serve("private");
  std::string path = socketPathForName("private");
  // Open the way to the socket so that only the credential check stands.
  chmod(root_.c_str(), 0755);
  chmod((root_ / "run").c_str(), 0755);
  chmod(path.c_str(), 0777);
  auto request = encodeRequest(Request{Request::Type::Signature, "add:to:", {}});

  pid_t child = fork();
  if (child == 0) {
    if (setgid(65534) != 0 || setuid(65534) != 0)
      _exit(3);
    int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
      _exit(4);
    uint8_t header[4] = {0, 0, 0, static_cast<uint8_t>(request.size())};
    // The server may close first: a refused write must not kill the child.
    (void)::send(fd, header, 4, MSG_NOSIGNAL);
    (void)::send(fd, request.data(), request.size(), MSG_NOSIGNAL);
    uint8_t reply[4];
    _exit(::read(fd, reply, sizeof reply) > 0 ? 1 : 0);  // 0: closed without an answer
  }
  int status = 0;
  waitpid(child, &status, 0);
  chmod((root_ / "run").c_str(), 0700);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0) << "the other user's connection was answered";
  auto messages = log.messages();
  EXPECT_TRUE(std::any_of(messages.begin(), messages.end(), [](const std::string& m) {
    return m.find("Refused a connection to 'private' from user 65534") != std::string::npos;
  }));
}

TEST(RunLoop, QueuedWorkRunsOnTheLoopThreadInArrivalOrderWithoutWaiting) {
  RunLoop loop;
  std::vector<int> order;
  std::thread::id ranOn;
  std::thread runner([&] { loop.run(); });
  const std::thread::id loopThread = runner.get_id();
  for (int i = 0; i < 50; ++i) {
    loop.perform([&, i] {
      order.push_back(i);
      ranOn = std::this_thread::get_id();
    });
  }
  std::atomic<bool> done{false};
  loop.perform([&] { done = true; });
  while (!done)
    std::this_thread::yield();
  loop.stop();
  runner.join();
  ASSERT_EQ(order.size(), 50u);
  for (int i = 0; i < 50; ++i)
    EXPECT_EQ(order[i], i);
  EXPECT_EQ(ranOn, loopThread);
}

}  // namespace
}  // namespace qrl::ipc
