#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <mutex>

#include "platform/base/FileDescriptor.h"

namespace qrl::ipc {

// An event loop for one thread: it waits for readable descriptors and for
// work queued from other threads, and runs both on its own thread. The
// process's main thread runs main(); performOnMainThread is the hand-off that
// never makes the caller wait.
class RunLoop {
 public:
  RunLoop();
  ~RunLoop();
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;

  static RunLoop& main();

  // Queues `work` to run on the loop's thread, after earlier queued work.
  void perform(std::function<void()> work);

  // Calls `onReadable` on the loop's thread whenever `fd` is readable (or
  // closed). The descriptor stays owned by the caller.
  void addReader(int fd, std::function<void()> onReadable);
  void removeReader(int fd);

  // Runs until stop(); queued work left at stop waits for the next run().
  void run();
  void stop();
  bool isRunning() const { return running_.load(); }

 private:
  void wake();
  void drainQueue();

  FileDescriptor wakeFd_;
  std::mutex mutex_;
  std::deque<std::function<void()>> queue_;
  std::map<int, std::function<void()>> readers_;
  std::atomic<bool> stopRequested_{false};
  std::atomic<bool> running_{false};
};

// Queues `work` for the main run loop without waiting for it.
inline void performOnMainThread(std::function<void()> work) {
  RunLoop::main().perform(std::move(work));
}

}  // namespace qrl::ipc
