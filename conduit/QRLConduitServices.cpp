#include "conduit/QRLMediaDocumentWriterService.h"
#include "conduit/QRLQTConduitAppController.h"
#include "conduit/QRLQTOverlayWriterService.h"
#include "conduit/QRLQuickTime32Service.h"

namespace qrl {

// Slots whose services this build does not have yet stay empty.
QRLConduitServices QRLMakeConduitServices() {
  QRLConduitServices services;
  services.qtObject = std::make_shared<QRLQuickTime32Service>();
  services.qtOverlayWriter = std::make_shared<QRLQTOverlayWriterService>();
  services.mediaDocumentWriter = std::make_shared<QRLMediaDocumentWriterService>();
  return services;
}

}  // namespace qrl
