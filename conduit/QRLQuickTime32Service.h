#pragma once

#include "conduit/QRLServiceObject.h"
#include "movie/QRLQuickTime32.h"

namespace qrl {

// The timecode-track service as the conduit serves it. A movie travels as its
// path and is opened for the call (a file that does not open is a nil movie,
// which each method answers in its documented way); a track as {"path",
// "index"} with the index counted from 1; a size as {"width", "height"}; a
// timecode definition as {"flags", "timeScale", "frameDuration",
// "numFrames"}; a poster image as PNG file data (empty data for an empty
// image); a timecode series as an array of strings.
class QRLQuickTime32Service : public QRLServiceObject {
 public:
  QRLQuickTime32Service();
  std::string_view className() const override { return "QRLQuickTime32"; }

 private:
  QRLQuickTime32 service_;
};

}  // namespace qrl
