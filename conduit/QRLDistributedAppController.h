#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "conduit/QRLPerformers.h"
#include "platform/ipc/Proxy.h"
#include "platform/ipc/RootObject.h"
#include "platform/ipc/Server.h"
#include "protocol/QRLApplicationLauncher.h"

namespace qrl {

// How often the parent watches look. Five seconds; tests shorten it with the
// environment variable QRL_WATCH_INTERVAL_MS (milliseconds).
std::chrono::milliseconds QRLWatchInterval();

// The base of a process that serves a parent across the process boundary: it
// publishes itself under a registered name, records the parent's process
// identifier and ends its own process when the parent is gone. Also the
// client side a parent uses to start such a process.
class QRLDistributedAppController : public ipc::RootObject {
 public:
  QRLDistributedAppController();
  ~QRLDistributedAppController() override;
  QRLDistributedAppController(const QRLDistributedAppController&) = delete;
  QRLDistributedAppController& operator=(const QRLDistributedAppController&) = delete;

  virtual void awakeFromNib();

  void vendAsDistributedObject();
  void vendAsDistributedObjectWithArgumentIndexForRegisteredName(unsigned index);
  // A missing name or one that another live process owns ends the process.
  void vendAsDistributedObjectWithRegisteredName(const std::optional<std::string>& name);

  std::unique_ptr<ipc::Proxy> launchDistributedApplicationAtPath(
      const std::string& path, const std::string& withRegisteredName,
      bool parentAppCantBeSelf = false);

  int distributedProcessIdentifier() const;
  // Never returns: ends the process when no application's name contains one
  // of validRunningAppTitlesForBackgroundDaemons().
  void ensureValidAppIsRunning();
  // The process-list watch; subclasses replace it.
  virtual void ensureParentApplicationIsRunning();
  void configureKillTimer();
  void setParentProcessId(int processId);
  bool communicationLocked() const { return accessed_; }
  void lockCommunication() { accessed_ = true; }
  void killSelf();

  // Stops serving every published name and removes its socket; for the end
  // of the process, once the run loop has stopped.
  void invalidateConnections() { connections_.clear(); }

  static std::vector<std::string> validRunningAppTitlesForBackgroundDaemons() {
    return {"Ravelmark"};
  }

  bool accessed() const { return accessed_; }
  void setAccessed(bool v) { accessed_ = v; }
  bool vended() const { return vended_; }
  void setVended(bool v) { vended_ = v; }
  bool parentCantBeSelf() const { return parentCantBeSelf_; }
  void setParentCantBeSelf(bool v) { parentCantBeSelf_ = v; }
  bool isBackgroundDaemon() const { return isBackgroundDaemon_; }
  void setIsBackgroundDaemon(bool v) { isBackgroundDaemon_ = v; }
  int parentProcess() const { return parentProcess_; }
  void setParentProcess(int v) { parentProcess_ = v; }
  int launchedSubProcesses() const { return launchedSubProcesses_; }
  void setLaunchedSubProcesses(int v) { launchedSubProcesses_ = v; }
  std::optional<std::string> connectionName() const;
  void setConnectionName(std::optional<std::string> name);

  // The methods of the communication protocol, performed on the controller.
  const QRLPerformers& ownPerformers() const { return ownPerformers_; }
  std::optional<ipc::MethodSignature> methodSignatureForSelector(
      std::string_view selector) override;
  archive::Value invoke(const std::string& selector,
                        const std::vector<archive::Value>& arguments) override;

 protected:
  bool isOwnSelector(std::string_view selector) const;

 private:
  void bindOwnPerformers();

  QRLPerformers ownPerformers_;
  std::atomic<bool> accessed_{false};
  std::atomic<bool> vended_{false};
  std::atomic<bool> parentCantBeSelf_{false};
  std::atomic<bool> isBackgroundDaemon_{false};
  std::atomic<int> parentProcess_;
  std::atomic<int> launchedSubProcesses_{0};
  std::atomic<bool> killTimer_{false};
  mutable std::mutex nameMutex_;
  std::optional<std::string> connectionName_;
  // Every name this object was published under stays served for the life of
  // the process (a message may arrive on any of them, even the one that asked
  // for a new name).
  std::vector<std::unique_ptr<ipc::Server>> connections_;
};

}  // namespace qrl
