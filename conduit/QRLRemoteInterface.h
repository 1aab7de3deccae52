#pragma once

#include <span>
#include <string_view>

#include "platform/ipc/MethodSignature.h"
#include "platform/ipc/Proxy.h"

namespace qrl {

// The protocols the conduit's remote interface is made of.
enum class QRLProtocol {
  QRLDistributedAppCommunicationProtocol,
  QRLQuickTime32Protocol,
  QRLQTOverlayProtocol,
  QRLDistributedQTOverlayProtocol,
  QRLQTSettingsParserProtocol,
  QRLMediaDocumentWriter32Protocol,
};

struct QRLRemoteMethod {
  std::string_view selector;
  QRLProtocol protocol;
  ipc::MethodSignature signature;
};

// Every remote method, with its argument and result kinds: the one place
// where the selector strings are spelled.
std::span<const QRLRemoteMethod> QRLRemoteInterface();

const QRLRemoteMethod* QRLRemoteMethodForSelector(std::string_view selector);

std::string_view QRLProtocolName(QRLProtocol protocol);

// The signatures of one protocol, as a client declares them on its proxy.
ipc::SignatureTable QRLSignatureTableForProtocol(QRLProtocol protocol);

}  // namespace qrl
