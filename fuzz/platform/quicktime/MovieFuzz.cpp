// Feeds arbitrary bytes to the movie reader (QuickTime, ISO, WAV and AIFF)
// and exercises what a caller does next: samples, stepping, timecode and the
// inspector. Bad input must end in qrl::Exception, never a crash.
#include <cstdint>
#include <sstream>
#include <vector>

#include "platform/base/Exception.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/JsonMovieDescriber.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace qrl::quicktime;
  try {
    auto movie = Movie::fromBytes(std::vector<uint8_t>(data, data + size));
    for (const auto& track : movie->tracks()) {
      const Media& media = track->media();
      uint32_t count = media.sampleTable().sampleCount();
      for (uint32_t i = 0; i < count && i < 64; ++i) {
        Sample s = media.sampleTable().sample(i);
        (void)media.sampleTable().sampleIndexAtTime(s.time);
        if (media.dataReferences().empty() || media.dataReferences()[0].isSelfReference) {
          try {
            (void)media.readSample(i);
          } catch (const qrl::Exception&) {
          }
        }
      }
      (void)track->displayName();
      (void)track->references(kMediaTypeTimeCode);
    }
    if (auto handler = TimeCodeMediaHandler::forMovie(*movie)) {
      (void)handler->displayOptions();
      (void)handler->currentTimeCode(*movie);
    }
    movie->gotoBeginning();
    for (int step = 0; step < 512 && movie->currentTime() != qrl::Time::zeroPlus(movie->duration());
         ++step) {
      movie->stepForward();
    }
    std::ostringstream json;
    JsonMovieDescriber printer(json);
    MovieDescriber::inspect(*movie, printer);
  } catch (const qrl::Exception&) {
    // Expected for bad input.
  }
  return 0;
}
