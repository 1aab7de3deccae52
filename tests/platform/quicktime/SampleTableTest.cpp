#include <gtest/gtest.h>

#include "platform/base/Exception.h"
#include "platform/quicktime/Movie.h"
#include "tests/platform/quicktime/SyntheticMovie.h"

namespace qrl::quicktime {
namespace {

using testing::descriptionEntry;
using testing::TrackSpec;

// Nine samples in five chunks (3+3, 1+1, 1 — the last run changes the
// description), two time runs, variable sizes and two key samples.
TrackSpec mixedTrack() {
  TrackSpec spec;
  spec.mediaScale = 1000;
  spec.times = {{4, 100}, {0, 7}, {5, 200}};
  spec.chunks = {{1, 3, 1}, {3, 1, 2}, {5, 1, 1}};
  spec.chunkCount = 5;
  spec.sizes = {5, 6, 7, 8, 9, 10, 11, 12, 13};
  spec.syncSamples = {1, 5};
  auto entry = descriptionEntry(fourCC("mp4v"), std::vector<uint8_t>(70, 0));
  spec.descriptions = {entry, entry};
  return spec;
}

TEST(SampleTable, ExpandsEverySampleAsALinearWalkWould) {
  TrackSpec spec = mixedTrack();
  auto movie = Movie::fromBytes(testing::syntheticMovie(1000, 1400, {spec}));
  const Media& media = movie->track(1).media();
  const SampleTable& table = media.sampleTable();
  ASSERT_EQ(table.sampleCount(), 9u);
  EXPECT_EQ(table.chunkCount(), 5u);
  EXPECT_EQ(table.duration(), 4 * 100 + 5 * 200);

  // The same expansion done the slow way: chunk by chunk, sample by sample.
  const uint32_t perChunk[] = {3, 3, 1, 1, 1};
  const uint32_t description[] = {1, 1, 2, 2, 1};
  uint64_t offset = 8;
  uint32_t index = 0;
  int64_t time = 0;
  for (int chunk = 0; chunk < 5; ++chunk) {
    for (uint32_t k = 0; k < perChunk[chunk]; ++k, ++index) {
      Sample s = table.sample(index);
      uint32_t duration = index < 4 ? 100 : 200;
      EXPECT_EQ(s, (Sample{time, duration, spec.sizes[index], offset, index == 0 || index == 4,
                           description[chunk]}))
          << "sample " << index;
      EXPECT_EQ(media.readSample(index),
                std::vector<uint8_t>(spec.sizes[index], static_cast<uint8_t>(index + 1)));
      offset += spec.sizes[index];
      time += duration;
    }
  }
  EXPECT_THROW(table.sample(9), Exception);
}

TEST(SampleTable, FindsSamplesByTimeAtRunBoundaries) {
  auto movie = Movie::fromBytes(testing::syntheticMovie(1000, 1400, {mixedTrack()}));
  const SampleTable& table = movie->track(1).media().sampleTable();
  struct Case {
    int64_t time;
    std::optional<uint32_t> index;
    std::optional<int64_t> next;
  } cases[] = {
      {-1, std::nullopt, 0},
      {0, 0u, 100},
      {99, 0u, 100},
      {100, 1u, 200},
      {399, 3u, 400},
      {400, 4u, 600},
      {599, 4u, 600},
      {1199, 7u, 1200},
      {1200, 8u, std::nullopt},
      {1399, 8u, std::nullopt},
      {1400, std::nullopt, std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(table.sampleIndexAtTime(c.time), c.index) << c.time;
    EXPECT_EQ(table.nextSampleTimeAfter(c.time), c.next) << c.time;
  }
}

TEST(SampleTable, ConstantSizesAndNoKeySampleTable) {
  TrackSpec spec = testing::videoTrack(6);
  spec.chunks = {{1, 4, 1}, {2, 2, 1}};
  spec.chunkCount = 2;
  auto bytes = testing::syntheticMovie(600, 144, {spec});
  auto movie = Movie::fromBytes(bytes);
  const SampleTable& table = movie->track(1).media().sampleTable();
  Sample fifth = table.sample(5);
  EXPECT_EQ(fifth.offset, 8u + 4 * 3 + 3);
  EXPECT_TRUE(fifth.isSync);
  EXPECT_EQ(table.dataEnd(), 8u + 6 * 3);
}

}  // namespace
}  // namespace qrl::quicktime
