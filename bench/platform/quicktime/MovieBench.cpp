// Opening an hour of 29.97 video (108,000 samples, one chunk each, a key
// sample every 15) with a timecode track, and stepping through every frame.
// The movie is built in the benchmark with the engine's own atom classes.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "platform/quicktime/ChunkOffsetAtom.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/DataReferenceAtom.h"
#include "platform/quicktime/EditListAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/HandlerAtom.h"
#include "platform/quicktime/MediaHeaderAtom.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/MovieHeaderAtom.h"
#include "platform/quicktime/SampleDescriptionAtom.h"
#include "platform/quicktime/SampleSizeAtom.h"
#include "platform/quicktime/SampleToChunkAtom.h"
#include "platform/quicktime/SyncSampleAtom.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "platform/quicktime/TimeToSampleAtom.h"
#include "platform/quicktime/TrackHeaderAtom.h"

namespace qrl::quicktime {
namespace {

constexpr uint32_t kFrames = 108000;
constexpr uint32_t kSampleBytes = 8;

std::unique_ptr<ContainerAtom> box(const char (&type)[5]) {
  return std::make_unique<ContainerAtom>(fourCC(type));
}

std::unique_ptr<ContainerAtom> track(uint32_t id, uint32_t mediaType, uint32_t samples,
                                     uint32_t delta, uint64_t firstOffset,
                                     std::vector<uint8_t> description) {
  auto trak = box("trak");
  auto tkhd = std::make_unique<TrackHeaderAtom>();
  TrackHeaderAtom::Fields tf;
  tf.trackID = id;
  tf.duration = uint64_t{kFrames} * 1001 / 50;  // movie scale 600
  if (mediaType == kMediaTypeVideo) {
    tf.width = 1920 << 16;
    tf.height = 1080 << 16;
  }
  tkhd->setFields(tf);
  trak->addChild(std::move(tkhd));
  auto edts = box("edts");
  auto elst = std::make_unique<EditListAtom>();
  elst->setEntries({{tf.duration, 0, 0x10000}});
  edts->addChild(std::move(elst));
  trak->addChild(std::move(edts));

  auto mdia = box("mdia");
  auto mdhd = std::make_unique<MediaHeaderAtom>();
  MediaHeaderAtom::Fields mf;
  mf.timeScale = 30000;
  mf.duration = uint64_t{kFrames} * 1001;
  mdhd->setFields(mf);
  mdia->addChild(std::move(mdhd));
  mdia->addChild(HandlerAtom::make(fourCC("mhlr"), mediaType, "Handler"));
  auto minf = box("minf");
  auto dinf = box("dinf");
  auto dref = std::make_unique<DataReferenceAtom>();
  dref->addEntry({fourCC("url "), DataReferenceAtom::kSelfReference, {}});
  dinf->addChild(std::move(dref));
  minf->addChild(std::move(dinf));
  auto stbl = box("stbl");
  auto stsd = std::make_unique<SampleDescriptionAtom>();
  stsd->addEntry(std::move(description));
  stbl->addChild(std::move(stsd));
  auto stts = std::make_unique<TimeToSampleAtom>();
  stts->setEntries({{samples, delta}});
  stbl->addChild(std::move(stts));
  if (samples > 1) {
    auto stss = std::make_unique<SyncSampleAtom>();
    std::vector<uint32_t> keys;
    for (uint32_t n = 1; n <= samples; n += 15)
      keys.push_back(n);
    stss->setSampleNumbers(std::move(keys));
    stbl->addChild(std::move(stss));
  }
  auto stsc = std::make_unique<SampleToChunkAtom>();
  stsc->setEntries({{1, 1, 1}});
  stbl->addChild(std::move(stsc));
  auto stsz = std::make_unique<SampleSizeAtom>();
  std::vector<uint32_t> sizes(samples, mediaType == kMediaTypeVideo ? kSampleBytes : 4);
  stsz->setSizes(std::move(sizes));
  stbl->addChild(std::move(stsz));
  auto stco = std::make_unique<ChunkOffsetAtom>(false);
  std::vector<uint64_t> offsets(samples);
  for (uint32_t i = 0; i < samples; ++i)
    offsets[i] = firstOffset + uint64_t{i} * kSampleBytes;
  stco->setOffsets(std::move(offsets));
  stbl->addChild(std::move(stco));
  minf->addChild(std::move(stbl));
  mdia->addChild(std::move(minf));
  trak->addChild(std::move(mdia));
  return trak;
}

std::vector<uint8_t> entry(const char (&format)[5], size_t fieldBytes) {
  std::vector<uint8_t> e(16 + fieldBytes, 0);
  uint32_t code = fourCC(format);
  for (int i = 0; i < 4; ++i)
    e[4 + static_cast<size_t>(i)] = static_cast<uint8_t>(code >> (24 - 8 * i));
  e[15] = 1;
  return e;
}

const std::filesystem::path& hourMovie() {
  static const std::filesystem::path path = [] {
    auto p = std::filesystem::temp_directory_path() / "qrl-bench-hour.mov";
    std::vector<uint8_t> file;
    ByteWriter out(file);
    const uint64_t mdatPayload = uint64_t{kFrames} * kSampleBytes + 4;
    out.u32(static_cast<uint32_t>(8 + mdatPayload));
    out.u32(fourCC("mdat"));
    file.resize(file.size() + mdatPayload, 0);
    // The timecode sample: 01:00:00;00 is frame 107892. 108,000 frames later
    // drop-frame counting reads 02:00:03;18 (an hour of labels is 107,892 frames).
    uint32_t frame = 107892;
    for (int i = 0; i < 4; ++i)
      file[8 + mdatPayload - 4 + static_cast<size_t>(i)] =
          static_cast<uint8_t>(frame >> (24 - 8 * i));

    auto moov = box("moov");
    auto mvhd = std::make_unique<MovieHeaderAtom>();
    MovieHeaderAtom::Fields f;
    f.timeScale = 600;
    f.duration = uint64_t{kFrames} * 1001 / 50;
    f.nextTrackID = 3;
    mvhd->setFields(f);
    moov->addChild(std::move(mvhd));
    auto video = entry("avc1", 70);
    video[16 + 16] = 1920 >> 8;
    video[16 + 17] = 1920 & 0xFF;
    moov->addChild(track(1, kMediaTypeVideo, kFrames, 1001, 8, video));
    auto tc = entry("tmcd", 22);
    // flags 3 (drop frame, 24 hour), time scale 30000, frame duration 1001, 30 frames
    std::vector<uint8_t> fields = {0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0x75, 0x30, 0, 0, 0x03, 0xE9, 30};
    std::copy(fields.begin(), fields.end(), tc.begin() + 16);
    moov->addChild(track(2, kMediaTypeTimeCode, 1, kFrames * 1001, 8 + mdatPayload - 4, tc));
    moov->write(out);
    std::ofstream(p, std::ios::binary)
        .write(reinterpret_cast<const char*>(file.data()),
               static_cast<std::streamsize>(file.size()));
    return p;
  }();
  return path;
}

void BM_OpenHourMovie(benchmark::State& state) {
  const auto& path = hourMovie();
  for (auto _ : state) {
    auto movie = Movie::open(path);
    benchmark::DoNotOptimize(movie->trackCount());
  }
}
BENCHMARK(BM_OpenHourMovie)->Unit(benchmark::kMillisecond);

void BM_StepThroughHourMovie(benchmark::State& state) {
  auto movie = Movie::open(hourMovie());
  for (auto _ : state) {
    movie->gotoBeginning();
    int64_t steps = 0;
    while (movie->currentTime() != Time::zeroPlus(movie->duration())) {
      movie->stepForward();
      ++steps;
    }
    if (steps != kFrames)
      state.SkipWithError("wrong number of steps");
  }
}
BENCHMARK(BM_StepThroughHourMovie)->Unit(benchmark::kMillisecond);

void BM_TimecodeAtEveryFrame(benchmark::State& state) {
  auto movie = Movie::open(hourMovie());
  auto handler = TimeCodeMediaHandler::forMovie(*movie);
  for (auto _ : state) {
    movie->gotoBeginning();
    std::string last;
    while (movie->currentTime() != Time::zeroPlus(movie->duration())) {
      auto tc = handler->currentTimeCode(*movie);
      if (tc)
        last = TimeCodeMediaHandler::toString(tc->definition, tc->record);
      movie->stepForward();
    }
    if (last != "02:00:03;17")
      state.SkipWithError(("last timecode " + last).c_str());
  }
}
BENCHMARK(BM_TimecodeAtEveryFrame)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace qrl::quicktime

BENCHMARK_MAIN();
