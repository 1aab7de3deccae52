#include "platform/ipc/Server.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/base/Exception.h"
#include "platform/base/FileIO.h"
#include "platform/ipc/Message.h"
#include "platform/process/RuntimeDirectory.h"
#include "platform/process/SystemLog.h"

namespace qrl::ipc {
namespace {

constexpr size_t kMaxNameLength = 64;

void checkName(const std::string& name) {
  if (name.empty() || name.size() > kMaxNameLength || name == "." || name == ".." ||
      name.find('/') != std::string::npos || name.find('\0') != std::string::npos) {
    throw Exception::parse("invalid registered name '" + name + "'");
  }
}

sockaddr_un addressFor(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path)
    throw Exception::range("socket path too long");
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

}  // namespace

std::string socketPathForName(const std::string& name) {
  checkName(name);
  return process::runtimeDirectory() + "/" + name + ".sock";
}

std::string lockPathForName(const std::string& name) {
  checkName(name);
  return process::runtimeDirectory() + "/" + name + ".lock";
}

Server::Server(std::string name, RootObject& root, RunLoop& loop)
    : name_(std::move(name)), root_(root), loop_(loop) {}

std::unique_ptr<Server> Server::registerName(const std::string& name, RootObject& root,
                                             RunLoop& loop) {
  std::unique_ptr<Server> server(new Server(name, root, loop));
  server->socketPath_ = socketPathForName(name);
  server->lockPath_ = lockPathForName(name);

  server->lock_ = openFile(server->lockPath_, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (flock(server->lock_.get(), LOCK_EX | LOCK_NB) != 0) {
    server->lock_.reset();  // not ours: leave the owner's files alone
    throw Exception::io("the name '" + name + "' is already registered");
  }
  ::unlink(server->socketPath_.c_str());  // a dead owner's socket

  server->listener_.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!server->listener_.valid())
    throw Exception::fromErrno("socket", name, errno);
  // Bound and listening under a temporary name first, so the name appears
  // (and wakes anyone watching the directory) only once it accepts.
  std::string bound = server->socketPath_ + ".new";
  ::unlink(bound.c_str());
  sockaddr_un address = addressFor(bound);
  if (::bind(server->listener_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    throw Exception::fromErrno("bind", bound, errno);
  }
  if (::listen(server->listener_.get(), 16) != 0 ||
      ::rename(bound.c_str(), server->socketPath_.c_str()) != 0) {
    int err = errno;
    ::unlink(bound.c_str());
    throw Exception::fromErrno("listen", server->socketPath_, err);
  }
  Server* self = server.get();
  loop.addReader(server->listener_.get(), [self] { self->acceptConnection(); });
  return server;
}

Server::~Server() {
  for (auto& [fd, connection] : connections_)
    loop_.removeReader(fd);
  if (listener_.valid()) {
    loop_.removeReader(listener_.get());
    ::unlink(socketPath_.c_str());
  }
  if (lock_.valid())
    ::unlink(lockPath_.c_str());
}

void Server::acceptConnection() {
  for (;;) {
    FileDescriptor fd(retryOnInterrupt(
        [&] { return ::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC); }));
    if (!fd.valid())
      return;  // EAGAIN: nothing more waiting
    ucred peer{};
    socklen_t length = sizeof peer;
    if (getsockopt(fd.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0 ||
        peer.uid != getuid()) {
      process::SystemLog::write("Refused a connection to '" + name_ + "' from user " +
                                std::to_string(peer.uid));
      continue;
    }
    // A peer that stops reading must not hold the loop for ever.
    timeval timeout{10, 0};
    setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    int raw = fd.get();
    connections_[raw] = Connection{std::move(fd), {}};
    loop_.addReader(raw, [this, raw] { readFrom(raw); });
  }
}

void Server::closeConnection(int fd) {
  loop_.removeReader(fd);
  connections_.erase(fd);
}

void Server::readFrom(int fd) {
  auto it = connections_.find(fd);
  if (it == connections_.end())
    return;
  Connection& connection = it->second;
  uint8_t buffer[64 * 1024];
  ssize_t n = retryOnInterrupt([&] { return ::recv(fd, buffer, sizeof buffer, MSG_DONTWAIT); });
  if (n < 0 && errno == EAGAIN)
    return;
  if (n <= 0) {
    closeConnection(fd);
    return;
  }
  connection.inbound.insert(connection.inbound.end(), buffer, buffer + n);

  while (connection.inbound.size() >= 4) {
    const auto& in = connection.inbound;
    uint32_t size = (uint32_t{in[0]} << 24) | (uint32_t{in[1]} << 16) | (uint32_t{in[2]} << 8) |
                    uint32_t{in[3]};
    try {
      if (size > kMaxFrameBytes) {
        Reply reply;
        reply.error = "frame of " + std::to_string(size) + " bytes exceeds the limit";
        writeFrame(fd, encodeReply(reply));
        closeConnection(fd);  // the stream cannot be resynchronised
        return;
      }
      if (in.size() < 4 + size)
        return;
      std::vector<uint8_t> body(in.begin() + 4, in.begin() + 4 + size);
      connection.inbound.erase(connection.inbound.begin(), connection.inbound.begin() + 4 + size);
      writeFrame(fd, answer(body));
    } catch (const Exception& e) {
      process::SystemLog::write("Connection to '" + name_ + "' dropped: " + e.what());
      closeConnection(fd);
      return;
    }
  }
}

std::vector<uint8_t> Server::answer(std::span<const uint8_t> body) {
  Reply reply;
  try {
    Request request = decodeRequest(body);
    auto signature = root_.methodSignatureForSelector(request.selector);
    if (!signature) {
      reply.error = "unrecognized selector '" + request.selector + "'";
    } else if (request.type == Request::Type::Signature) {
      reply.signature = signature;
    } else if (auto problem = checkArguments(*signature, request.arguments)) {
      reply.error = request.selector + ": " + *problem;
    } else {
      reply.result = root_.invoke(request.selector, request.arguments);
    }
  } catch (const std::exception& e) {
    // A failing message is answered and the server goes on serving others.
    reply.error = e.what();
  }
  return encodeReply(reply);
}

}  // namespace qrl::ipc
