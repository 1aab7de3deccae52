#include "platform/ipc/RunLoop.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <vector>

#include "platform/base/Exception.h"
#include "platform/base/FileIO.h"

namespace qrl::ipc {

RunLoop::RunLoop() : wakeFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!wakeFd_.valid())
    throw Exception::fromErrno("eventfd", "run loop", errno);
}

RunLoop::~RunLoop() = default;

RunLoop& RunLoop::main() {
  static RunLoop loop;
  return loop;
}

void RunLoop::wake() {
  uint64_t one = 1;
  ssize_t n = ::write(wakeFd_.get(), &one, sizeof one);
  (void)n;  // a full counter already means "wake up"
}

void RunLoop::perform(std::function<void()> work) {
  {
    std::lock_guard lock(mutex_);
    queue_.push_back(std::move(work));
  }
  wake();
}

void RunLoop::addReader(int fd, std::function<void()> onReadable) {
  {
    std::lock_guard lock(mutex_);
    readers_[fd] = std::move(onReadable);
  }
  wake();
}

void RunLoop::removeReader(int fd) {
  std::lock_guard lock(mutex_);
  readers_.erase(fd);
}

void RunLoop::stop() {
  stopRequested_ = true;
  wake();
}

void RunLoop::drainQueue() {
  for (;;) {
    std::function<void()> work;
    {
      std::lock_guard lock(mutex_);
      if (queue_.empty() || stopRequested_)
        return;
      work = std::move(queue_.front());
      queue_.pop_front();
    }
    work();
  }
}

void RunLoop::run() {
  running_ = true;
  while (!stopRequested_) {
    std::vector<pollfd> fds{{wakeFd_.get(), POLLIN, 0}};
    {
      std::lock_guard lock(mutex_);
      for (const auto& [fd, callback] : readers_)
        fds.push_back({fd, POLLIN, 0});
    }
    if (retryOnInterrupt([&] { return ::poll(fds.data(), fds.size(), -1); }) < 0) {
      running_ = false;
      throw Exception::fromErrno("poll", "run loop", errno);
    }
    if (fds[0].revents != 0) {
      uint64_t count = 0;
      ssize_t r = ::read(wakeFd_.get(), &count, sizeof count);
      (void)r;
    }
    for (size_t i = 1; i < fds.size() && !stopRequested_; ++i) {
      if (fds[i].revents == 0)
        continue;
      std::function<void()> callback;
      {
        std::lock_guard lock(mutex_);
        auto it = readers_.find(fds[i].fd);
        if (it == readers_.end())
          continue;  // removed by an earlier callback
        callback = it->second;
      }
      callback();
    }
    drainQueue();
  }
  stopRequested_ = false;  // a later run() serves again
  running_ = false;
}

}  // namespace qrl::ipc
