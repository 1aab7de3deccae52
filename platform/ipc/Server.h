#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/base/FileDescriptor.h"
#include "platform/ipc/RootObject.h"
#include "platform/ipc/RunLoop.h"

namespace qrl::ipc {

// The socket and lock paths of a registered name in the per-user runtime
// directory. Throws qrl::Exception for a name that cannot be a file name.
std::string socketPathForName(const std::string& name);
std::string lockPathForName(const std::string& name);

// A registered name served on a run loop. The name is a Unix stream socket in
// the per-user runtime directory, owned through an exclusive lock on a lock
// file: a live owner's name cannot be taken, a dead owner's is reclaimed.
// Connections from another user are refused. Each complete frame is answered
// on the loop's thread; a malformed or oversized frame gets an error reply (or
// the connection is closed) and the server keeps serving.
class Server {
 public:
  // Throws qrl::Exception when the name is invalid or already owned.
  static std::unique_ptr<Server> registerName(const std::string& name, RootObject& root,
                                              RunLoop& loop);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  const std::string& name() const { return name_; }
  size_t connectionCount() const { return connections_.size(); }

 private:
  struct Connection {
    FileDescriptor fd;
    std::vector<uint8_t> inbound;
  };

  Server(std::string name, RootObject& root, RunLoop& loop);
  void acceptConnection();
  void readFrom(int fd);
  void closeConnection(int fd);
  std::vector<uint8_t> answer(std::span<const uint8_t> body);

  std::string name_;
  std::string socketPath_;
  std::string lockPath_;
  RootObject& root_;
  RunLoop& loop_;
  FileDescriptor lock_;
  FileDescriptor listener_;
  std::map<int, Connection> connections_;
};

}  // namespace qrl::ipc
