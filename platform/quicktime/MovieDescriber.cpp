#include "platform/quicktime/MovieDescriber.h"

#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"

namespace qrl::quicktime {

void MovieDescriber::inspect(Movie& movie, MovieDescriber& out) {
  out.startObject("movie");
  if (!movie.path().empty())
    out.addText("file", movie.path().string());
  out.addInteger("timeScale", movie.timeScale());
  out.addInteger("duration", movie.duration().value);
  out.addReal("seconds", movie.duration().seconds());
  Size natural = movie.naturalSize();
  out.addReal("width", natural.width);
  out.addReal("height", natural.height);
  out.startArray("tracks");
  for (const auto& track : movie.tracks()) {
    const Media& media = track->media();
    out.startObject("");
    out.addInteger("id", track->trackID());
    out.addText("type", fourCCString(track->mediaType()));
    out.addBool("enabled", track->isEnabled());
    out.addInteger("layer", track->layer());
    if (auto name = track->displayName())
      out.addText("name", *name);
    Size size = track->dimensions();
    out.addReal("width", size.width);
    out.addReal("height", size.height);
    out.addInteger("duration", track->duration().value);
    out.addInteger("mediaTimeScale", media.timeScale());
    out.addInteger("mediaDuration", media.duration().value);
    out.addInteger("sampleCount", media.sampleTable().sampleCount());
    if (!media.sampleDescriptions().empty()) {
      out.addText("codec", fourCCString(media.sampleDescriptions().front().dataFormat));
    }
    if (track->mediaType() == kMediaTypeTimeCode) {
      TimeCodeMediaHandler handler(*track);
      auto start = handler.currentTimeCode(Time::make(0, movie.timeScale()));
      if (start) {
        out.addText("startTimecode",
                    TimeCodeMediaHandler::toString(start->definition, start->record));
        out.addInteger("startFrameNumber", start->frameNumber);
      }
      if (auto def = handler.timeCodeDefinition()) {
        out.addBool("dropFrame", def->isDropFrame());
        out.addInteger("framesPerSecond", def->numFrames);
      }
      out.addBool("showTimecode", handler.timeCodeFlags() != 0);
    }
    auto tmcd = track->references(kMediaTypeTimeCode);
    if (!tmcd.empty())
      out.addInteger("timecodeTrack", tmcd.front());
    out.endObject();
  }
  out.endArray();
  out.endObject();
}

}  // namespace qrl::quicktime
