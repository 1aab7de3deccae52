#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ipc/Proxy.h"
#include "protocol/QRLRemoteInterface.h"

namespace qrl {

// The launch argument that tells a child its parent must not be itself.
inline constexpr std::string_view QRLDistributedParentMustNotBeSelfArgument =
    "QRLDistributedParentMustNotBeSelfArgument";

// Starts an application as a separate background process and connects to the
// object it publishes under a registered name.
class QRLApplicationLauncher {
 public:
  int launchCounter() const { return launchCounter_; }
  void setLaunchCounter(int counter) { launchCounter_ = counter; }

  // The application named `title` beside this program (the ".app" suffix
  // added unless present in any case).
  std::unique_ptr<ipc::Proxy> launchDistributedBundledApplicationWithTitle(
      const std::string& title, const std::optional<std::string>& registeredName,
      std::optional<QRLProtocol> conformToProtocol);

  std::unique_ptr<ipc::Proxy> launchDistributedApplicationAtPath(
      const std::string& path, const std::optional<std::string>& withRegisteredName,
      std::optional<QRLProtocol> conformToProtocol);

  // Starts the program with the name (if any) as argument 1 and the
  // must-not-be-self flag after it, then looks for the name every 0.1 s for
  // 3 s (waking early when a name appears). Without a name it looks for the
  // child's process identifier, under which a conduit publishes itself.
  // Null when the program does not publish in time.
  std::unique_ptr<ipc::Proxy> launchDistributedApplicationAtPath(
      const std::string& path, const std::optional<std::string>& withRegisteredName,
      std::optional<QRLProtocol> conformToProtocol, bool appParentCantBeSelf);

  // Starts the program without waiting: a ".app" bundle folder runs
  // <bundle>/Contents/MacOS/<name>, any other path runs directly. Failures are
  // logged; the answer is always true.
  bool launchApplicationAtPath(const std::string& path,
                               const std::optional<std::vector<std::string>>& withArguments);

  // The executable a bundle path stands for.
  static std::string executablePathForApplicationAtPath(const std::string& path);
  // The title with ".app" appended unless it already ends so, in any case.
  static std::string bundleNameForTitle(const std::string& title);

  pid_t lastLaunchedProcessIdentifier() const { return lastLaunched_; }

 private:
  int launchCounter_ = 0;
  pid_t lastLaunched_ = 0;
};

}  // namespace qrl
