#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace qrl::process {

// The system log: syslog(3) under the program's ident, mirrored to standard
// error when that is a terminal. Tests replace the destination with a sink.
class SystemLog {
 public:
  using Sink = std::function<void(std::string_view message)>;

  // Sets the ident used for syslog (the program name); call once at start-up.
  static void setIdent(std::string ident);

  static void write(std::string_view message);

  // Replaces where messages go; an empty sink restores syslog. Returns the
  // sink that was installed before.
  static Sink setSink(Sink sink);
};

// Collects every logged message while it lives (for tests); restores the
// previous destination when destroyed.
class CapturingLog {
 public:
  CapturingLog();
  ~CapturingLog();
  CapturingLog(const CapturingLog&) = delete;
  CapturingLog& operator=(const CapturingLog&) = delete;

  std::vector<std::string> messages() const;
  bool contains(std::string_view message) const;
  void clear();

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> messages_;
  SystemLog::Sink previous_;
};

}  // namespace qrl::process
