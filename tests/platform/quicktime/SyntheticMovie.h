#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/quicktime/ChunkOffsetAtom.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/DataReferenceAtom.h"
#include "platform/quicktime/EditListAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/HandlerAtom.h"
#include "platform/quicktime/MediaHeaderAtom.h"
#include "platform/quicktime/MovieHeaderAtom.h"
#include "platform/quicktime/RawAtom.h"
#include "platform/quicktime/SampleDescriptionAtom.h"
#include "platform/quicktime/SampleSizeAtom.h"
#include "platform/quicktime/SampleToChunkAtom.h"
#include "platform/quicktime/SyncSampleAtom.h"
#include "platform/quicktime/TimeToSampleAtom.h"
#include "platform/quicktime/TrackHeaderAtom.h"

namespace qrl::quicktime::testing {

// Describes a track for SyntheticMovie: its tables as the file stores them.
// Chunks are laid out one after another in the mdat; sample k's bytes are all
// (k + 1) & 0xFF, so a read can be checked.
struct TrackSpec {
  uint32_t mediaType = kMediaTypeVideo;
  uint32_t mediaScale = 25;
  std::vector<TimeToSampleAtom::Entry> times;
  std::vector<SampleToChunkAtom::Entry> chunks;
  std::vector<uint32_t> sizes;
  uint32_t chunkCount = 0;
  std::vector<uint32_t> syncSamples;               // empty: no stss
  std::vector<EditListAtom::Entry> edits;          // empty: no edts
  std::vector<std::vector<uint8_t>> descriptions;  // each a full stsd entry
  bool enabled = true;
  std::vector<uint8_t> firstSampleBytes;  // replaces sample 0's bytes when not empty
  std::string name;                       // written as udta/name when not empty
};

// A sample description entry of `format` with `fields` after the 16-byte header.
inline std::vector<uint8_t> descriptionEntry(uint32_t format, std::vector<uint8_t> fields) {
  std::vector<uint8_t> e(16, 0);
  for (int i = 0; i < 4; ++i)
    e[4 + static_cast<size_t>(i)] = static_cast<uint8_t>(format >> (24 - 8 * i));
  e[15] = 1;
  e.insert(e.end(), fields.begin(), fields.end());
  return e;
}

// Builds the bytes of a movie (mdat, then moov) from track specs.
inline std::vector<uint8_t> syntheticMovie(uint32_t movieScale, uint64_t movieDuration,
                                           const std::vector<TrackSpec>& specs) {
  std::vector<uint8_t> mdat;
  std::vector<std::vector<uint64_t>> offsets;
  for (const auto& spec : specs) {
    // Sample counts per chunk from the runs.
    std::vector<uint64_t> chunkOffsets;
    uint32_t sample = 0;
    for (size_t r = 0; r < spec.chunks.size(); ++r) {
      uint32_t last =
          r + 1 < spec.chunks.size() ? spec.chunks[r + 1].firstChunk - 1 : spec.chunkCount;
      for (uint32_t c = spec.chunks[r].firstChunk; c <= last; ++c) {
        chunkOffsets.push_back(8 + mdat.size());
        for (uint32_t k = 0; k < spec.chunks[r].samplesPerChunk; ++k, ++sample) {
          std::vector<uint8_t> bytes(spec.sizes.at(sample), static_cast<uint8_t>(sample + 1));
          if (sample == 0 && !spec.firstSampleBytes.empty())
            bytes = spec.firstSampleBytes;
          mdat.insert(mdat.end(), bytes.begin(), bytes.end());
        }
      }
    }
    offsets.push_back(std::move(chunkOffsets));
  }

  auto moov = std::make_unique<ContainerAtom>(fourCC("moov"));
  auto mvhd = std::make_unique<MovieHeaderAtom>();
  MovieHeaderAtom::Fields mf;
  mf.timeScale = movieScale;
  mf.duration = movieDuration;
  mf.nextTrackID = static_cast<uint32_t>(specs.size() + 1);
  mvhd->setFields(mf);
  moov->addChild(std::move(mvhd));
  for (size_t t = 0; t < specs.size(); ++t) {
    const auto& spec = specs[t];
    auto trak = std::make_unique<ContainerAtom>(fourCC("trak"));
    auto tkhd = std::make_unique<TrackHeaderAtom>(0, spec.enabled ? 3 : 2);
    TrackHeaderAtom::Fields tf;
    tf.trackID = static_cast<uint32_t>(t + 1);
    tf.duration = movieDuration;
    if (spec.mediaType == kMediaTypeVideo) {
      tf.width = 64 << 16;
      tf.height = 36 << 16;
    }
    tkhd->setFields(tf);
    trak->addChild(std::move(tkhd));
    if (!spec.edits.empty()) {
      auto edts = std::make_unique<ContainerAtom>(fourCC("edts"));
      auto elst = std::make_unique<EditListAtom>();
      elst->setEntries(spec.edits);
      edts->addChild(std::move(elst));
      trak->addChild(std::move(edts));
    }
    auto mdia = std::make_unique<ContainerAtom>(fourCC("mdia"));
    auto mdhd = std::make_unique<MediaHeaderAtom>();
    MediaHeaderAtom::Fields df;
    df.timeScale = spec.mediaScale;
    for (const auto& e : spec.times)
      df.duration += uint64_t{e.count} * e.delta;
    mdhd->setFields(df);
    mdia->addChild(std::move(mdhd));
    mdia->addChild(HandlerAtom::make(fourCC("mhlr"), spec.mediaType, "Handler"));
    auto minf = std::make_unique<ContainerAtom>(fourCC("minf"));
    auto dinf = std::make_unique<ContainerAtom>(fourCC("dinf"));
    auto dref = std::make_unique<DataReferenceAtom>();
    dref->addEntry({fourCC("url "), DataReferenceAtom::kSelfReference, {}});
    dinf->addChild(std::move(dref));
    minf->addChild(std::move(dinf));
    auto stbl = std::make_unique<ContainerAtom>(fourCC("stbl"));
    auto stsd = std::make_unique<SampleDescriptionAtom>();
    for (const auto& d : spec.descriptions)
      stsd->addEntry(d);
    stbl->addChild(std::move(stsd));
    auto stts = std::make_unique<TimeToSampleAtom>();
    stts->setEntries(spec.times);
    stbl->addChild(std::move(stts));
    if (!spec.syncSamples.empty()) {
      auto stss = std::make_unique<SyncSampleAtom>();
      stss->setSampleNumbers(spec.syncSamples);
      stbl->addChild(std::move(stss));
    }
    auto stsc = std::make_unique<SampleToChunkAtom>();
    stsc->setEntries(spec.chunks);
    stbl->addChild(std::move(stsc));
    auto stsz = std::make_unique<SampleSizeAtom>();
    stsz->setSizes(spec.sizes);
    stbl->addChild(std::move(stsz));
    auto stco = std::make_unique<ChunkOffsetAtom>(false);
    stco->setOffsets(offsets[t]);
    stbl->addChild(std::move(stco));
    minf->addChild(std::move(stbl));
    mdia->addChild(std::move(minf));
    trak->addChild(std::move(mdia));
    if (!spec.name.empty()) {
      auto udta = std::make_unique<ContainerAtom>(fourCC("udta"));
      std::vector<uint8_t> text(spec.name.begin(), spec.name.end());
      udta->addChild(std::make_unique<RawAtom>(fourCC("name"), text));
      trak->addChild(std::move(udta));
    }
    moov->addChild(std::move(trak));
  }
  std::vector<uint8_t> file;
  ByteWriter out(file);
  out.u32(static_cast<uint32_t>(8 + mdat.size()));
  out.u32(fourCC("mdat"));
  out.bytes(mdat);
  moov->write(out);
  return file;
}

// A video track of `frames` frames of one media unit each at `scale`, one
// sample per chunk.
inline TrackSpec videoTrack(uint32_t frames, uint32_t scale = 25) {
  TrackSpec spec;
  spec.mediaScale = scale;
  spec.times = {{frames, 1}};
  spec.chunks = {{1, 1, 1}};
  spec.sizes.assign(frames, 3);
  spec.chunkCount = frames;
  spec.descriptions = {descriptionEntry(fourCC("mp4v"), std::vector<uint8_t>(70, 0))};
  return spec;
}

}  // namespace qrl::quicktime::testing
