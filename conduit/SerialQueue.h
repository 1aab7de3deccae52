#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace qrl {

// A labelled serial queue: blocks submitted with async() run one after
// another on the queue's own thread. A block that never returns (a parent
// watch) keeps the thread for the life of the process, so the thread is
// detached rather than joined.
class SerialQueue {
 public:
  explicit SerialQueue(std::string label);
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  const std::string& label() const { return label_; }
  void async(std::function<void()> block);

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable condition;
    std::deque<std::function<void()>> blocks;
    bool closed = false;
  };
  std::string label_;
  std::shared_ptr<State> state_;
};

}  // namespace qrl
