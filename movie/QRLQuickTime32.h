#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "movie/QRLMovieTrack.h"
#include "platform/base/Size.h"
#include "platform/graphics/Image.h"
#include "platform/quicktime/TimeCode.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "timecode/QRLVideoFrameRate.h"

namespace qrl {

namespace quicktime {
class Movie;
}

// The timecode-track service the parent application reaches through the
// conduit. Its time scales count interlaced codes in frames, which gives 2500
// for code 4 and 2997 for code 7 (the utility class counts fields and answers
// 5000 and 5994); stored tracks depend on both, so neither is "fixed".
//
// Movies are passed as pointers because a parent may send none; a null movie
// gives the documented empty result. Nothing here throws the project
// exception to the caller.
class QRLQuickTime32 {
 public:
  // --- Frame-rate codes (0 to 9; anything else gives 0) ---
  int32_t timeScaleForVideoFrameRate(QRLVideoFrameRate rate) const;
  // Halved for interlaced codes.
  uint8_t frameCountFromVideoFrameRate(QRLVideoFrameRate rate) const;
  quicktime::TimeCodeDef timecodeDefinitionFromVideoFrameRate(QRLVideoFrameRate rate) const;
  // Judged by the decimal time scale alone, as a frame-rate description.
  QRLVideoFrameRate videoFrameRateFromTimecodeDef(const quicktime::TimeCodeDef& definition) const;
  // Always 10 (unknown): tracks do not say their rate here.
  QRLVideoFrameRate videoFrameRateForTrack(QRLMovieTrack track) const;

  // --- Reading timecode tracks ---
  std::optional<quicktime::TimeCodeMediaHandler> QTTC_GetTimeCodeMediaHandler(
      const quicktime::Movie* movie) const;
  std::optional<std::string> QTTC_FindCurrentTimeCode(const quicktime::Movie* movie) const;
  std::optional<std::string> QTTC_ShowCurrentTimeCode(const quicktime::Movie* movie) const;
  std::optional<std::string> extractStartTimecodeFromTimecodeTrack(QRLMovieTrack track) const;
  // One entry per video step, the default timecode where none reads; empty
  // without a timecode track. Leaves the movie's current time at its end.
  std::vector<std::string> timecodeSeriesForMovie(quicktime::Movie* movie) const;
  std::optional<std::string> timecodeAtCurrentPlayPositionForMovie(
      const quicktime::Movie* movie) const;

  // --- Changing movies (nothing here saves unless it says so) ---
  // Makes the movie editable, enables or disables every timecode track and
  // saves it in place, also when it has none. Failures are swallowed.
  void setEnabledStateOfQTTimecodeTracksForMovie(quicktime::Movie* movie, bool enabled) const;
  // Walks the movie frame by frame, then adds a timecode track lasting the
  // whole movie: one frame-number sample of the start timecode, bold text of
  // `fontSize` in a strip under the picture (shown when `includeTimeCode`),
  // enabled, referenced from the first video track. Uses this class's time scales.
  // False for a null movie (not logged) and when the engine refused a step
  // ("Problem occured while trying to create a new track for the movie").
  bool addTimecodeTrackToMovie(quicktime::Movie* movie, QRLVideoFrameRate videoFrameRate,
                               const std::string& beginningTimecode, bool includeTimeCode,
                               int32_t fontSize) const;
  // See QRLQuickTimeUtility32::QTUCopySoundTracks.
  int16_t QTUCopySoundTracks(const quicktime::Movie* source,
                             quicktime::Movie* destinationMovie) const;
  // True exactly when every sound track was copied.
  bool copyAudioTracksFromMovie(const quicktime::Movie* movie, quicktime::Movie* intoMovie) const;

  // --- Movie queries ---
  // In the movie's own time scale; 0 when the file is not a movie.
  int64_t durationOfFileInMiliseconds(const std::string& path) const;
  graphics::Image posterImageForFilePath(const std::string& path, bool compressImage) const;
  graphics::Image posterImageForFilePath(const std::string& path) const;
  Size thumbnailSizeForImageSize(Size size) const;

  // Reads HH, MM, SS and FF by position; see QRLQuickTimeUtility32.
  void timecodeToTimeCodeRecord(const char* timecode, quicktime::TimeCodeRecord* toTCRec) const;
};

}  // namespace qrl
