#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace qrl::process {

// The application object: the process's launch arguments and its orderly
// end. terminate() may be called from any thread; the main thread, blocked in
// waitForTermination() or a run loop that registered a handler, then returns.
class Application {
 public:
  static Application& shared();

  void setArguments(int argc, char** argv);
  void setArguments(std::vector<std::string> arguments);
  // Index 0 is the executable path, as the platform counts.
  std::vector<std::string> arguments() const;

  // Asks the process to end. Only the first call has an effect; it runs the
  // termination handlers (in registration order) and wakes waiters.
  void terminate();
  bool isTerminating() const { return terminating_.load(); }

  // Called once when termination is requested (e.g. to stop a run loop).
  void addTerminationHandler(std::function<void()> handler);

  void waitForTermination();

 private:
  mutable std::mutex mutex_;
  std::condition_variable condition_;
  std::vector<std::string> arguments_;
  std::vector<std::function<void()>> handlers_;
  std::atomic<bool> terminating_{false};
};

}  // namespace qrl::process
