#include "platform/ipc/Proxy.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/base/Exception.h"
#include "platform/base/FileIO.h"
#include "platform/ipc/Message.h"
#include "platform/ipc/Server.h"

namespace qrl::ipc {

std::unique_ptr<Proxy> Proxy::rootProxyForConnectionWithRegisteredName(const std::string& name) {
  std::string path = socketPathForName(name);
  FileDescriptor fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!fd.valid())
    throw Exception::fromErrno("socket", name, errno);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path)
    return nullptr;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  int rc = retryOnInterrupt(
      [&] { return ::connect(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof address); });
  if (rc != 0)
    return nullptr;  // nobody serves the name (now)
  ucred peer{};
  socklen_t length = sizeof peer;
  if (getsockopt(fd.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0 || peer.uid != getuid()) {
    return nullptr;  // never talk to another user's process
  }
  return std::unique_ptr<Proxy>(new Proxy(name, std::move(fd)));
}

void Proxy::setProtocolForProxy(SignatureTable table) {
  std::lock_guard lock(mutex_);
  protocol_ = std::move(table);
}

std::vector<uint8_t> Proxy::roundTrip(const std::vector<uint8_t>& request) {
  if (!fd_.valid())
    throw Exception::io("connection to '" + name_ + "' is closed");
  try {
    writeFrame(fd_.get(), request);
    auto reply = readFrame(fd_.get());
    if (!reply)
      throw Exception::io("connection to '" + name_ + "' was closed by the other side");
    return std::move(*reply);
  } catch (const Exception&) {
    fd_.reset();  // the stream may be out of step; never reuse it
    throw;
  }
}

std::optional<MethodSignature> Proxy::methodSignatureForSelector(const std::string& selector) {
  std::lock_guard lock(mutex_);
  if (protocol_) {
    auto it = protocol_->find(selector);
    if (it != protocol_->end())
      return it->second;
  }
  Request request;
  request.type = Request::Type::Signature;
  request.selector = selector;
  Reply reply = decodeReply(roundTrip(encodeRequest(request)));
  if (reply.error)
    return std::nullopt;
  return reply.signature;
}

archive::Value Proxy::send(const std::string& selector, std::vector<archive::Value> arguments) {
  auto signature = methodSignatureForSelector(selector);
  if (!signature)
    throw Exception::unsupported("unrecognized selector '" + selector + "'");
  if (auto problem = checkArguments(*signature, arguments)) {
    throw Exception::parse(selector + ": " + *problem);
  }
  Request request;
  request.selector = selector;
  request.arguments = std::move(arguments);
  std::lock_guard lock(mutex_);
  Reply reply = decodeReply(roundTrip(encodeRequest(request)));
  if (reply.error)
    throw Exception::io(selector + " failed in '" + name_ + "': " + *reply.error);
  return reply.result;
}

}  // namespace qrl::ipc
