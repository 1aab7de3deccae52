#include "platform/quicktime/Track.h"

#include <limits>
#include <numeric>

#include "platform/base/Exception.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/RawAtom.h"
#include "platform/quicktime/TrackHeaderAtom.h"
#include "platform/quicktime/TrackReferenceTypeAtom.h"

namespace qrl::quicktime {
namespace {

// Times beyond this are refused, so the 128-bit arithmetic below cannot overflow.
constexpr int64_t kMaxTime = int64_t{1} << 52;

}  // namespace

Track::Track(Movie& movie, ContainerAtom& trak) : movie_(movie), trak_(trak) {
  tkhd_ = trak.childAs<TrackHeaderAtom>(TrackHeaderAtom::kType);
  if (tkhd_ == nullptr)
    throw Exception::parse("track has no header ('tkhd')");
  auto* mdia = trak.container({fourCC("mdia")});
  if (mdia == nullptr)
    throw Exception::parse("track has no media ('mdia')");
  media_ = std::make_unique<Media>(movie, *mdia);
  reload();
}

void Track::reload() {
  tkhd_ = trak_.childAs<TrackHeaderAtom>(TrackHeaderAtom::kType);
  if (tkhd_ == nullptr)
    throw Exception::parse("track has no header ('tkhd')");
  edits_.clear();
  int64_t start = 0;
  for (const auto& e : editList()) {
    if (e.duration > static_cast<uint64_t>(kMaxTime) || e.mediaTime > kMaxTime ||
        e.mediaTime < -1 || e.mediaRate < 0 || start > kMaxTime) {
      throw Exception::parse("track " + std::to_string(trackID()) +
                             ": edit list entry out of range");
    }
    edits_.push_back({start, static_cast<int64_t>(e.duration), e.mediaTime, e.mediaRate});
    start += static_cast<int64_t>(e.duration);
  }
}

Track::~Track() = default;

uint32_t Track::trackID() const {
  return tkhd_->fields().trackID;
}
bool Track::isEnabled() const {
  return (tkhd_->flags() & TrackHeaderAtom::kEnabled) != 0;
}
int16_t Track::layer() const {
  return tkhd_->fields().layer;
}
int16_t Track::alternateGroup() const {
  return tkhd_->fields().alternateGroup;
}
int16_t Track::volume() const {
  return tkhd_->fields().volume;
}
Matrix Track::matrix() const {
  return tkhd_->fields().matrix;
}

Size Track::dimensions() const {
  const auto& f = tkhd_->fields();
  return {f.width / 65536.0, f.height / 65536.0};
}

Duration Track::duration() const {
  uint64_t d = tkhd_->fields().duration;
  return Duration::make(static_cast<int64_t>(std::min<uint64_t>(d, kMaxTime)), movie_.timeScale());
}

std::optional<std::string> Track::displayName() const {
  auto* udta = trak_.container({fourCC("udta")});
  if (udta == nullptr)
    return std::nullopt;
  if (auto* name = udta->childAs<RawAtom>(fourCC("name"))) {
    std::string s(name->payload().begin(), name->payload().end());
    while (!s.empty() && s.back() == '\0')
      s.pop_back();
    return s;
  }
  if (auto* tnam = udta->childAs<RawAtom>(fourCC("tnam")); tnam && tnam->payload().size() >= 6) {
    std::string s(tnam->payload().begin() + 6, tnam->payload().end());
    return std::string(s.c_str());
  }
  return std::nullopt;
}

std::vector<EditListAtom::Entry> Track::editList() const {
  if (auto* edts = trak_.container({fourCC("edts")})) {
    if (auto* elst = edts->childAs<EditListAtom>(EditListAtom::kType))
      return elst->entries();
  }
  // One implicit edit over the whole media, in movie units (rounded up).
  Duration d = media_->duration();
  Wide movieUnits = (static_cast<Wide>(d.value) * movie_.timeScale() + d.scale - 1) / d.scale;
  return {{static_cast<uint64_t>(movieUnits), 0, 0x10000}};
}

std::vector<uint32_t> Track::references(uint32_t type) const {
  if (auto* tref = trak_.container({fourCC("tref")})) {
    if (auto* ref = tref->childAs<TrackReferenceTypeAtom>(type))
      return ref->trackIDs();
  }
  return {};
}

std::optional<int64_t> Track::mediaTimeAt(Time t) const {
  if (t.isIndefinite() || t.scale <= 0 || t.value < 0 || t.value / t.scale > kMaxTime / 1000000) {
    return std::nullopt;
  }
  const int32_t movieScale = movie_.timeScale();
  for (const auto& e : edits_) {
    Time start = Time::make(e.start, movieScale);
    Time end = Time::make(e.start + e.duration, movieScale);
    if (t < start || !(t < end))
      continue;
    if (e.mediaTime < 0)
      return std::nullopt;
    // (t - start) in seconds = (t.value * M - start * t.scale) / (t.scale * M)
    Wide numerator = static_cast<Wide>(t.value) * movieScale - static_cast<Wide>(e.start) * t.scale;
    Wide delta = numerator * media_->timeScale() / (static_cast<Wide>(t.scale) * movieScale);
    if (e.rate != 0x10000)
      delta = delta * e.rate / 0x10000;
    Wide media = e.mediaTime + delta;
    if (media > kMaxTime)
      return std::nullopt;
    return static_cast<int64_t>(media);
  }
  return std::nullopt;
}

Time Track::movieTimeOf(const Edit& e, int64_t mediaTime) const {
  const int64_t movieScale = movie_.timeScale();
  const int64_t mediaScale = media_->timeScale();
  Wide delta = mediaTime - e.mediaTime;  // media units, at rate 1
  if (e.rate != 0x10000)
    delta = (delta * 0x10000 + e.rate - 1) / e.rate;
  // Exactly, in the media's scale when the edit starts on one of its units...
  if ((static_cast<Wide>(e.start) * mediaScale) % movieScale == 0) {
    Wide v = static_cast<Wide>(e.start) * mediaScale / movieScale + delta;
    return Time::make(static_cast<int64_t>(v), static_cast<int32_t>(mediaScale));
  }
  // ...or in a common scale when one fits...
  int64_t common = std::lcm(movieScale, mediaScale);
  if (common <= std::numeric_limits<int32_t>::max()) {
    Wide v = static_cast<Wide>(e.start) * (common / movieScale) + delta * (common / mediaScale);
    return Time::make(static_cast<int64_t>(v), static_cast<int32_t>(common));
  }
  // ...else rounded up to the next movie unit.
  Wide v = e.start + (delta * movieScale + mediaScale - 1) / mediaScale;
  return Time::make(static_cast<int64_t>(v), static_cast<int32_t>(movieScale));
}

std::optional<Time> Track::nextSampleBoundaryAfter(Time t) const {
  const int32_t movieScale = movie_.timeScale();
  for (const auto& e : edits_) {
    Time start = Time::make(e.start, movieScale);
    Time end = Time::make(e.start + e.duration, movieScale);
    if (!(t < end))
      continue;
    if (t < start)
      return start;
    if (e.mediaTime < 0 || e.rate == 0)
      return end;  // nothing changes until the edit ends
    std::optional<int64_t> media = mediaTimeAt(t);
    if (!media)
      return end;
    // A few tries absorb rounding between the two time scales.
    for (int attempt = 0; attempt < 8; ++attempt) {
      std::optional<int64_t> next = media_->sampleTable().nextSampleTimeAfter(*media);
      if (!next)
        return end;
      Time boundary = movieTimeOf(e, *next);
      if (!(boundary < end))
        return end;
      if (t < boundary)
        return boundary;
      media = next;
    }
    return end;
  }
  return std::nullopt;
}

}  // namespace qrl::quicktime
