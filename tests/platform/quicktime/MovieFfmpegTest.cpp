#include <gtest/gtest.h>

#include <memory>
#include <sstream>

#include "platform/base/Exception.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl::quicktime {
namespace {

using testing::makeMovie;
using testing::probe;
using testing::TempDir;

struct RateCase {
  const char* name;
  const char* rate;
  const char* timecode;
  bool drop;
  int framesPerSecond;
};

// One movie per rate, with start timecodes near minute and hour boundaries.
const RateCase kRates[] = {
    {"23_976", "24000/1001", "01:00:00:00", false, 24},
    {"24", "24", "00:59:59:23", false, 24},
    {"25", "25", "10:00:00:00", false, 25},
    {"29_97_drop", "30000/1001", "00:09:59;28", true, 30},
    {"29_97_nondrop", "30000/1001", "01:00:00:00", false, 30},
    {"30", "30", "23:59:59:29", false, 30},
    {"50", "50", "00:00:00:00", false, 50},
    {"59_94_drop", "60000/1001", "00:01:00;04", true, 60},
    {"60", "60", "12:34:56:59", false, 60},
};

class FfmpegMovies : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    for (const auto& r : kRates) {
      makeMovie(*dir_, std::string(r.name) + ".mov", r.rate, 5, r.timecode);
    }
    makeMovie(*dir_, "steps.mov", "30000/1001", 300, "01:00:00;00");
    makeMovie(*dir_, "plain.mp4", "25", 10);
  }
  static void TearDownTestSuite() {
    delete dir_;
    dir_ = nullptr;
  }
  static std::filesystem::path file(const std::string& name) { return *dir_ / name; }

  static TempDir* dir_;
};

TempDir* FfmpegMovies::dir_ = nullptr;

TEST_F(FfmpegMovies, StartTimecodeEqualsFfprobeAtEveryRate) {
  for (const auto& r : kRates) {
    SCOPED_TRACE(r.name);
    auto path = file(std::string(r.name) + ".mov");
    auto tags = probe(path, "stream=codec_tag_string:stream_tags=timecode");
    auto movie = Movie::open(path);
    auto handler = TimeCodeMediaHandler::forMovie(*movie);
    ASSERT_TRUE(handler.has_value());
    auto current = handler->currentTimeCode(*movie);
    ASSERT_TRUE(current.has_value());
    std::string ours = TimeCodeMediaHandler::toString(current->definition, current->record);
    EXPECT_EQ(ours, tags["streams.stream.1.tags.timecode"]);
    EXPECT_EQ(ours, r.timecode);
    EXPECT_EQ(current->definition.isDropFrame(), r.drop);
    EXPECT_EQ(current->definition.numFrames, r.framesPerSecond);
    // The video track refers to the timecode track by its ID.
    auto video = movie->tracksOfMediaType(kMediaTypeVideo);
    ASSERT_EQ(video.size(), 1u);
    EXPECT_EQ(video[0]->references(kMediaTypeTimeCode),
              std::vector<uint32_t>{handler->track().trackID()});
  }
}

TEST_F(FfmpegMovies, TracksDurationsSampleCountsAndCodecsEqualFfprobe) {
  for (std::string name : {"23_976.mov", "59_94_drop.mov", "steps.mov", "plain.mp4"}) {
    SCOPED_TRACE(name);
    auto p = probe(file(name), "stream=index,codec_tag_string,time_base,duration_ts,nb_frames");
    auto movie = Movie::open(file(name));
    size_t streams = 0;
    while (p.count("streams.stream." + std::to_string(streams) + ".index"))
      ++streams;
    ASSERT_EQ(movie->trackCount(), streams);
    for (size_t i = 0; i < streams; ++i) {
      std::string key = "streams.stream." + std::to_string(i) + ".";
      const Track& track = movie->track(i + 1);
      const Media& media = track.media();
      EXPECT_EQ(fourCCString(media.sampleDescriptions().at(0).dataFormat),
                p[key + "codec_tag_string"]);
      EXPECT_EQ("1/" + std::to_string(media.timeScale()), p[key + "time_base"]);
      EXPECT_EQ(std::to_string(media.duration().value), p[key + "duration_ts"]);
      EXPECT_EQ(std::to_string(media.sampleTable().sampleCount()), p[key + "nb_frames"]);
    }
  }
}

TEST_F(FfmpegMovies, MovieHeaderAndGeometry) {
  auto movie = Movie::open(file("steps.mov"));
  EXPECT_EQ(movie->timeScale(), 1000);
  EXPECT_EQ(movie->duration(), Duration::make(10010, 1000));
  EXPECT_EQ(movie->matrix(), Matrix::identity());
  EXPECT_EQ(movie->naturalSize(), (Size{64, 36}));
  const Track& video = *movie->tracksOfMediaType(kMediaTypeVideo).at(0);
  EXPECT_TRUE(video.isEnabled());
  EXPECT_EQ(video.layer(), 0);
  EXPECT_EQ(video.dimensions(), (Size{64, 36}));
  EXPECT_EQ(video.media().sampleDescriptions().at(0).video->width, 64);
  EXPECT_EQ(video.media().languageCode(), "und");
  ASSERT_EQ(video.media().dataReferences().size(), 1u);
  EXPECT_TRUE(video.media().dataReferences()[0].isSelfReference);
  EXPECT_THROW(movie->track(0), Exception);
  EXPECT_THROW(movie->track(movie->trackCount() + 1), Exception);
}

TEST_F(FfmpegMovies, SteppingVisitsEveryFrameTimeFfprobeReports) {
  auto path = file("steps.mov");
  std::istringstream packets(
      testing::run("ffprobe -v error -select_streams v -show_entries packet=pts -of csv=p=0 '" +
                   path.string() + "'"));
  std::vector<int64_t> expected;
  for (std::string line; std::getline(packets, line);)
    expected.push_back(std::stoll(line));
  ASSERT_EQ(expected.size(), 300u);

  auto movie = Movie::open(path);
  movie->gotoBeginning();
  std::vector<Time> visited;
  while (movie->currentTime() != Time::zeroPlus(movie->duration())) {
    visited.push_back(movie->currentTime());
    movie->stepForward();
    ASSERT_LE(visited.size(), 1000u) << "stepping does not reach the end";
  }
  ASSERT_EQ(visited.size(), expected.size());
  for (size_t i = 0; i < visited.size(); ++i) {
    EXPECT_EQ(visited[i], Time::make(expected[i], 30000)) << "frame " << i;
  }
  // Stepping at the end stays at the end.
  movie->stepForward();
  EXPECT_EQ(movie->currentTime(), Time::zeroPlus(movie->duration()));
}

TEST_F(FfmpegMovies, CurrentTimecodeAdvancesWithTheMovieAcrossTheHour) {
  auto movie = Movie::open(file("steps.mov"));
  auto handler = TimeCodeMediaHandler::forMovie(*movie);
  ASSERT_TRUE(handler.has_value());
  movie->gotoBeginning();
  std::vector<std::string> seen;
  for (int i = 0; i < 31; ++i) {
    auto tc = handler->currentTimeCode(*movie);
    ASSERT_TRUE(tc.has_value()) << i;
    seen.push_back(TimeCodeMediaHandler::toString(tc->definition, tc->record));
    movie->stepForward();
  }
  EXPECT_EQ(seen[0], "01:00:00;00");
  EXPECT_EQ(seen[29], "01:00:00;29");
  EXPECT_EQ(seen[30], "01:00:01;00");
  // No timecode at the movie's end: the track's only sample has ended.
  movie->setCurrentTime(Time::zeroPlus(movie->duration()));
  EXPECT_FALSE(handler->currentTimeCode(*movie).has_value());
}

TEST_F(FfmpegMovies, SampleBytesAreReadFromTheFile) {
  auto movie = Movie::open(file("steps.mov"));
  const Media& tc = movie->tracksOfMediaType(kMediaTypeTimeCode).at(0)->media();
  // 01:00:00;00 at 29.97 drop-frame is frame 107892, stored big-endian.
  EXPECT_EQ(tc.readSample(0), (std::vector<uint8_t>{0x00, 0x01, 0xA5, 0x74}));
  const Media& video = movie->tracksOfMediaType(kMediaTypeVideo).at(0)->media();
  auto bytes = testing::readFile(file("steps.mov"));
  Sample last = video.sampleTable().sample(299);
  auto data = video.readSample(299);
  ASSERT_EQ(data.size(), last.size);
  EXPECT_TRUE(std::equal(data.begin(), data.end(), bytes.begin() + static_cast<long>(last.offset)));
  EXPECT_THROW(video.readSample(300), Exception);
}

}  // namespace
}  // namespace qrl::quicktime
