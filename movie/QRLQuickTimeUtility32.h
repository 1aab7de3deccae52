#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "movie/QRLMovieTrack.h"
#include "platform/quicktime/TimeCode.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "records/QTTimecodeDescription.h"
#include "timecode/QRLVideoFrameRate.h"

namespace qrl {

namespace quicktime {
class Movie;
}

// The timecode-track operations as the overlay writer and the track writer
// use them inside the conduit: class methods over the QuickTime-side rate
// codes (100 to 113), and a few instance methods over the frame-rate codes
// whose time scales count interlaced codes in fields (5000 and 5994 for codes
// 4 and 7, where the service object answers 2500 and 2997).
//
// Nothing here throws the project exception to the caller: missing tracks
// or unreadable timecodes give the documented fallback.
class QRLQuickTimeUtility32 {
 public:
  // --- Instance methods (frame-rate codes 0 to 9; anything else gives 0) ---
  int32_t timeScaleForVideoFrameRate(QRLVideoFrameRate rate) const;
  // Halved for interlaced codes.
  uint8_t frameCountFromVideoFrameRate(QRLVideoFrameRate rate) const;
  // Drop flag from the code, frame duration 100; never the 24-hour flag.
  quicktime::TimeCodeDef timecodeDefinitionFromVideoFrameRate(QRLVideoFrameRate rate) const;
  void timecodeToTimeCodeRecord(const char* timecode, quicktime::TimeCodeRecord* toTCRec) const;
  // Adds a timecode track for the whole movie from this class's definition
  // of the code (see QRLQuickTime32 for the steps). False for a null movie,
  // without a log, and when the engine refused a step (logged).
  bool addTimecodeTrackToMovie(quicktime::Movie* movie, QRLVideoFrameRate videoFrameRate,
                               const std::string& beginningTimecode, bool includeTimeCode,
                               int32_t fontSize) const;

  // --- Reading timecode tracks ---
  // The handler of the movie's first timecode track; none for a null movie
  // or one without a timecode track.
  static std::optional<quicktime::TimeCodeMediaHandler> QTTC_GetTimeCodeMediaHandler(
      const quicktime::Movie* movie);
  // The timecode at the movie's current time, untrimmed; none when there is
  // no timecode track or nothing can be read there.
  static std::optional<std::string> QTTC_FindCurrentTimeCode(const quicktime::Movie* movie);
  static std::optional<std::string> QTTC_ShowCurrentTimeCode(const quicktime::Movie* movie);
  // The timecode the track shows at its movie's current time, trimmed; for a
  // freshly opened movie that is the track's start.
  static std::optional<std::string> timecodeStartTimeInQTTimecodeTrack(QRLMovieTrack track);
  // One timecode per video step from the beginning; the default timecode
  // where none can be read; empty without a timecode track. Every entry is
  // logged. Leaves the movie's current time at its end.
  static std::vector<std::string> timecodeSeriesForMovie(quicktime::Movie* movie);

  // --- Writing timecode tracks (the movie must be editable; nothing saves) ---
  // The same track from a movie rate definition (100 to 111). A null movie
  // is logged as a failed insertion and then nothing happens; a refused step
  // is logged and the track stays as far as it got.
  static void insertTimeCodeTrackIntoMovie(quicktime::Movie* movie, QRLMovieRateDefinition withRate,
                                           const std::string& startTime, bool includeTimeCode,
                                           int32_t fontSize);
  // One shown timecode track per segment, laid end to end from time 0 (the
  // durations are added as they are, without converting time scales). No
  // walk; a null movie or a refused step ends it silently.
  static void insertTimecodeSegmentsIntoMovie(quicktime::Movie* movie, int32_t fontSize,
                                              const std::vector<QTTimecodeDescription>& timecodes);
  // Copies every sound track of the source into the destination, each a new
  // track of the source's volume and media time scale showing the source
  // track's whole duration from time 0. Answers the toolbox error of the
  // first step that failed (tracks copied before it stay), else 0.
  static int16_t QTUCopySoundTracks(const quicktime::Movie* source,
                                    quicktime::Movie* destinationMovie);

  // --- Text -> record ---
  // Reads HH, MM, SS and FF by position (the separators are never looked
  // at), each as atoi reads it, into 8-bit fields. Text of 15 or more bytes
  // overflows the historical buffer: std::length_error, which no caller
  // catches (a null text does the same as an empty one).
  static void convertStringToTimeCodeRecord(const char* timecode,
                                            quicktime::TimeCodeRecord* toTCRec);

  // --- Movie rate definitions (100 to 113) ---
  // Every code 100 to 113; anything else gives drop-frame 29.97.
  static quicktime::TimeCodeDef findTimeCodeDefinitionFromRate(QRLMovieRateDefinition rate);
  // Codes 100 to 111 only, with time scale 2997 for code 110 (the track
  // writer has always written 110 so).
  static quicktime::TimeCodeDef timeCodeDefinitionFromRate(QRLMovieRateDefinition rate);
  // Judged by substrings of the decimal time scale and frame count, in a
  // fixed order; 101 when nothing matches.
  static QRLMovieRateDefinition findTimeCodeRateDefinitionFromTimecodeDef(
      const quicktime::TimeCodeDef& definition);
  // The rate of the definition the track shows at its movie's current time;
  // 101 when it cannot be read.
  static QRLMovieRateDefinition timecodeRateDefinitionForTrack(QRLMovieTrack track);
};

}  // namespace qrl
