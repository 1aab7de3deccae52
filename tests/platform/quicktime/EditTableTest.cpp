// Tables kept while editing: samples appended one by one match the tables
// read back from the saved file, and edits split and shift as inserted.
#include <gtest/gtest.h>

#include "platform/base/Exception.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/Track.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl::quicktime::testing {
namespace {

TEST(EditTables, AppendedSamplesMatchTheTablesReadBackAndJoinChunksWhenContiguous) {
  TempDir dir;
  auto path = dir / "appended.mov";
  auto movie = Movie::create(path, 600);
  Track& a = movie->newTrack(8 << 16, 8 << 16, 0);
  Track& b = movie->newTrack(8 << 16, 8 << 16, 0);
  movie->newTrackMedia(a, kMediaTypeVideo, 600, std::nullopt);
  movie->newTrackMedia(b, kMediaTypeVideo, 600, std::nullopt);
  std::vector<uint8_t> entry(86, 0);
  entry[7] = 'x';
  entry[15] = 1;
  uint32_t da = a.media().addSampleDescription(entry);
  uint32_t db = b.media().addSampleDescription(entry);
  // a: three contiguous samples (one chunk), then b interleaves, then a again
  // with a non-key sample and another size and duration.
  a.media().addSamples(std::vector<uint8_t>(30, 1), 3, 20, da);
  a.media().addSamples(std::vector<uint8_t>(10, 2), 1, 20, da);
  b.media().addSamples(std::vector<uint8_t>(7, 3), 1, 40, db);
  a.media().addSamples(std::vector<uint8_t>(12, 4), 1, 25, da, false);
  a.media().addSamples(std::vector<uint8_t>(12, 5), 1, 25, da);
  EXPECT_EQ(a.media().sampleTable().chunkCount(), 2u);
  EXPECT_EQ(a.media().sampleTable().duration(), 4 * 20 + 2 * 25);
  EXPECT_FALSE(a.media().sampleTable().sample(4).isSync);
  EXPECT_TRUE(a.media().sampleTable().sample(5).isSync);
  a.insertMedia(0, 0, a.media().sampleTable().duration());
  b.insertMedia(0, 0, 40);
  movie->updateMovieFile();

  auto reread = Movie::open(path);
  for (size_t t = 1; t <= 2; ++t) {
    const SampleTable& live = movie->track(t).media().sampleTable();
    const SampleTable& read = reread->track(t).media().sampleTable();
    ASSERT_EQ(live.sampleCount(), read.sampleCount());
    EXPECT_EQ(live.chunkCount(), read.chunkCount());
    for (uint32_t i = 0; i < live.sampleCount(); ++i) {
      EXPECT_EQ(live.sample(i), read.sample(i)) << "track " << t << " sample " << i;
      EXPECT_EQ(movie->track(t).media().readSample(i), reread->track(t).media().readSample(i));
    }
  }
  EXPECT_EQ(reread->track(1).media().readSample(5), std::vector<uint8_t>(12, 5));
  EXPECT_EQ(reread->duration(), Duration::make(130, 600));
}

struct InsertCase {
  const char* name;
  int64_t trackStart;
  int64_t mediaTime;
  int64_t mediaDuration;
  std::vector<EditListAtom::Entry> expected;
};

TEST(EditTables, InsertedMediaSplitsAndShiftsEdits) {
  // The track starts with one edit of 600 units showing media from 0.
  const std::vector<InsertCase> cases = {
      {"at the start", 0, 1000, 100, {{100, 1000, 0x10000}, {600, 0, 0x10000}}},
      {"in the middle",
       200,
       1000,
       100,
       {{200, 0, 0x10000}, {100, 1000, 0x10000}, {400, 200, 0x10000}}},
      {"right after the end, continuing the media", 600, 600, 60, {{660, 0, 0x10000}}},
      {"right after the end, other media", 600, 0, 60, {{600, 0, 0x10000}, {60, 0, 0x10000}}},
      {"past the end", 900, 0, 60, {{600, 0, 0x10000}, {300, -1, 0x10000}, {60, 0, 0x10000}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    TempDir dir;
    auto movie = Movie::create(dir / "edits.mov", 600);
    Track& track = movie->newTrack(0, 0, 0);
    movie->newTrackMedia(track, kMediaTypeVideo, 600, std::nullopt);
    track.insertMedia(0, 0, 600);
    track.insertMedia(c.trackStart, c.mediaTime, c.mediaDuration);
    EXPECT_EQ(track.editList(), c.expected);
    int64_t total = 0;
    for (const auto& e : c.expected)
      total += static_cast<int64_t>(e.duration);
    EXPECT_EQ(track.duration(), Duration::make(total, 600));
    EXPECT_EQ(movie->duration(), Duration::make(total, 600));
  }
}

TEST(EditTables, HalfRateAndScaledMediaTakeTheirMovieLength) {
  TempDir dir;
  auto movie = Movie::create(dir / "rates.mov", 600);
  Track& track = movie->newTrack(0, 0, 0);
  movie->newTrackMedia(track, kMediaTypeVideo, 25, std::nullopt);
  track.insertMedia(0, 0, 25, 0x8000);  // one second of media at half speed
  EXPECT_EQ(track.editList(), (std::vector<EditListAtom::Entry>{{1200, 0, 0x8000}}));
  EXPECT_THROW(track.insertMedia(0, 0, 25, 0), Exception);
}

}  // namespace
}  // namespace qrl::quicktime::testing
