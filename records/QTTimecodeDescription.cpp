#include "records/QTTimecodeDescription.h"

#include "records/QRLRecordDefaults.h"

namespace qrl {

QTTimecodeDescription::QTTimecodeDescription() : startTimecode_(kDefaultTimecode) {}

QTTimecodeDescription QTTimecodeDescription::timecodeDescriptionForTimecode(std::string timecode,
                                                                            int32_t withFrameRate,
                                                                            Duration andDuration) {
  QTTimecodeDescription d;
  d.startTimecode_ = std::move(timecode);
  d.frameRate_ = withFrameRate;
  d.timecodeDuration_ = andDuration;
  return d;
}

}  // namespace qrl
