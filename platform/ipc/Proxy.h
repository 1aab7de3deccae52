#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/archive/Value.h"
#include "platform/base/FileDescriptor.h"
#include "platform/ipc/MethodSignature.h"

namespace qrl::ipc {

using SignatureTable = std::map<std::string, MethodSignature, std::less<>>;

// The client side of a registered name: sends messages to the vended root
// object and waits for each reply. Safe to share between threads (one message
// at a time).
class Proxy {
 public:
  // The root proxy of the object registered under `name` on this host, or
  // null when nothing serves that name now.
  static std::unique_ptr<Proxy> rootProxyForConnectionWithRegisteredName(const std::string& name);

  // Declares the signatures the remote object answers to, so messages are
  // checked and sent without asking the remote side first.
  void setProtocolForProxy(SignatureTable table);

  // The local table's entry, else the remote object's answer (nothing when it
  // does not know the selector).
  std::optional<MethodSignature> methodSignatureForSelector(const std::string& selector);

  // Sends a message and returns its result (null for nil or no result).
  // Throws qrl::Exception for an unknown selector, arguments that do not fit
  // its signature, a remote failure or a broken connection.
  archive::Value send(const std::string& selector, std::vector<archive::Value> arguments = {});

  const std::string& name() const { return name_; }

 private:
  Proxy(std::string name, FileDescriptor fd) : name_(std::move(name)), fd_(std::move(fd)) {}
  std::vector<uint8_t> roundTrip(const std::vector<uint8_t>& request);

  std::string name_;
  FileDescriptor fd_;
  std::mutex mutex_;
  std::optional<SignatureTable> protocol_;
};

}  // namespace qrl::ipc
