#pragma once

#include "conduit/QRLServiceObject.h"
#include "settings/QRLQTSettingsParser.h"

namespace qrl {

// The compression-settings parser as the conduit serves it. The controller
// queues its one method to the main thread and answers the caller nil at
// once; the method logs what it made of the settings, the only trace of the
// work that a caller can see.
class QRLQTSettingsParserService : public QRLServiceObject {
 public:
  QRLQTSettingsParserService();
  std::string_view className() const override { return "QRLQTSettingsParser"; }

 private:
  QRLQTSettingsParser parser_;
};

}  // namespace qrl
