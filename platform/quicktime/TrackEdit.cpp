// The editing half of Track: header fields, names, references, edits, and
// samples brought in from images or from other tracks.
#include <algorithm>
#include <limits>
#include <map>

#include "platform/base/Exception.h"
#include "platform/quicktime/ByteWriter.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/DataReference.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/RawAtom.h"
#include "platform/quicktime/SampleDescriptionAtom.h"
#include "platform/quicktime/Track.h"
#include "platform/quicktime/TrackHeaderAtom.h"
#include "platform/quicktime/TrackReferenceTypeAtom.h"

namespace qrl::quicktime {
namespace {

int32_t toFixed(double v) {
  double f = v * 65536.0;
  if (f >= 2147483647.0)
    return std::numeric_limits<int32_t>::max();
  if (f <= -2147483648.0)
    return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(f);
}

// a * b / c rounded to nearest, exactly.
int64_t mulDiv(Wide a, Wide b, Wide c) {
  Wide v = (a * b + c / 2) / c;
  if (v > std::numeric_limits<int64_t>::max() || v < 0)
    throw Exception::range("a time does not fit in 64 bits");
  return static_cast<int64_t>(v);
}

std::string compressorName(uint32_t codec) {
  switch (codec) {
    case fourCC("tiff"):
      return "TIFF";
    case fourCC("png "):
      return "PNG";
    case fourCC("jpeg"):
      return "Photo - JPEG";
    case fourCC("rle "):
      return "Animation";
    default:
      return fourCCString(codec);
  }
}

}  // namespace

void Track::resetMedia(ContainerAtom& mdia) {
  media_ = std::make_unique<Media>(movie_, mdia);
  reload();
}

TrackHeaderAtom& Track::header() {
  movie_.requireEditable();
  movie_.markChanged();
  return *tkhd_;
}

Rect Track::bounds() const {
  Matrix m = matrix();
  Size d = dimensions();
  return {m.values[6] / 65536.0, m.values[7] / 65536.0, d.width, d.height};
}

void Track::setEnabled(bool enabled) {
  auto& h = header();
  h.setFlags(enabled ? (h.flags() | TrackHeaderAtom::kEnabled)
                     : (h.flags() & ~TrackHeaderAtom::kEnabled));
}

void Track::setLayer(int16_t layer) {
  auto& h = header();
  auto f = h.fields();
  f.layer = layer;
  h.setFields(f);
}

void Track::setVolume(int16_t volume) {
  auto& h = header();
  auto f = h.fields();
  f.volume = volume;
  h.setFields(f);
}

void Track::setMatrix(const Matrix& matrix) {
  auto& h = header();
  auto f = h.fields();
  f.matrix = matrix;
  h.setFields(f);
}

void Track::setDimensions(Size size) {
  auto& h = header();
  auto f = h.fields();
  f.width = toFixed(size.width);
  f.height = toFixed(size.height);
  h.setFields(f);
}

void Track::setBounds(const Rect& bounds) {
  Matrix m = matrix();
  m.values[6] = toFixed(bounds.x);
  m.values[7] = toFixed(bounds.y);
  setMatrix(m);
  setDimensions({bounds.width, bounds.height});
}

void Track::setDisplayName(const std::string& name) {
  movie_.requireEditable();
  movie_.markChanged();
  auto* udta = trak_.childAs<ContainerAtom>(fourCC("udta"));
  if (udta == nullptr) {
    auto atom = std::make_unique<ContainerAtom>(fourCC("udta"));
    udta = atom.get();
    trak_.addChild(std::move(atom));
  }
  while (auto* old = udta->child(fourCC("name")))
    udta->removeChild(old);
  while (auto* old = udta->child(fourCC("tnam")))
    udta->removeChild(old);
  std::vector<uint8_t> plain(name.begin(), name.end());
  udta->addChild(std::make_unique<RawAtom>(fourCC("name"), plain));
  std::vector<uint8_t> tnam;
  ByteWriter out(tnam);
  out.u32(0);
  out.u16(0x55C4);  // "und"
  out.bytes(plain);
  out.u8(0);
  udta->addChild(std::make_unique<RawAtom>(fourCC("tnam"), tnam));
}

uint32_t Track::addReference(const Track& target, uint32_t type) {
  movie_.requireEditable();
  movie_.markChanged();
  auto* tref = trak_.childAs<ContainerAtom>(fourCC("tref"));
  if (tref == nullptr) {
    auto atom = std::make_unique<ContainerAtom>(fourCC("tref"));
    tref = atom.get();
    trak_.insertChild(std::move(atom), fourCC("mdia"));
  }
  auto* ref = tref->childAs<TrackReferenceTypeAtom>(type);
  if (ref == nullptr) {
    auto atom = std::make_unique<TrackReferenceTypeAtom>(type);
    ref = atom.get();
    tref->addChild(std::move(atom));
  }
  std::vector<uint32_t> ids = ref->trackIDs();
  auto at = std::find(ids.begin(), ids.end(), target.trackID());
  if (at != ids.end())
    return static_cast<uint32_t>(at - ids.begin() + 1);
  ids.push_back(target.trackID());
  ref->setTrackIDs(ids);
  return static_cast<uint32_t>(ids.size());
}

void Track::removeReferencesTo(uint32_t trackID) {
  auto* tref = trak_.childAs<ContainerAtom>(fourCC("tref"));
  if (tref == nullptr)
    return;
  std::vector<const Atom*> emptied;
  for (const auto& child : tref->children()) {
    auto* ref = dynamic_cast<TrackReferenceTypeAtom*>(child.get());
    if (ref == nullptr)
      continue;
    std::vector<uint32_t> ids = ref->trackIDs();
    std::erase(ids, trackID);
    if (ids.empty())
      emptied.push_back(ref);
    ref->setTrackIDs(std::move(ids));
  }
  for (const Atom* a : emptied)
    tref->removeChild(a);
  if (tref->children().empty())
    trak_.removeChild(tref);
}

void Track::writeEdits(const std::vector<EditListAtom::Entry>& entries) {
  bool wide = false;
  uint64_t total = 0;
  for (const auto& e : entries) {
    wide = wide || e.duration > std::numeric_limits<uint32_t>::max() ||
           e.mediaTime > std::numeric_limits<int32_t>::max();
    total += e.duration;
  }
  auto* edts = trak_.childAs<ContainerAtom>(fourCC("edts"));
  if (edts == nullptr) {
    auto atom = std::make_unique<ContainerAtom>(fourCC("edts"));
    edts = atom.get();
    trak_.insertChild(std::move(atom), fourCC("tref"));
    if (trak_.child(fourCC("tref")) == nullptr) {
      // No references: edits go just before the media.
      auto moved = trak_.removeChild(edts);
      trak_.insertChild(std::move(moved), fourCC("mdia"));
    }
  }
  auto elst = std::make_unique<EditListAtom>(wide ? 1 : 0);
  elst->setEntries(entries);
  if (auto* old = edts->child(EditListAtom::kType))
    edts->replaceChild(old, std::move(elst));
  else
    edts->addChild(std::move(elst));
  auto& h = header();
  auto f = h.fields();
  f.duration = total;
  h.setFields(f);
  reload();
  movie_.updateDuration();
}

void Track::insertMedia(int64_t trackStart, int64_t mediaTime, int64_t mediaDuration,
                        int32_t rate) {
  movie_.requireEditable();
  if (rate <= 0 || mediaDuration < 0 || trackStart < 0 || mediaTime < -1) {
    throw Exception::range("insertMedia: start " + std::to_string(trackStart) + ", media time " +
                           std::to_string(mediaTime) + ", duration " +
                           std::to_string(mediaDuration) + ", rate " + std::to_string(rate));
  }
  const Wide movieScale = movie_.timeScale();
  const Wide mediaScale = media_->timeScale();
  const int64_t length = mulDiv(mediaDuration, movieScale * 0x10000, mediaScale * rate);
  std::vector<EditListAtom::Entry> entries;
  int64_t total = 0;
  // The edits as last read: without an edit list, that is the implicit edit
  // over the samples the media had before this session added any.
  for (const auto& e : edits_) {
    if (e.duration > 0)
      entries.push_back({static_cast<uint64_t>(e.duration), e.mediaTime, e.rate});
    total += e.duration;
  }
  EditListAtom::Entry inserted{static_cast<uint64_t>(length), mediaTime, rate};

  // Appending right after the media the last edit shows extends that edit,
  // so a track built image by image keeps a single edit.
  if (trackStart == total && !entries.empty() && mediaTime >= 0) {
    auto& last = entries.back();
    Wide shown = static_cast<Wide>(last.duration) * mediaScale * last.mediaRate;
    Wide unit = movieScale * 0x10000;
    if (last.mediaTime >= 0 && last.mediaRate == rate && shown % unit == 0 &&
        last.mediaTime + static_cast<int64_t>(shown / unit) == mediaTime) {
      Wide media = shown / unit + mediaDuration;
      last.duration = static_cast<uint64_t>(mulDiv(media, unit, mediaScale * rate));
      writeEdits(entries);
      return;
    }
  }
  std::vector<EditListAtom::Entry> result;
  int64_t position = 0;
  bool done = false;
  for (const auto& e : entries) {
    auto duration = static_cast<int64_t>(e.duration);
    if (!done && trackStart <= position) {
      result.push_back(inserted);
      done = true;
    } else if (!done && trackStart < position + duration) {
      int64_t head = trackStart - position;
      result.push_back({static_cast<uint64_t>(head), e.mediaTime, e.mediaRate});
      result.push_back(inserted);
      int64_t skipped =
          e.mediaTime < 0 ? 0 : mulDiv(head, mediaScale * e.mediaRate, movieScale * 0x10000);
      result.push_back({static_cast<uint64_t>(duration - head),
                        e.mediaTime < 0 ? -1 : e.mediaTime + skipped, e.mediaRate});
      done = true;
      position += duration;
      continue;
    }
    result.push_back(e);
    position += duration;
  }
  if (!done) {
    if (trackStart > position)
      result.push_back({static_cast<uint64_t>(trackStart - position), -1, 0x10000});
    result.push_back(inserted);
  }
  writeEdits(result);
}

void Track::addImage(std::span<const uint8_t> encoded, uint32_t codec, Duration duration,
                     int16_t depth) {
  movie_.requireEditable();
  if (mediaType() != kMediaTypeVideo)
    throw Exception::unsupported("images go into video tracks only");
  if (encoded.empty())
    throw Exception::range("an image needs at least one byte");
  Media& media = *media_;
  int64_t units = duration.rescaledTo(media.timeScale()).value;
  if (units <= 0 || units > std::numeric_limits<uint32_t>::max())
    throw Exception::range("image duration " + std::to_string(units) + " media units");

  Size d = dimensions();
  std::vector<uint8_t> entry;
  ByteWriter out(entry);
  out.u32(0);  // size, set when added
  out.u32(codec);
  out.zeros(6);
  out.u16(static_cast<uint16_t>(media.selfReferenceNumber()));
  out.u16(0);  // version
  out.u16(0);  // revision
  out.u32(fourCC("appl"));
  out.u32(0);      // temporal quality
  out.u32(0x300);  // spatial quality: high
  out.u16(static_cast<uint16_t>(std::clamp(d.width, 0.0, 65535.0)));
  out.u16(static_cast<uint16_t>(std::clamp(d.height, 0.0, 65535.0)));
  out.u32(0x00480000);
  out.u32(0x00480000);
  out.u32(0);  // data size
  out.u16(1);  // frame count
  std::string name = compressorName(codec);
  out.u8(static_cast<uint8_t>(name.size()));
  out.bytes({reinterpret_cast<const uint8_t*>(name.data()), name.size()});
  out.zeros(31 - name.size());
  out.i16(depth);
  out.i16(-1);
  uint32_t description = media.addSampleDescription(std::move(entry));
  int64_t mediaTime = media.addSamples(encoded, 1, static_cast<uint32_t>(units), description, true);
  int64_t end = edits_.empty() ? 0 : edits_.back().start + edits_.back().duration;
  insertMedia(end, mediaTime, units);
}

}  // namespace qrl::quicktime

namespace qrl::quicktime {
namespace {

// The file a description's samples are read from.
std::filesystem::path sampleFile(const Track& track, uint16_t dataReferenceIndex) {
  const auto& refs = track.media().dataReferences();
  if (refs.empty() || dataReferenceIndex == 0 || dataReferenceIndex > refs.size() ||
      refs[dataReferenceIndex - 1].isSelfReference) {
    return track.movie().path();
  }
  return refs[dataReferenceIndex - 1].path;
}

bool sameFile(const std::filesystem::path& a, const std::filesystem::path& b) {
  std::error_code ec;
  return std::filesystem::equivalent(a, b, ec) && !ec;
}

}  // namespace

void Track::insertSegment(const Track& source, TimeRange from, Time at) {
  insertSegment(source, from, TimeRange::make(at, from.duration));
}

void Track::insertSegment(const Track& source, TimeRange from, TimeRange to) {
  movie_.requireEditable();
  if (source.mediaType() != mediaType()) {
    throw Exception::unsupported("a segment of a " + quoted(source.mediaType()) +
                                 " track cannot go into a " + quoted(mediaType()) + " track");
  }
  const Media& sourceMedia = source.media();
  const SampleTable& table = sourceMedia.sampleTable();
  const Wide sourceScale = source.movie().timeScale();
  const Wide targetScale = movie_.timeScale();
  const Wide sourceMediaScale = sourceMedia.timeScale();
  const Wide targetMediaScale = media_->timeScale();
  const int64_t a0 = from.time.rescaledTo(static_cast<int32_t>(sourceScale)).value;
  const int64_t a1 = a0 + from.duration.rescaledTo(static_cast<int32_t>(sourceScale)).value;
  const int64_t t0 = to.time.rescaledTo(static_cast<int32_t>(targetScale)).value;
  const int64_t toLength = to.duration.rescaledTo(static_cast<int32_t>(targetScale)).value;
  if (a1 <= a0 || toLength <= 0 || a0 < 0 || t0 < 0)
    return;
  const Wide fromLength = a1 - a0;
  auto toTargetMedia = [&](int64_t units) {
    return sourceMediaScale == targetMediaScale ? units
                                                : mulDiv(units, targetMediaScale, sourceMediaScale);
  };

  std::map<uint32_t, uint32_t> descriptions;
  auto mapDescription = [&](uint32_t number) {
    if (auto it = descriptions.find(number); it != descriptions.end())
      return it->second;
    auto* stsd = sourceMedia.atom().container({fourCC("minf"), fourCC("stbl")});
    auto* atom =
        stsd ? stsd->childAs<SampleDescriptionAtom>(SampleDescriptionAtom::kType) : nullptr;
    if (atom == nullptr || number == 0 || number > atom->entries().size())
      throw Exception::parse("the source track has no sample description " +
                             std::to_string(number));
    std::vector<uint8_t> entry = atom->entries()[number - 1];
    auto file = sampleFile(source, static_cast<uint16_t>((entry[14] << 8) | entry[15]));
    if (file.empty()) {
      throw Exception::unsupported("the segment's samples are in no file this movie can refer to");
    }
    uint32_t reference = 0;
    if (sameFile(file, movie_.path())) {
      reference = media_->selfReferenceNumber();
    } else {
      const auto& refs = media_->dataReferences();
      for (size_t i = 0; i < refs.size() && reference == 0; ++i) {
        if (!refs[i].isSelfReference && sameFile(refs[i].path, file))
          reference = static_cast<uint32_t>(i + 1);
      }
      if (reference == 0)
        reference = media_->addDataReference(DataReference::aliasTo(file, movie_.path()));
    }
    entry[14] = static_cast<uint8_t>(reference >> 8);
    entry[15] = static_cast<uint8_t>(reference);
    uint32_t mapped = media_->addSampleDescription(std::move(entry));
    descriptions[number] = mapped;
    return mapped;
  };

  const std::vector<Edit> sourceEdits = source.edits_;
  for (const Edit& e : sourceEdits) {
    const int64_t s = std::max(a0, e.start);
    const int64_t t = std::min(a1, e.start + e.duration);
    if (s >= t || e.mediaTime < 0 || e.rate <= 0)
      continue;
    const Wide perMovieUnit = sourceMediaScale * e.rate;
    const Wide unit = sourceScale * 0x10000;
    const int64_t m0 = e.mediaTime + static_cast<int64_t>((s - e.start) * perMovieUnit / unit);
    const int64_t m1 = e.mediaTime + static_cast<int64_t>((t - e.start) * perMovieUnit / unit);
    auto firstIndex = m1 > m0 ? table.sampleIndexAtTime(m0) : std::nullopt;
    if (!firstIndex)
      continue;
    const int64_t firstTime = table.sample(*firstIndex).time;
    int64_t targetStart = -1;
    bool finished = false;
    table.forEachChunk([&](size_t, uint64_t offset, uint32_t firstSample, uint32_t count,
                           uint32_t descriptionNumber) {
      if (finished || firstSample + count <= *firstIndex)
        return;
      uint64_t byte = offset;
      bool newChunk = true;
      for (uint32_t i = firstSample; i < firstSample + count; ++i) {
        Sample sample = table.sample(i);
        if (i < *firstIndex) {
          byte += sample.size;
          continue;
        }
        if (sample.time >= m1) {
          finished = true;
          return;
        }
        uint32_t run = 1;
        while (i + run < firstSample + count) {
          Sample next = table.sample(i + run);
          if (next.time >= m1 || next.size != sample.size || next.duration != sample.duration ||
              next.isSync != sample.isSync) {
            break;
          }
          ++run;
        }
        auto duration = static_cast<uint32_t>(std::max<int64_t>(1, toTargetMedia(sample.duration)));
        int64_t start =
            media_->addSampleReferences(byte, sample.size, run, duration,
                                        mapDescription(descriptionNumber), sample.isSync, newChunk);
        if (targetStart < 0)
          targetStart = start;
        newChunk = false;
        byte += static_cast<uint64_t>(sample.size) * run;
        i += run - 1;
      }
    });
    if (targetStart < 0)
      continue;
    const int64_t place = t0 + mulDiv(s - a0, toLength, fromLength);
    const int64_t rate = mulDiv(static_cast<Wide>(e.rate) * fromLength, targetScale,
                                static_cast<Wide>(toLength) * sourceScale);
    if (rate <= 0 || rate > std::numeric_limits<int32_t>::max())
      throw Exception::range("the segment cannot be played " + std::to_string(rate / 65536.0) +
                             " times as fast");
    insertMedia(place, targetStart + toTargetMedia(m0 - firstTime), toTargetMedia(m1 - m0),
                static_cast<int32_t>(rate));
  }
}

}  // namespace qrl::quicktime
