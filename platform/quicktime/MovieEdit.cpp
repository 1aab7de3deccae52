// The editing half of Movie: new and removed tracks, new media, appended
// sample data, and saving in place.
#include <algorithm>
#include <chrono>
#include <fstream>
#include <limits>

#include "platform/base/Exception.h"
#include "platform/quicktime/ChunkOffsetAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/HandlerAtom.h"
#include "platform/quicktime/MediaHeaderAtom.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/MovieHeaderAtom.h"
#include "platform/quicktime/RawAtom.h"
#include "platform/quicktime/SampleDescriptionAtom.h"
#include "platform/quicktime/SampleSizeAtom.h"
#include "platform/quicktime/SampleToChunkAtom.h"
#include "platform/quicktime/TimeToSampleAtom.h"
#include "platform/quicktime/TrackHeaderAtom.h"
#include "platform/quicktime/VideoMediaInfoAtom.h"

namespace qrl::quicktime {
namespace {

// Seconds since 1904, the epoch of QuickTime's dates.
uint64_t macTimeNow() {
  auto unix = std::chrono::duration_cast<std::chrono::seconds>(
                  std::chrono::system_clock::now().time_since_epoch())
                  .count();
  return static_cast<uint64_t>(unix) + 2082844800u;
}

std::string handlerName(uint32_t mediaType) {
  switch (mediaType) {
    case kMediaTypeVideo:
      return "Video Media Handler";
    case kMediaTypeSound:
      return "Sound Media Handler";
    case kMediaTypeTimeCode:
      return "Time Code Media Handler";
    default:
      return "Media Handler";
  }
}

std::unique_ptr<ContainerAtom> emptyMedia(uint32_t mediaType, int32_t timeScale,
                                          DataReferenceAtom::Entry reference,
                                          uint32_t dataReferenceType) {
  auto mdia = std::make_unique<ContainerAtom>(fourCC("mdia"));
  auto mdhd = std::make_unique<MediaHeaderAtom>();
  MediaHeaderAtom::Fields f;
  f.creationTime = f.modificationTime = macTimeNow();
  f.timeScale = static_cast<uint32_t>(timeScale);
  mdhd->setFields(f);
  mdia->addChild(std::move(mdhd));
  mdia->addChild(HandlerAtom::make(fourCC("mhlr"), mediaType, handlerName(mediaType)));

  auto minf = std::make_unique<ContainerAtom>(fourCC("minf"));
  if (mediaType == kMediaTypeVideo) {
    minf->addChild(std::make_unique<VideoMediaInfoAtom>());
  } else if (mediaType == kMediaTypeSound) {
    minf->addChild(std::make_unique<RawAtom>(fourCC("smhd"), std::vector<uint8_t>(8, 0)));
  } else {
    auto gmhd = std::make_unique<ContainerAtom>(fourCC("gmhd"));
    const std::vector<uint8_t> gmin{0, 0, 0, 0, 0, 0x40, 0x80, 0, 0x80, 0, 0x80, 0, 0, 0, 0, 0};
    gmhd->addChild(std::make_unique<RawAtom>(fourCC("gmin"), gmin));
    minf->addChild(std::move(gmhd));
  }
  minf->addChild(HandlerAtom::make(fourCC("dhlr"), dataReferenceType, "Data Handler"));
  auto dinf = std::make_unique<ContainerAtom>(fourCC("dinf"));
  auto dref = std::make_unique<DataReferenceAtom>();
  dref->addEntry(std::move(reference));
  dinf->addChild(std::move(dref));
  minf->addChild(std::move(dinf));
  auto stbl = std::make_unique<ContainerAtom>(fourCC("stbl"));
  stbl->addChild(std::make_unique<SampleDescriptionAtom>());
  stbl->addChild(std::make_unique<TimeToSampleAtom>());
  stbl->addChild(std::make_unique<SampleToChunkAtom>());
  stbl->addChild(std::make_unique<SampleSizeAtom>());
  stbl->addChild(std::make_unique<ChunkOffsetAtom>(false));
  minf->addChild(std::move(stbl));
  mdia->addChild(std::move(minf));
  return mdia;
}

}  // namespace

std::unique_ptr<Movie> Movie::create(const std::filesystem::path& path, int32_t timeScale) {
  if (timeScale <= 0)
    throw Exception::range("a movie's time scale must be positive");
  std::vector<uint8_t> bytes;
  ByteWriter out(bytes);
  out.u32(20);
  out.u32(fourCC("ftyp"));
  out.u32(fourCC("qt  "));
  out.u32(0x200);
  out.u32(fourCC("qt  "));
  auto moov = std::make_unique<ContainerAtom>(fourCC("moov"));
  auto mvhd = std::make_unique<MovieHeaderAtom>();
  MovieHeaderAtom::Fields f;
  f.creationTime = f.modificationTime = macTimeNow();
  f.timeScale = static_cast<uint32_t>(timeScale);
  mvhd->setFields(f);
  moov->addChild(std::move(mvhd));
  moov->write(out);
  {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
      throw Exception::io("cannot write the new movie file " + path.string());
  }
  auto movie = open(path);
  movie->setEditable(true);
  return movie;
}

Track& Movie::newTrack(int32_t width, int32_t height, int16_t volume) {
  requireEditable();
  auto fields = mvhd_->fields();
  uint32_t id = std::max<uint32_t>(fields.nextTrackID, 1);
  for (const auto& t : tracks_)
    id = std::max(id, t->trackID() + 1);
  fields.nextTrackID = id + 1;
  mvhd_->setFields(fields);

  auto trak = std::make_unique<ContainerAtom>(fourCC("trak"));
  auto tkhd = std::make_unique<TrackHeaderAtom>();
  TrackHeaderAtom::Fields h;
  h.creationTime = h.modificationTime = macTimeNow();
  h.trackID = id;
  h.volume = volume;
  h.width = width;
  h.height = height;
  tkhd->setFields(h);
  trak->addChild(std::move(tkhd));
  trak->addChild(emptyMedia(0, timeScale_, {fourCC("alis"), DataReferenceAtom::kSelfReference, {}},
                            fourCC("alis")));
  ContainerAtom& ref = *trak;
  // Tracks go after the existing ones, before any movie user data.
  moov_->insertChild(std::move(trak), fourCC("udta"));
  tracks_.push_back(std::make_unique<Track>(*this, ref));
  changed_ = true;
  return *tracks_.back();
}

Media& Movie::newTrackMedia(Track& track, uint32_t mediaType, int32_t timeScale,
                            std::optional<DataReferenceAtom::Entry> dataReference,
                            uint32_t dataReferenceType) {
  requireEditable();
  if (timeScale <= 0)
    throw Exception::range("a media's time scale must be positive");
  DataReferenceAtom::Entry reference =
      dataReference
          ? *dataReference
          : DataReferenceAtom::Entry{dataReferenceType, DataReferenceAtom::kSelfReference, {}};
  ContainerAtom& trak = track.atom();
  auto* old = trak.child(fourCC("mdia"));
  auto mdia = emptyMedia(mediaType, timeScale, std::move(reference), dataReferenceType);
  ContainerAtom& ref = *mdia;
  trak.replaceChild(old, std::move(mdia));
  // Drop any edits over the old media.
  if (auto* edts = trak.child(fourCC("edts")))
    trak.removeChild(edts);
  track.resetMedia(ref);
  changed_ = true;
  return track.media();
}

void Movie::removeTrack(Track& track) {
  requireEditable();
  auto it = std::find_if(tracks_.begin(), tracks_.end(),
                         [&](const auto& t) { return t.get() == &track; });
  if (it == tracks_.end())
    throw Exception::range("the track is not one of this movie's");
  uint32_t id = track.trackID();
  moov_->removeChild(&track.atom());
  tracks_.erase(it);
  for (auto& t : tracks_)
    t->removeReferencesTo(id);
  updateDuration();
  changed_ = true;
}

void Movie::updateDuration() {
  uint64_t longest = 0;
  for (const auto& t : tracks_)
    longest = std::max<uint64_t>(longest, static_cast<uint64_t>(t->duration().value));
  auto fields = mvhd_->fields();
  fields.duration = longest;
  mvhd_->setFields(fields);
}

uint64_t Movie::appendMediaData(std::span<const uint8_t> bytes) {
  requireEditable();
  changed_ = true;
  return writer_->appendMediaData(bytes);
}

void Movie::setFaultHook(MovieFileWriter::FaultHook hook, size_t pieceSize) {
  requireEditable();
  writer_->setFaultHook(std::move(hook), pieceSize);
}

namespace {

// Chunk offsets past 4 GiB need the 64-bit table.
void promoteChunkOffsets(ContainerAtom& atom) {
  for (const auto& child : atom.children()) {
    if (auto* container = dynamic_cast<ContainerAtom*>(child.get())) {
      promoteChunkOffsets(*container);
    } else if (auto* stco = dynamic_cast<ChunkOffsetAtom*>(child.get());
               stco && !stco->isWide() && stco->needsWide()) {
      auto co64 = std::make_unique<ChunkOffsetAtom>(true);
      co64->setOffsets(stco->offsets());
      atom.replaceChild(stco, std::move(co64));
      return;  // the children changed under the loop; nothing else in an stbl is a table
    }
  }
}

}  // namespace

void Movie::updateMovieFile() {
  requireEditable();
  promoteChunkOffsets(*moov_);
  auto fields = mvhd_->fields();
  fields.modificationTime = macTimeNow();
  mvhd_->setFields(fields);
  std::vector<uint8_t> bytes;
  bytes.reserve(static_cast<size_t>(moov_->size()));
  ByteWriter out(bytes);
  moov_->write(out);

  std::optional<uint64_t> old;
  for (const auto& a : topLevel_) {
    if (a.type == fourCC("moov")) {
      old = a.offset;
      break;
    }
  }
  writer_->commit(bytes, old);
  topLevel_ = scanTopLevel(*data_);
  changed_ = false;
}

}  // namespace qrl::quicktime
