#include "platform/quicktime/TimeCodeMediaHandler.h"

#include <cstdio>

#include "platform/base/Exception.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaInfoAtom.h"
#include "platform/quicktime/Track.h"

namespace qrl::quicktime {
namespace {

// Frame numbers dropped at the start of each minute not divisible by ten:
// 2 at 30 frames, 4 at 60, and none where counting is not drop-frame or the
// rate is not a multiple of 30 (no SMPTE rule exists there).
int64_t droppedPerMinute(const TimeCodeDef& d) {
  if (!d.isDropFrame() || d.numFrames == 0 || d.numFrames % 30 != 0)
    return 0;
  return d.numFrames / 15;
}

}  // namespace

TimeCodeMediaHandler::TimeCodeMediaHandler(const Track& track) : track_(&track) {
  if (track.mediaType() != kMediaTypeTimeCode) {
    throw Exception::unsupported("track " + std::to_string(track.trackID()) +
                                 " is not a timecode track");
  }
}

TimeCodeMediaHandler::TimeCodeMediaHandler(Track& track)
    : TimeCodeMediaHandler(static_cast<const Track&>(track)) {
  mutableTrack_ = &track;
}

Track& TimeCodeMediaHandler::editableTrack() const {
  if (mutableTrack_ == nullptr)
    throw Exception::unsupported("this timecode handler cannot change its track");
  return *mutableTrack_;
}

void TimeCodeMediaHandler::setDisplayOptions(const TextOptions& o) {
  Track& track = editableTrack();
  auto& tcmi = track.media().timeCodeMediaInfo();
  auto f = tcmi.fields();
  f.textFont = o.txFont;
  f.textFace = o.txFace;
  f.textSize = o.txSize;
  f.textColor = o.foreColor;
  f.backgroundColor = o.backColor;
  if (!o.fontName.empty())
    f.fontName = o.fontName;
  tcmi.setFields(f);
  track.movie().markChanged();
}

void TimeCodeMediaHandler::setTimeCodeFlags(int32_t flags, int32_t mask) {
  Track& track = editableTrack();
  auto& tcmi = track.media().timeCodeMediaInfo();
  auto bits = static_cast<uint32_t>(mask & kShowTimeCode);
  tcmi.setFlags((tcmi.flags() & ~bits) | (static_cast<uint32_t>(flags) & bits));
  track.movie().markChanged();
}

std::optional<TimeCodeMediaHandler> TimeCodeMediaHandler::forMovie(const Movie& movie) {
  auto tracks = movie.tracksOfMediaType(kMediaTypeTimeCode);
  if (tracks.empty())
    return std::nullopt;
  return TimeCodeMediaHandler(*tracks.front());
}

std::optional<TimeCodeDef> TimeCodeMediaHandler::timeCodeDefinition(
    uint32_t descriptionNumber) const {
  const auto& descriptions = track_->media().sampleDescriptions();
  if (descriptionNumber == 0 || descriptionNumber > descriptions.size())
    return std::nullopt;
  const auto& tc = descriptions[descriptionNumber - 1].timeCode;
  if (!tc || tc->definition.fTimeScale <= 0 || tc->definition.frameDuration <= 0 ||
      tc->definition.numFrames == 0) {
    return std::nullopt;
  }
  return tc->definition;
}

namespace {
const TimeCodeMediaInfoAtom* mediaInfo(const Track& track) {
  auto* tmcd = track.media().atom().container({fourCC("minf"), fourCC("gmhd"), fourCC("tmcd")});
  return tmcd ? tmcd->childAs<TimeCodeMediaInfoAtom>(TimeCodeMediaInfoAtom::kType) : nullptr;
}
}  // namespace

TimeCodeMediaHandler::TextOptions TimeCodeMediaHandler::displayOptions() const {
  TextOptions o;
  if (const auto* tcmi = mediaInfo(*track_)) {
    const auto& f = tcmi->fields();
    o.txFont = f.textFont;
    o.txFace = f.textFace;
    o.txSize = f.textSize;
    o.foreColor = f.textColor;
    o.backColor = f.backgroundColor;
    o.fontName = f.fontName;
  }
  return o;
}

int32_t TimeCodeMediaHandler::timeCodeFlags() const {
  const auto* tcmi = mediaInfo(*track_);
  return (tcmi && (tcmi->flags() & 1) != 0) ? kShowTimeCode : 0;
}

std::optional<TimeCodeMediaHandler::CurrentTimeCode> TimeCodeMediaHandler::currentTimeCode(
    const Movie& movie) const {
  return currentTimeCode(movie.currentTime());
}

std::optional<TimeCodeMediaHandler::CurrentTimeCode> TimeCodeMediaHandler::currentTimeCode(
    Time movieTime) const {
  const Media& media = track_->media();
  auto mediaTime = track_->mediaTimeAt(movieTime);
  if (!mediaTime)
    return std::nullopt;
  auto index = media.sampleTable().sampleIndexAtTime(*mediaTime);
  if (!index)
    return std::nullopt;
  Sample sample = media.sampleTable().sample(*index);
  auto definition = timeCodeDefinition(sample.descriptionNumber);
  if (!definition || sample.size < 4)
    return std::nullopt;
  std::vector<uint8_t> bytes;
  try {
    bytes = media.readSample(*index);
  } catch (const Exception&) {
    return std::nullopt;
  }
  uint32_t stored = (uint32_t{bytes[0]} << 24) | (uint32_t{bytes[1]} << 16) |
                    (uint32_t{bytes[2]} << 8) | bytes[3];
  // Whole frames since the sample began, at the definition's rate.
  Wide elapsed = static_cast<Wide>(*mediaTime - sample.time) * definition->fTimeScale /
                 (static_cast<Wide>(media.timeScale()) * definition->frameDuration);
  CurrentTimeCode current;
  current.definition = *definition;
  current.frameNumber = static_cast<int64_t>(stored) + static_cast<int64_t>(elapsed);
  current.record = recordFromFrameNumber(*definition, current.frameNumber);
  const auto& tc = media.sampleDescriptions()[sample.descriptionNumber - 1].timeCode;
  current.reelName = tc->reelName;
  return current;
}

std::optional<int64_t> TimeCodeMediaHandler::frameNumberFromRecord(const TimeCodeDef& d,
                                                                   const TimeCodeRecord& r) {
  const int64_t fps = d.numFrames;
  const bool negative = (r.minutes & TimeCodeRecord::kNegativeFlag) != 0;
  const int64_t minutes = r.minutes & 0x7F;
  if (fps == 0 || minutes > 59 || r.seconds > 59 || r.frames >= fps)
    return std::nullopt;
  const int64_t dropped = droppedPerMinute(d);
  if (dropped > 0 && r.seconds == 0 && minutes % 10 != 0 && r.frames < dropped) {
    return std::nullopt;  // a label drop-frame counting never shows
  }
  const int64_t totalMinutes = r.hours * 60 + minutes;
  int64_t n = ((r.hours * 3600 + minutes * 60 + r.seconds) * fps + r.frames) -
              dropped * (totalMinutes - totalMinutes / 10);
  return negative ? -n : n;
}

TimeCodeRecord TimeCodeMediaHandler::recordFromFrameNumber(const TimeCodeDef& d,
                                                           int64_t frameNumber) {
  TimeCodeRecord r;
  const int64_t fps = d.numFrames;
  if (fps == 0)
    return r;
  bool negative = frameNumber < 0;
  // Keep within what the record's fields can hold (255 hours).
  int64_t n = negative ? -frameNumber : frameNumber;
  n %= fps * 3600 * 256;
  const int64_t dropped = droppedPerMinute(d);
  if (dropped > 0) {
    const int64_t perTenMinutes = fps * 600 - 9 * dropped;
    const int64_t perMinute = fps * 60 - dropped;
    n +=
        9 * dropped * (n / perTenMinutes) + dropped * (((n % perTenMinutes) - dropped) / perMinute);
  }
  int64_t hours = n / (fps * 3600);
  if ((d.flags & TimeCodeDef::k24HourMax) != 0)
    hours %= 24;
  r.hours = static_cast<uint8_t>(hours % 256);
  r.minutes = static_cast<uint8_t>((n / (fps * 60)) % 60);
  r.seconds = static_cast<uint8_t>((n / fps) % 60);
  r.frames = static_cast<uint8_t>(n % fps);
  if (negative && frameNumber != 0)
    r.minutes |= TimeCodeRecord::kNegativeFlag;
  return r;
}

std::string TimeCodeMediaHandler::toString(const TimeCodeDef& d, const TimeCodeRecord& r) {
  char text[24];
  bool negative = (r.minutes & TimeCodeRecord::kNegativeFlag) != 0;
  std::snprintf(text, sizeof text, "%s%02u:%02u:%02u%c%02u", negative ? "-" : "",
                static_cast<unsigned>(r.hours), static_cast<unsigned>(r.minutes & 0x7F),
                static_cast<unsigned>(r.seconds), d.isDropFrame() ? ';' : ':',
                static_cast<unsigned>(r.frames));
  return text;
}

}  // namespace qrl::quicktime
