#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/base/Time.h"
#include "platform/quicktime/TimeCode.h"

namespace qrl::quicktime {

class Movie;
class Track;

// The timecode media handler of one timecode track: its definition, its
// display options and show flag as QuickTime stores them, the timecode at a
// movie time, and the frame-number arithmetic with SMPTE drop-frame rules.
// Holds a non-owning reference to the track, which must outlive it.
class TimeCodeMediaHandler {
 public:
  static constexpr int32_t kShowTimeCode = 0x1;  // tcdfShowTimeCode

  // The text style of the track's timecode display (QuickTime's TCTextOptions).
  struct TextOptions {
    int16_t txFont = 0;
    int16_t txFace = 0;
    int16_t txSize = 12;
    std::array<uint16_t, 3> foreColor{0, 0, 0};
    std::array<uint16_t, 3> backColor{0xFFFF, 0xFFFF, 0xFFFF};
    std::string fontName;
  };

  // What TCGetCurrentTimeCode answers.
  struct CurrentTimeCode {
    TimeCodeDef definition;
    TimeCodeRecord record;
    int64_t frameNumber = 0;
    std::string reelName;
  };

  // Throws an unsupported Exception when the track's media is not timecode.
  explicit TimeCodeMediaHandler(const Track& track);
  // A handler that may also change the track's display (the setters below).
  explicit TimeCodeMediaHandler(Track& track);
  // The handler of the movie's first timecode track; none without one.
  static std::optional<TimeCodeMediaHandler> forMovie(const Movie& movie);

  const Track& track() const { return *track_; }

  // The definition of a sample description (1-based); none when it is missing
  // or unusable (zero rate or frame count).
  std::optional<TimeCodeDef> timeCodeDefinition(uint32_t descriptionNumber = 1) const;
  // From the track's 'tcmi'; defaults when the track has none.
  TextOptions displayOptions() const;
  // kShowTimeCode when the display is switched on.
  int32_t timeCodeFlags() const;

  // TCSetDisplayOptions and TCSetTimeCodeFlags (the bits in `mask` take their
  // values from `flags`). Throw an unsupported Exception on a handler made
  // from a const track or a movie that is not editable.
  void setDisplayOptions(const TextOptions& options);
  void setTimeCodeFlags(int32_t flags, int32_t mask);

  // The timecode shown at a movie time: the frame number stored in the sample
  // covering it plus the whole frames elapsed since that sample began. None in
  // an empty edit, past the track's end, or when the sample cannot be read.
  std::optional<CurrentTimeCode> currentTimeCode(Time movieTime) const;
  std::optional<CurrentTimeCode> currentTimeCode(const Movie& movie) const;

  // The frame number of a record (counting from 00:00:00:00 at `numFrames`
  // frames per second, leaving out dropped numbers); none for fields out of
  // range or a frame label that drop-frame counting skips.
  static std::optional<int64_t> frameNumberFromRecord(const TimeCodeDef& definition,
                                                      const TimeCodeRecord& record);
  static TimeCodeRecord recordFromFrameNumber(const TimeCodeDef& definition, int64_t frameNumber);
  // "HH:MM:SS:FF", with ";" before the frames for drop-frame and a leading "-"
  // for a negative record.
  static std::string toString(const TimeCodeDef& definition, const TimeCodeRecord& record);

 private:
  Track& editableTrack() const;

  const Track* track_;
  Track* mutableTrack_ = nullptr;
};

}  // namespace qrl::quicktime
