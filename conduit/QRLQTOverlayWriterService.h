#pragma once

#include "conduit/QRLServiceObject.h"
#include "movie/QRLQTOverlayWriter.h"

namespace qrl {

// The overlay writer as the conduit serves it. A movie travels as its path;
// the writer opens it and saves it into its own file when an overlay lands,
// and leaves the file as it was when one fails. An image travels as
// image-file data (PNG, JPEG, TIFF...); a point as {"x", "y"}; a size as
// {"width", "height"}; a colour as {"red", "green", "blue", "alpha"} with
// components in 0..1 (alpha may be left out for an opaque colour); an overlay
// description as a dictionary keyed by its accessor names, a missing key
// reading as zero, false or none. A value of the wrong shape is an error
// reply; everything else fails as the writer does, with a line in the log.
class QRLQTOverlayWriterService : public QRLServiceObject {
 public:
  QRLQTOverlayWriterService();
  std::string_view className() const override { return "QRLQTOverlayWriter"; }

 private:
  QRLQTOverlayWriter writer_;
};

}  // namespace qrl
