#include "conduit/QRLMediaDocumentWriterService.h"
#include "conduit/QRLQTConduitAppController.h"

namespace qrl {

// Slots whose services this build does not have yet stay empty.
QRLConduitServices QRLMakeConduitServices() {
  QRLConduitServices services;
  services.mediaDocumentWriter = std::make_shared<QRLMediaDocumentWriterService>();
  return services;
}

}  // namespace qrl
