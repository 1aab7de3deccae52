#include "platform/process/SystemLog.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace qrl::process {
namespace {

struct LogState {
  std::mutex mutex;
  std::string ident = "qrl";
  bool opened = false;
  SystemLog::Sink sink;
};

LogState& state() {
  static LogState s;
  return s;
}

}  // namespace

void SystemLog::setIdent(std::string ident) {
  auto& s = state();
  std::lock_guard lock(s.mutex);
  s.ident = std::move(ident);
  if (s.opened) {
    closelog();
    s.opened = false;
  }
}

void SystemLog::write(std::string_view message) {
  auto& s = state();
  std::unique_lock lock(s.mutex);
  if (s.sink) {
    auto sink = s.sink;
    lock.unlock();
    sink(message);
    return;
  }
  if (!s.opened) {
    // openlog keeps the pointer, so the ident string must outlive it.
    openlog(s.ident.c_str(), LOG_PID, LOG_USER);
    s.opened = true;
  }
  syslog(LOG_NOTICE, "%.*s", static_cast<int>(message.size()), message.data());
  if (isatty(STDERR_FILENO)) {
    std::fprintf(stderr, "%s: %.*s\n", s.ident.c_str(), static_cast<int>(message.size()),
                 message.data());
  }
}

SystemLog::Sink SystemLog::setSink(Sink sink) {
  auto& s = state();
  std::lock_guard lock(s.mutex);
  std::swap(s.sink, sink);
  return sink;
}

CapturingLog::CapturingLog() {
  previous_ = SystemLog::setSink([this](std::string_view message) {
    std::lock_guard lock(mutex_);
    messages_.emplace_back(message);
  });
}

CapturingLog::~CapturingLog() {
  SystemLog::setSink(std::move(previous_));
}

std::vector<std::string> CapturingLog::messages() const {
  std::lock_guard lock(mutex_);
  return messages_;
}

bool CapturingLog::contains(std::string_view message) const {
  std::lock_guard lock(mutex_);
  return std::find(messages_.begin(), messages_.end(), message) != messages_.end();
}

void CapturingLog::clear() {
  std::lock_guard lock(mutex_);
  messages_.clear();
}

}  // namespace qrl::process
