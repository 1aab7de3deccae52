#include "conduit/SerialQueue.h"

#include <memory>

namespace qrl {

SerialQueue::SerialQueue(std::string label)
    : label_(std::move(label)), state_(std::make_shared<State>()) {
  std::thread([state = state_] {
    for (;;) {
      std::function<void()> block;
      {
        std::unique_lock lock(state->mutex);
        state->condition.wait(lock, [&] { return state->closed || !state->blocks.empty(); });
        if (state->blocks.empty())
          return;
        block = std::move(state->blocks.front());
        state->blocks.pop_front();
      }
      block();
    }
  }).detach();
}

SerialQueue::~SerialQueue() {
  std::lock_guard lock(state_->mutex);
  state_->closed = true;
  state_->condition.notify_all();
}

void SerialQueue::async(std::function<void()> block) {
  std::lock_guard lock(state_->mutex);
  state_->blocks.push_back(std::move(block));
  state_->condition.notify_all();
}

}  // namespace qrl
