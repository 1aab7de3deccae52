#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "conduit/QRLDistributedAppController.h"
#include "conduit/SerialQueue.h"
#include "protocol/QRLApplication.h"

namespace qrl {

// The variant for processes without a user interface: it watches the parent
// by bundle identifier on its own serial queue.
class QRLBackgroundDistributedAppController : public QRLDistributedAppController {
 public:
  QRLBackgroundDistributedAppController();

  SerialQueue& validParentRunningQueue() { return *validParentRunningQueue_; }

  // Identity objects naming applications that must be running; nothing by
  // default (then the watch returns at once and never ends the process).
  virtual std::optional<std::vector<std::shared_ptr<QRLApplication>>> mandatoryRunningApplications()
      const {
    return std::nullopt;
  }

  // The bundle-identifier watch. Ends the process when no mandatory
  // application runs, and on the sixth and every later successful check if
  // the parent never reported its process identifier.
  void ensureParentApplicationIsRunning() override;

 private:
  std::unique_ptr<SerialQueue> validParentRunningQueue_;
};

}  // namespace qrl
