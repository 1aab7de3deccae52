#include "clients/cpp/QRLConduitClient.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "platform/base/Exception.h"
#include "platform/process/Spawn.h"
#include "protocol/QRLApplicationLauncher.h"
#include "protocol/QRLRemoteInterface.h"
#include "protocol/RVM4Application.h"

namespace qrl::client {

namespace fs = std::filesystem;

std::string QRLConduitClient::defaultConduitPath() {
  if (const char* path = std::getenv("QRL_CONDUIT"); path != nullptr && *path != '\0')
    return path;
  fs::path here = fs::path(process::currentExecutablePath()).parent_path();
  for (const fs::path& candidate :
       {here / "qrl-conduit", here.parent_path() / "qrl-conduit" / "qrl-conduit",
        here.parent_path().parent_path() / "apps" / "qrl-conduit" / "qrl-conduit"}) {
    std::error_code ec;
    if (fs::is_regular_file(candidate, ec))
      return candidate.string();
  }
  return "qrl-conduit";
}

std::unique_ptr<process::ApplicationRegistration> QRLConduitClient::registerAsParentApplication() {
  RVM4Application application;
  return process::registerRunningApplication(application.bundleId(),
                                             application.currentExecutableTitle());
}

std::unique_ptr<QRLConduitClient> QRLConduitClient::launch(
    const std::optional<std::string>& conduitPath, const std::optional<std::string>& name) {
  RVM4Application application;
  std::unique_ptr<process::ApplicationRegistration> registration;
  if (process::runningApplicationsWithBundleIdentifier(application.bundleId()).empty()) {
    registration = registerAsParentApplication();
  }
  QRLApplicationLauncher launcher;
  std::string path = conduitPath.value_or(defaultConduitPath());
  auto proxy = launcher.launchDistributedApplicationAtPath(path, name, std::nullopt);
  if (!proxy)
    throw Exception::io("the conduit at " + path + " did not come up within 3 s");
  proxy->setProtocolForProxy(QRLSignatureTable());
  std::unique_ptr<QRLConduitClient> client(
      new QRLConduitClient(std::move(proxy), launcher.lastLaunchedProcessIdentifier()));
  client->registration_ = std::move(registration);
  client->communication().setParentProcessId(static_cast<int32_t>(getpid()));
  return client;
}

std::unique_ptr<QRLConduitClient> QRLConduitClient::connect(const std::string& name) {
  auto proxy = ipc::Proxy::rootProxyForConnectionWithRegisteredName(name);
  if (!proxy)
    return nullptr;
  proxy->setProtocolForProxy(QRLSignatureTable());
  pid_t pid = 0;
  std::unique_ptr<QRLConduitClient> client(new QRLConduitClient(std::move(proxy), pid));
  client->pid_ = client->communication().distributedProcessIdentifier();
  return client;
}

}  // namespace qrl::client
