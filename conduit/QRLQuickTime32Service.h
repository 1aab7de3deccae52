#pragma once

#include "conduit/QRLServiceObject.h"
#include "movie/QRLQuickTime32.h"

namespace qrl {

// The timecode-track service as the conduit serves it. Arguments and results
// take their wire forms from protocol/QRLWireValues.h; a movie that does not
// open is a nil movie, which each method answers in its documented way. A
// poster image travels as PNG file data (empty data for an empty image), a
// timecode series as an array of strings.
class QRLQuickTime32Service : public QRLServiceObject {
 public:
  QRLQuickTime32Service();
  std::string_view className() const override { return "QRLQuickTime32"; }

 private:
  QRLQuickTime32 service_;
};

}  // namespace qrl
