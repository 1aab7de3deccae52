#include <gtest/gtest.h>

#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "tests/platform/quicktime/SyntheticMovie.h"

namespace qrl::quicktime {
namespace {

using testing::TrackSpec;
using testing::videoTrack;

std::vector<int64_t> stepTimes(Movie& movie, int32_t scale) {
  std::vector<int64_t> times;
  movie.gotoBeginning();
  while (movie.currentTime() != Time::zeroPlus(movie.duration()) && times.size() < 100) {
    times.push_back(movie.currentTime().rescaledTo(scale).value);
    movie.stepForward();
  }
  return times;
}

// Movie scale 600, 25 fps media: a frame lasts 24 movie units.
TEST(Stepping, FollowsEditListsThroughEmptyAndOffsetEdits) {
  TrackSpec video = videoTrack(10);
  video.edits = {{600, -1, 0x10000}, {120, 2, 0x10000}, {48, 0, 0x10000}};
  auto movie = Movie::fromBytes(testing::syntheticMovie(600, 768, {video}));
  EXPECT_EQ(stepTimes(*movie, 600), (std::vector<int64_t>{0, 600, 624, 648, 672, 696, 720, 744}));

  const Track& track = movie->track(1);
  struct Case {
    int64_t movieTime;
    std::optional<int64_t> mediaTime;
  } cases[] = {
      {0, std::nullopt}, {599, std::nullopt}, {600, 2}, {623, 2}, {624, 3}, {719, 6}, {720, 0},
      {767, 1},          {768, std::nullopt}};
  for (const auto& c : cases) {
    EXPECT_EQ(track.mediaTimeAt(Time::make(c.movieTime, 600)), c.mediaTime) << c.movieTime;
  }
  EXPECT_EQ(track.editList().size(), 3u);
}

TEST(Stepping, HalfRateEditShowsEachFrameTwiceAsLong) {
  TrackSpec video = videoTrack(4);
  video.edits = {{192, 0, 0x8000}};
  auto movie = Movie::fromBytes(testing::syntheticMovie(600, 192, {video}));
  EXPECT_EQ(stepTimes(*movie, 600), (std::vector<int64_t>{0, 48, 96, 144}));
  EXPECT_EQ(movie->track(1).mediaTimeAt(Time::make(95, 600)), 1);
}

TEST(Stepping, UnitesEnabledVideoTracksAndIgnoresDisabledOnes) {
  TrackSpec a = videoTrack(2, 10);  // boundaries every 60 units
  TrackSpec b = videoTrack(3, 15);  // every 40 units
  TrackSpec off = videoTrack(12, 60);
  off.enabled = false;
  off.name = "Burn_quorlanImageOverlayTrack";
  auto movie = Movie::fromBytes(testing::syntheticMovie(600, 120, {a, b, off}));
  EXPECT_EQ(stepTimes(*movie, 600), (std::vector<int64_t>{0, 40, 60, 80}));
  EXPECT_EQ(movie->naturalSize(), (Size{64, 36}));
  EXPECT_EQ(movie->track(3).displayName(), "Burn_quorlanImageOverlayTrack");
  EXPECT_EQ(movie->track(1).displayName(), std::nullopt);
  EXPECT_FALSE(movie->track(3).isEnabled());
}

TEST(Stepping, MovieWithoutVideoStepsStraightToItsEnd) {
  auto movie = Movie::fromBytes(testing::syntheticMovie(600, 500, {}));
  EXPECT_EQ(stepTimes(*movie, 600), (std::vector<int64_t>{0}));
  EXPECT_EQ(movie->trackCount(), 0u);
}

// A timecode track starting 10 frames in at 25 fps; the frame number stored
// is 90000 (01:00:00:00), so movie time 1 s shows 01:00:00:15.
TEST(Stepping, TimecodeFollowsTheTimecodeTracksEditList) {
  TrackSpec tc;
  tc.mediaType = kMediaTypeTimeCode;
  tc.mediaScale = 25;
  tc.times = {{1, 40}};
  tc.chunks = {{1, 1, 1}};
  tc.chunkCount = 1;
  tc.sizes = {4};
  tc.firstSampleBytes = {0x00, 0x01, 0x5F, 0x90};
  // flags 0, time scale 25, frame duration 1, 25 frames
  tc.descriptions = {testing::descriptionEntry(
      kMediaTypeTimeCode, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 25, 0, 0, 0, 1, 25, 0})};
  tc.edits = {{240, -1, 0x10000}, {720, 0, 0x10000}};
  auto movie = Movie::fromBytes(testing::syntheticMovie(600, 960, {videoTrack(40), tc}));
  auto handler = TimeCodeMediaHandler::forMovie(*movie);
  ASSERT_TRUE(handler.has_value());
  EXPECT_FALSE(handler->currentTimeCode(Time::make(0, 600)).has_value());
  auto at = [&](int64_t t) {
    auto current = handler->currentTimeCode(Time::make(t, 600));
    return current ? TimeCodeMediaHandler::toString(current->definition, current->record) : "";
  };
  EXPECT_EQ(at(240), "01:00:00:00");
  EXPECT_EQ(at(600), "01:00:00:15");
  EXPECT_EQ(at(959), "01:00:01:04");
  EXPECT_EQ(at(960), "");
  EXPECT_EQ(handler->timeCodeFlags(), 0);
  EXPECT_EQ(handler->displayOptions().txSize, 12);
}

}  // namespace
}  // namespace qrl::quicktime
