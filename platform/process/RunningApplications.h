#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/base/FileDescriptor.h"

namespace qrl::process {

struct RunningApplication {
  pid_t processIdentifier = 0;
  std::string bundleIdentifier;  // empty when only seen in the process list
  std::string localizedName;
};

// Held by a running parent for the life of its process: an entry in the
// per-user registry, locked so that a crashed owner's entry reads as gone.
class ApplicationRegistration {
 public:
  ApplicationRegistration(std::string path, FileDescriptor lock)
      : path_(std::move(path)), lock_(std::move(lock)) {}
  ~ApplicationRegistration();
  ApplicationRegistration(const ApplicationRegistration&) = delete;
  ApplicationRegistration& operator=(const ApplicationRegistration&) = delete;

 private:
  std::string path_;
  FileDescriptor lock_;
};

// Registers this process as running under `bundleIdentifier` with a display
// name. Throws qrl::Exception (IO) when the registry cannot be written.
std::unique_ptr<ApplicationRegistration> registerRunningApplication(
    const std::string& bundleIdentifier, const std::string& localizedName);

// The live registry entries for `bundleIdentifier`; when there are none, the
// processes whose executable name equals the identifier's last dot-separated
// component (so a parent started without the client library is still seen).
std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(
    const std::string& bundleIdentifier);

// Every registered application, then every process of this user by
// executable name.
std::vector<RunningApplication> runningApplications();

// Processes of this user from /proc: identifier and executable name.
std::vector<RunningApplication> processList();

}  // namespace qrl::process
