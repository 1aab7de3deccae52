#pragma once

#include <atomic>

namespace qrl {

// A process-wide instance installed with a compare-and-swap: concurrent first
// callers each may build one, exactly one is installed and the others are
// thrown away. The installed instance is never destroyed.
template <typename T>
T& lockFreeSharedInstance(std::atomic<T*>& slot) {
  T* current = slot.load(std::memory_order_acquire);
  while (current == nullptr) {
    T* made = new T();
    T* expected = nullptr;
    if (slot.compare_exchange_strong(expected, made, std::memory_order_acq_rel)) {
      current = made;
    } else {
      delete made;
      current = expected;
    }
  }
  return *current;
}

}  // namespace qrl
