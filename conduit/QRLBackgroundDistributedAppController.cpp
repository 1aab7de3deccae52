#include "conduit/QRLBackgroundDistributedAppController.h"

#include <unistd.h>

#include <thread>

#include "platform/base/Exception.h"
#include "platform/process/Application.h"
#include "platform/process/RunningApplications.h"
#include "platform/process/SystemLog.h"

namespace qrl {

QRLBackgroundDistributedAppController::QRLBackgroundDistributedAppController()
    : validParentRunningQueue_(std::make_unique<SerialQueue>("parent running queue")) {}

void QRLBackgroundDistributedAppController::ensureParentApplicationIsRunning() {
  auto applications = mandatoryRunningApplications();
  if (!applications)
    return;
  int own = getpid();
  int successes = 0;
  // Once the process is ending there is nothing left to watch.
  while (!process::Application::shared().isTerminating()) {
    process::SystemLog::write("Running");
    bool found = false;
    for (const auto& application : *applications) {
      try {
        if (!process::runningApplicationsWithBundleIdentifier(application->bundleId()).empty()) {
          found = true;
          break;
        }
      } catch (const Exception& e) {
        // An unreadable registry cannot show a parent: treat it as gone.
        process::SystemLog::write(e.what());
      }
    }
    if (!found) {
      killSelf();
      continue;
    }
    std::this_thread::sleep_for(QRLWatchInterval());
    ++successes;
    if (successes >= 6 && parentProcess() == own)
      killSelf();
  }
}

}  // namespace qrl
