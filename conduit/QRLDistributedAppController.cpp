#include "conduit/QRLDistributedAppController.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "fsutil/QRLFileSystemUtility.h"
#include "platform/base/Exception.h"
#include "platform/ipc/RunLoop.h"
#include "platform/process/Application.h"
#include "platform/process/RunningApplications.h"
#include "platform/process/SystemLog.h"
#include "protocol/QRLApplicationLauncher.h"
#include "protocol/QRLRemoteInterface.h"
#include "protocol/QRLWireValues.h"

namespace qrl {

using archive::Value;
using process::Application;

std::chrono::milliseconds QRLWatchInterval() {
  if (const char* text = std::getenv("QRL_WATCH_INTERVAL_MS"); text != nullptr) {
    long ms = std::strtol(text, nullptr, 10);
    if (ms > 0)
      return std::chrono::milliseconds(ms);
  }
  return std::chrono::milliseconds(5000);
}

QRLDistributedAppController::QRLDistributedAppController() : parentProcess_(getpid()) {
  bindOwnPerformers();
}

QRLDistributedAppController::~QRLDistributedAppController() = default;

void QRLDistributedAppController::awakeFromNib() {
  accessed_ = false;
  parentCantBeSelf_ = false;
  launchedSubProcesses_ = 0;
  parentProcess_ = getpid();
  setConnectionName(std::nullopt);
  killTimer_ = false;
  vendAsDistributedObject();
}

void QRLDistributedAppController::vendAsDistributedObject() {
  vendAsDistributedObjectWithArgumentIndexForRegisteredName(1);
}

void QRLDistributedAppController::vendAsDistributedObjectWithArgumentIndexForRegisteredName(
    unsigned index) {
  auto arguments = Application::shared().arguments();
  std::optional<std::string> name;
  if (arguments.size() > index)
    name = arguments[index];
  vendAsDistributedObjectWithRegisteredName(name);
}

void QRLDistributedAppController::vendAsDistributedObjectWithRegisteredName(
    const std::optional<std::string>& name) {
  try {
    if (!name || name->empty()) {
      Application::shared().terminate();
      return;
    }
    if (ipc::Proxy::rootProxyForConnectionWithRegisteredName(*name) != nullptr) {
      Application::shared().terminate();  // another process owns the name
      return;
    }
    // Registration fails when another process took the name in between.
    connections_.push_back(ipc::Server::registerName(*name, *this, ipc::RunLoop::main()));
    setConnectionName(*name);
    vended_ = true;
    auto arguments = Application::shared().arguments();
    if (std::find(arguments.begin(), arguments.end(), QRLDistributedParentMustNotBeSelfArgument) !=
        arguments.end()) {
      parentCantBeSelf_ = true;
    }
  } catch (const Exception&) {
    // Left unpublished; a name someone else owns ends the process as above.
    if (!vended_)
      Application::shared().terminate();
  }
}

std::unique_ptr<ipc::Proxy> QRLDistributedAppController::launchDistributedApplicationAtPath(
    const std::string& path, const std::string& withRegisteredName, bool parentAppCantBeSelf) {
  QRLApplicationLauncher launcher;
  auto proxy = launcher.launchDistributedApplicationAtPath(
      path, withRegisteredName, QRLProtocol::QRLDistributedAppCommunicationProtocol,
      parentAppCantBeSelf);
  if (proxy) {
    try {
      QRLCall(*proxy, remote::setParentProcessId, {Value(static_cast<int64_t>(getpid()))});
    } catch (const Exception& e) {
      process::SystemLog::write(e.what());
    }
    ++launchedSubProcesses_;
  }
  return proxy;
}

int QRLDistributedAppController::distributedProcessIdentifier() const {
  return getpid();
}

void QRLDistributedAppController::ensureValidAppIsRunning() {
  auto titles = validRunningAppTitlesForBackgroundDaemons();
  int own = getpid();
  while (!Application::shared().isTerminating()) {
    auto running = process::runningApplications();
    process::SystemLog::write(std::to_string(own));
    bool valid = std::any_of(running.begin(), running.end(), [&](const auto& app) {
      return std::any_of(titles.begin(), titles.end(), [&](const std::string& title) {
        return app.localizedName.find(title) != std::string::npos;
      });
    });
    if (!valid)
      Application::shared().terminate();
    std::this_thread::sleep_for(QRLWatchInterval());
  }
}

// The process-list watch: the parent is alive while "ps <pid>" mentions it.
void QRLDistributedAppController::ensureParentApplicationIsRunning() {
  int own = getpid();
  int pass = 0;
  while (!Application::shared().isTerminating()) {
    QRLFileSystemUtility utility;
    std::string parent = std::to_string(parentProcess_.load());
    auto ps = utility.pathForTerminalCommand("ps");
    std::optional<std::string> output;
    if (ps)
      output = utility.executeTerminalCommand(*ps, {parent});
    if (!output || output->empty() || output->find(parent) == std::string::npos)
      killSelf();
    if (parentProcess_ == own && pass >= 5 && parentCantBeSelf_)
      killSelf();
    std::this_thread::sleep_for(QRLWatchInterval());
    ++pass;
  }
}

void QRLDistributedAppController::configureKillTimer() {
  // The timer is never scheduled: firing it once runs the watch here.
  killTimer_ = true;
  ensureParentApplicationIsRunning();
}

void QRLDistributedAppController::setParentProcessId(int processId) {
  parentProcess_ = processId;
  if (processId != getpid()) {
    std::thread([this] { ensureParentApplicationIsRunning(); }).detach();
  }
}

void QRLDistributedAppController::killSelf() {
  Application::shared().terminate();
}

std::optional<std::string> QRLDistributedAppController::connectionName() const {
  std::lock_guard lock(nameMutex_);
  return connectionName_;
}

void QRLDistributedAppController::setConnectionName(std::optional<std::string> name) {
  std::lock_guard lock(nameMutex_);
  connectionName_ = std::move(name);
}

bool QRLDistributedAppController::isOwnSelector(std::string_view selector) const {
  return ownPerformers_.serves(selector);
}

std::optional<ipc::MethodSignature> QRLDistributedAppController::methodSignatureForSelector(
    std::string_view selector) {
  if (const QRLRemoteMethod* method = ownPerformers_.methodForSelector(selector))
    return method->signature();
  return std::nullopt;
}

Value QRLDistributedAppController::invoke(const std::string& selector,
                                          const std::vector<Value>& arguments) {
  if (!isOwnSelector(selector))
    throw Exception::unsupported("unrecognized selector '" + selector + "'");
  return ownPerformers_.perform(selector, arguments);
}

void QRLDistributedAppController::bindOwnPerformers() {
  using Arguments = QRLPerformers::Arguments;
  auto& own = ownPerformers_;
  own.bind(remote::vendAsDistributedObject, [this](const Arguments&) {
    vendAsDistributedObject();
    return Value();
  });
  own.bind(remote::vendAsDistributedObjectWithRegisteredName, [this](const Arguments& a) {
    vendAsDistributedObjectWithRegisteredName(wire::string(a[0]));
    return Value();
  });
  own.bind(remote::distributedProcessIdentifier,
           [this](const Arguments&) { return Value(distributedProcessIdentifier()); });
  own.bind(remote::ensureParentApplicationIsRunning, [this](const Arguments&) {
    ensureParentApplicationIsRunning();
    return Value();
  });
  own.bind(remote::configureKillTimer, [this](const Arguments&) {
    configureKillTimer();
    return Value();
  });
  own.bind(remote::setParentProcessId, [this](const Arguments& a) {
    setParentProcessId(static_cast<int>(wire::integer(a[0])));
    return Value();
  });
  own.bind(remote::communicationLocked,
           [this](const Arguments&) { return Value(communicationLocked()); });
  own.bind(remote::lockCommunication, [this](const Arguments&) {
    lockCommunication();
    return Value();
  });
  own.bind(remote::killSelf, [this](const Arguments&) {
    killSelf();
    return Value();
  });
}

}  // namespace qrl
