#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>

#include "clients/cpp/QRLConduitProxies.h"
#include "platform/ipc/Proxy.h"
#include "platform/process/RunningApplications.h"

namespace qrl::client {

// A parent's handle on one conduit: it holds the parent registration the
// conduit watches for, the connection, and typed proxies per protocol.
//
//   auto conduit = QRLConduitClient::launch();
//   conduit->documentWriter().saveFinalCut7XmlToPathsForTimecodeDetailsData({"/tmp/a.xml"}, {},
//   false);
class QRLConduitClient {
 public:
  // Registers this process as the running parent application (unless it
  // already is), starts the conduit at `conduitPath` (default:
  // defaultConduitPath()) published under `name` (default: its process
  // identifier), waits up to 3 s for it and reports this process as its
  // parent. Throws qrl::Exception when the conduit does not come up.
  static std::unique_ptr<QRLConduitClient> launch(
      const std::optional<std::string>& conduitPath = std::nullopt,
      const std::optional<std::string>& name = std::nullopt);

  // Connects to a conduit already serving `name`; null when none does.
  static std::unique_ptr<QRLConduitClient> connect(const std::string& name);

  // $QRL_CONDUIT, else qrl-conduit beside this program or in the build tree's
  // apps/qrl-conduit folder next to this program's folder.
  static std::string defaultConduitPath();

  // Holds this process's entry as the running parent application
  // (com.quorlan.Ravelmark4) for the life of the returned object.
  static std::unique_ptr<process::ApplicationRegistration> registerAsParentApplication();

  const std::string& name() const { return proxy_->name(); }
  pid_t processIdentifier() const { return pid_; }
  ipc::Proxy& proxy() { return *proxy_; }

  QRLDistributedAppCommunicationProxy communication() {
    return QRLDistributedAppCommunicationProxy(*proxy_);
  }
  QRLQuickTime32Proxy quickTime() { return QRLQuickTime32Proxy(*proxy_); }
  QRLQTOverlayProxy overlay() { return QRLQTOverlayProxy(*proxy_); }
  QRLDistributedQTOverlayProxy distributedOverlay() {
    return QRLDistributedQTOverlayProxy(*proxy_);
  }
  QRLQTSettingsParserProxy settingsParser() { return QRLQTSettingsParserProxy(*proxy_); }
  QRLMediaDocumentWriter32Proxy documentWriter() { return QRLMediaDocumentWriter32Proxy(*proxy_); }

 private:
  QRLConduitClient(std::unique_ptr<ipc::Proxy> proxy, pid_t pid)
      : proxy_(std::move(proxy)), pid_(pid) {}

  std::unique_ptr<process::ApplicationRegistration> registration_;
  std::unique_ptr<ipc::Proxy> proxy_;
  pid_t pid_ = 0;
};

}  // namespace qrl::client
