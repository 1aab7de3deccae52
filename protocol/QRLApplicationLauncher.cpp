#include "protocol/QRLApplicationLauncher.h"

#include <poll.h>
#include <sys/inotify.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/base/Exception.h"
#include "platform/base/FileDescriptor.h"
#include "platform/process/RuntimeDirectory.h"
#include "platform/process/Spawn.h"
#include "platform/process/SystemLog.h"

namespace qrl {

namespace fs = std::filesystem;

namespace {

bool endsWithAppIgnoringCase(const std::string& path) {
  if (path.size() < 4)
    return false;
  std::string tail = path.substr(path.size() - 4);
  std::transform(tail.begin(), tail.end(), tail.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return tail == ".app";
}

// Waits up to `timeout` for something to be created in the runtime directory,
// so a name is seen as soon as it is published rather than at the next tick.
void waitForNewName(int inotifyFd, std::chrono::milliseconds timeout) {
  if (inotifyFd < 0) {
    std::this_thread::sleep_for(timeout);
    return;
  }
  pollfd fd{inotifyFd, POLLIN, 0};
  if (::poll(&fd, 1, static_cast<int>(timeout.count())) > 0) {
    char buffer[4096];
    while (::read(inotifyFd, buffer, sizeof buffer) > 0) {
    }
  }
}

}  // namespace

std::string QRLApplicationLauncher::bundleNameForTitle(const std::string& title) {
  return endsWithAppIgnoringCase(title) ? title : title + ".app";
}

std::string QRLApplicationLauncher::executablePathForApplicationAtPath(const std::string& path) {
  std::error_code ec;
  if (endsWithAppIgnoringCase(path) && fs::is_directory(path, ec)) {
    std::string stem = fs::path(path).filename().stem().string();
    return path + "/Contents/MacOS/" + stem;
  }
  return path;
}

std::unique_ptr<ipc::Proxy> QRLApplicationLauncher::launchDistributedBundledApplicationWithTitle(
    const std::string& title, const std::optional<std::string>& registeredName,
    std::optional<QRLProtocol> conformToProtocol) {
  std::string resources = fs::path(process::currentExecutablePath()).parent_path().string();
  std::string path = resources + "/" + bundleNameForTitle(title);
  return launchDistributedApplicationAtPath(path, registeredName, conformToProtocol, false);
}

std::unique_ptr<ipc::Proxy> QRLApplicationLauncher::launchDistributedApplicationAtPath(
    const std::string& path, const std::optional<std::string>& withRegisteredName,
    std::optional<QRLProtocol> conformToProtocol) {
  return launchDistributedApplicationAtPath(path, withRegisteredName, conformToProtocol, false);
}

std::unique_ptr<ipc::Proxy> QRLApplicationLauncher::launchDistributedApplicationAtPath(
    const std::string& path, const std::optional<std::string>& withRegisteredName,
    std::optional<QRLProtocol> conformToProtocol, bool appParentCantBeSelf) {
  try {
    std::vector<std::string> arguments;
    if (withRegisteredName)
      arguments.push_back(*withRegisteredName);
    if (appParentCantBeSelf)
      arguments.emplace_back(QRLDistributedParentMustNotBeSelfArgument);

    FileDescriptor watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (watch.valid()) {
      inotify_add_watch(watch.get(), process::runtimeDirectory().c_str(), IN_CREATE | IN_MOVED_TO);
    }
    lastLaunched_ = 0;
    launchApplicationAtPath(path,
                            arguments.empty() ? std::nullopt : std::optional(std::move(arguments)));
    std::string name = withRegisteredName ? *withRegisteredName : std::to_string(lastLaunched_);
    if (!withRegisteredName && lastLaunched_ == 0)
      return nullptr;

    std::unique_ptr<ipc::Proxy> proxy;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (std::chrono::steady_clock::now() < deadline) {
      proxy = ipc::Proxy::rootProxyForConnectionWithRegisteredName(name);
      if (proxy)
        break;
      waitForNewName(watch.get(), std::chrono::milliseconds(100));
    }
    if (proxy && conformToProtocol) {
      proxy->setProtocolForProxy(QRLSignatureTableForProtocol(*conformToProtocol));
    }
    return proxy;
  } catch (const Exception&) {
    return nullptr;
  }
}

bool QRLApplicationLauncher::launchApplicationAtPath(
    const std::string& path, const std::optional<std::vector<std::string>>& withArguments) {
  try {
    lastLaunched_ = process::spawnDetached(executablePathForApplicationAtPath(path),
                                           withArguments.value_or(std::vector<std::string>{}));
    ++launchCounter_;
  } catch (const Exception& e) {
    process::SystemLog::write(e.what());
  }
  return true;
}

}  // namespace qrl
