#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "platform/quicktime/ByteWriter.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "platform/quicktime/Track.h"

namespace qrl::quicktime::testing {

// The 38-byte timecode description the timecode writer stores (data
// reference index left 0).
inline std::vector<uint8_t> timeCodeDescription(const TimeCodeDef& d) {
  std::vector<uint8_t> e;
  ByteWriter out(e);
  out.u32(38);
  out.u32(fourCC("tmcd"));
  out.u32(0);
  out.u16(0);
  out.u16(0);
  out.u32(0);
  out.i32(d.flags);
  out.i32(d.fTimeScale);
  out.i32(d.frameDuration);
  out.u8(d.numFrames);
  out.u8(0);
  out.u32(0);
  return e;
}

// Adds a timecode track the way the timecode writer does: under the picture,
// shown or not, one 4-byte frame number lasting the whole movie, referenced
// from the first video track.
inline Track& addTimeCodeTrack(Movie& movie, const TimeCodeDef& definition, uint32_t frameNumber,
                               bool show, int fontSize = 12) {
  Size natural = movie.naturalSize();
  Duration duration = movie.duration();
  Track& track = movie.newTrack(static_cast<int32_t>(natural.width * 65536), 320 << 16, 0);
  Media& media =
      movie.newTrackMedia(track, kMediaTypeTimeCode, duration.scale, std::nullopt, fourCC("alis"));
  TimeCodeMediaHandler handler(track);
  auto options = handler.displayOptions();
  options.txFont = 21;
  options.txFace = 1;
  options.txSize = static_cast<int16_t>(fontSize);
  handler.setDisplayOptions(options);
  track.setDimensions({natural.width, fontSize * 1.25 + 14});
  Matrix m = track.matrix();
  m.values[7] += static_cast<int32_t>(natural.height * 65536);
  track.setMatrix(m);
  track.setEnabled(true);
  handler.setTimeCodeFlags(show ? 1 : 0, show ? 1 : 0);
  uint32_t description = media.addSampleDescription(timeCodeDescription(definition));
  std::vector<uint8_t> sample;
  ByteWriter(sample).u32(frameNumber);
  media.addSamples(sample, 1, static_cast<uint32_t>(duration.value), description);
  track.insertMedia(0, 0, duration.value, 0x10000);
  auto video = movie.tracksOfMediaType(kMediaTypeVideo);
  if (!video.empty())
    video.front()->addReference(track, fourCC("tmcd"));
  return track;
}

}  // namespace qrl::quicktime::testing
