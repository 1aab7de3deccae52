#pragma once

#include "conduit/QRLServiceObject.h"
#include "movie/QRLQTOverlayWriter.h"

namespace qrl {

// The overlay writer as the conduit serves it. Arguments take their wire
// forms from protocol/QRLWireValues.h (a value of the wrong shape is an error
// reply). The writer opens the movie at a path itself and saves it into its
// own file when an overlay lands, and leaves the file as it was when one
// fails, with a line in the log.
class QRLQTOverlayWriterService : public QRLServiceObject {
 public:
  QRLQTOverlayWriterService();
  std::string_view className() const override { return "QRLQTOverlayWriter"; }

 private:
  QRLQTOverlayWriter writer_;
};

}  // namespace qrl
