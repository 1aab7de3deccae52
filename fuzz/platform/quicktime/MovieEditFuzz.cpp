// Opens arbitrary bytes as a movie file, edits it the way the movie services
// do (a timecode track, names and flags, a segment of its own track, a
// removed track), saves it in place, reads it back and compacts it. Bad input
// must end in qrl::Exception, never a crash.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/base/Exception.h"
#include "platform/quicktime/ByteWriter.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/MovieCompactor.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "platform/quicktime/Track.h"

namespace {

using namespace qrl::quicktime;
using qrl::Duration;
using qrl::Time;
using qrl::TimeRange;

void edit(Movie& movie) {
  Duration duration = movie.duration();
  auto units = static_cast<uint32_t>(std::clamp<int64_t>(duration.value, 1, 1 << 30));
  Track& tc = movie.newTrack(64 << 16, 29 << 16, 0);
  Media& media = movie.newTrackMedia(tc, kMediaTypeTimeCode, movie.timeScale(), std::nullopt);
  TimeCodeMediaHandler handler(tc);
  auto options = handler.displayOptions();
  options.txFont = 21;
  handler.setDisplayOptions(options);
  handler.setTimeCodeFlags(1, 1);
  std::vector<uint8_t> description;
  ByteWriter out(description);
  out.u32(38);
  out.u32(fourCC("tmcd"));
  out.zeros(12);
  out.i32(0);
  out.i32(2500);
  out.i32(100);
  out.u8(25);
  out.u8(0);
  out.u32(0);
  uint32_t number = media.addSampleDescription(description);
  media.addSamples(std::vector<uint8_t>{0, 1, 0x5F, 0x90}, 1, units, number);
  tc.insertMedia(0, 0, units);

  if (movie.trackCount() > 1) {
    Track& first = movie.track(1);
    first.setDisplayName("Camera");
    first.setLayer(-1);
    first.setEnabled(false);
    first.addReference(tc, fourCC("tmcd"));
    if (first.media().sampleTable().sampleCount() > 0 && first.mediaType() != 0) {
      Track& copy = movie.newTrack(0, 0, 0x100);
      movie.newTrackMedia(copy, first.mediaType(), first.media().timeScale(), std::nullopt);
      copy.insertSegment(first, TimeRange::make(Time::make(0, 1), first.duration()),
                         Time::make(0, 1));
    }
    movie.removeTrack(first);
  }
  movie.updateMovieFile();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::filesystem::path path =
      std::filesystem::temp_directory_path() /
      ("qrl-edit-fuzz-" + std::to_string(::getpid()) + ".mov");
  {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  try {
    auto movie = Movie::open(path);
    movie->setEditable(true);
    edit(*movie);
    auto reread = Movie::open(path);
    for (const auto& track : reread->tracks())
      (void)track->media().sampleTable().sampleCount();
    MovieCompactor::compact(path);
    (void)Movie::open(path);
  } catch (const qrl::Exception&) {
    // Expected for bad input.
  }
  std::error_code ec;
  std::filesystem::remove(path, ec);
  return 0;
}
