#include "platform/process/Application.h"

namespace qrl::process {

Application& Application::shared() {
  static Application application;
  return application;
}

void Application::setArguments(int argc, char** argv) {
  std::vector<std::string> arguments;
  for (int i = 0; i < argc; ++i)
    arguments.emplace_back(argv[i]);
  setArguments(std::move(arguments));
}

void Application::setArguments(std::vector<std::string> arguments) {
  std::lock_guard lock(mutex_);
  arguments_ = std::move(arguments);
}

std::vector<std::string> Application::arguments() const {
  std::lock_guard lock(mutex_);
  return arguments_;
}

void Application::terminate() {
  if (terminating_.exchange(true))
    return;
  std::vector<std::function<void()>> handlers;
  {
    std::lock_guard lock(mutex_);
    handlers = handlers_;
  }
  for (auto& handler : handlers)
    handler();
  condition_.notify_all();
}

void Application::addTerminationHandler(std::function<void()> handler) {
  std::lock_guard lock(mutex_);
  handlers_.push_back(std::move(handler));
}

void Application::waitForTermination() {
  std::unique_lock lock(mutex_);
  condition_.wait(lock, [this] { return terminating_.load(); });
}

}  // namespace qrl::process
