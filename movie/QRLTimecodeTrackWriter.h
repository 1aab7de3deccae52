#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "platform/quicktime/Matrix.h"
#include "platform/quicktime/TimeCode.h"

namespace qrl {

namespace quicktime {
class Movie;
class Track;
}  // namespace quicktime

// The steps both timecode-track classes take to add a timecode track: a
// track the width of the picture with a strip under it for the bold timecode
// text, one frame-number sample, and a reference from the first video track.
// Class methods only; each throws the project exception where the movie
// engine does, and the callers decide what to catch.
class QRLTimecodeTrackWriter {
 public:
  static constexpr int16_t kFontNumber = 21;
  static constexpr int16_t kBoldFace = 1;
  // Tracks are made this high, then resized to the strip.
  static constexpr int32_t kInitialTrackHeight = 320 << 16;
  static constexpr int32_t kShowTimeCode = 1;

  // A pixel length in 16.16 fixed point the way the toolbox converts it:
  // 2^31 and more clamp to the largest value (and the same below).
  static int32_t fixedFromPixels(double pixels);
  // (font size x 1.25 + 14) pixels, in 16.16.
  static int32_t stripHeightForFontSize(int32_t fontSize);

  // The 38-byte timecode sample description as the file stores it (the
  // toolbox flips its native block to this order on save). The data
  // reference index is left 0, which means the movie's own file.
  static std::vector<uint8_t> timecodeDescription(const quicktime::TimeCodeDef& definition);
  // The record's frame number as a 4-byte big-endian sample; 0 when the
  // record is no timecode of the definition.
  static std::array<uint8_t, 4> frameNumberSample(const quicktime::TimeCodeDef& definition,
                                                  const quicktime::TimeCodeRecord& record);

  // Steps the movie from its beginning to its end once, frame by frame, and
  // goes back to the beginning. The single-track forms do this before they
  // make the track; callers depend on the movie being walked.
  static void walkMovie(quicktime::Movie& movie);

  // A new timecode track with its media, display options (font 21, bold,
  // the size's low 16 bits), strip dimensions, placed under a picture of
  // `naturalHeight` and enabled. `describe` fills the definition and record
  // once the media exists (the start text is converted at that point).
  struct NewTrack {
    quicktime::Track* track = nullptr;
    quicktime::TimeCodeDef definition;
    quicktime::TimeCodeRecord record;
  };
  using Describe = std::function<void(quicktime::TimeCodeDef&, quicktime::TimeCodeRecord&)>;
  static NewTrack newTimecodeTrack(quicktime::Movie& movie, double naturalWidth,
                                   double naturalHeight, int32_t mediaTimeScale, int32_t fontSize,
                                   const Describe& describe);

  // Shows the timecode text (flags and mask both 1) or hides it (both 0).
  static void setShowTimecode(quicktime::Track& track, bool show);

  // One sample holding the start frame number for `duration` media units,
  // inserted at `trackStart` (movie time); then the reference from the
  // movie's first video track (a range exception when there is none).
  static void addTimecodeSample(quicktime::Movie& movie, const NewTrack& made, int64_t trackStart,
                                int64_t duration);

  // The single-track form: walks the movie, then adds one timecode track
  // lasting the whole movie (media time scale = the duration's), shown or not.
  static void addTrackForWholeMovie(quicktime::Movie& movie, bool includeTimeCode, int32_t fontSize,
                                    const Describe& describe);
};

}  // namespace qrl
