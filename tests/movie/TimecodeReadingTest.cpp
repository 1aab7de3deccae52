#include <gtest/gtest.h>

extern "C" {
#include <libavutil/timecode.h>
}

#include <memory>
#include <string>

#include "movie/QRLQuickTime32.h"
#include "movie/QRLQuickTimeUtility32.h"
#include "movie/QuickTimeUtilities.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "tests/platform/quicktime/Fixtures.h"
#include "timecode/QRLTimecodeUtility.h"

namespace qrl {
namespace {

using quicktime::Movie;
using quicktime::testing::makeMovie;
using quicktime::testing::probe;
using quicktime::testing::TempDir;

struct RateCase {
  const char* name;
  const char* rate;
  const char* timecode;
  uint32_t rateDefinition;  // what the substring rules make of ffmpeg's definition
};

// ffmpeg writes its own time scales (30000 at 29.97, 12800 at 25, 24 at 24),
// which the substring rules mostly do not know (101); 60000 holds "6000".
const RateCase kRates[] = {
    {"tc24", "24", "00:59:59:23", 101},           {"tc25", "25", "10:00:00:00", 101},
    {"tc2997", "30000/1001", "00:09:59;28", 101}, {"tc30", "30", "23:59:59:29", 101},
    {"tc5994", "60000/1001", "00:01:00;04", 113},
};

class TimecodeReading : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    for (const auto& r : kRates)
      makeMovie(*dir_, std::string(r.name) + ".mov", r.rate, 4, r.timecode);
    makeMovie(*dir_, "series.mov", "30000/1001", 300, "01:00:00;00");
    makeMovie(*dir_, "plain.mov", "25", 10);
  }
  static void TearDownTestSuite() {
    delete dir_;
    dir_ = nullptr;
  }
  static std::filesystem::path file(const std::string& name) { return *dir_ / name; }
  static QRLMovieTrack firstTrackOf(Movie& movie, uint32_t type) {
    auto tracks = movie.tracksOfMediaType(type);
    return {&movie, tracks.empty() ? nullptr : tracks.front()};
  }

  static TempDir* dir_;
  QRLQuickTime32 service_;
};

TempDir* TimecodeReading::dir_ = nullptr;

TEST_F(TimecodeReading, StartTimecodeAndCurrentTimecodeEqualFfprobe) {
  for (const auto& r : kRates) {
    SCOPED_TRACE(r.name);
    auto path = file(std::string(r.name) + ".mov");
    std::string judged = probe(path, "stream_tags=timecode")["streams.stream.0.tags.timecode"];
    EXPECT_EQ(judged, r.timecode);
    auto movie = Movie::open(path);
    auto track = firstTrackOf(*movie, quicktime::kMediaTypeTimeCode);
    ASSERT_NE(track.track, nullptr);
    EXPECT_EQ(service_.extractStartTimecodeFromTimecodeTrack(track), judged);
    EXPECT_EQ(QRLQuickTimeUtility32::timecodeStartTimeInQTTimecodeTrack(track), judged);
    EXPECT_EQ(service_.timecodeAtCurrentPlayPositionForMovie(movie.get()), judged);
    EXPECT_EQ(service_.QTTC_ShowCurrentTimeCode(movie.get()), judged);
    EXPECT_EQ(QRLQuickTimeUtility32::QTTC_FindCurrentTimeCode(movie.get()), judged);
    EXPECT_EQ(QRLQuickTimeUtility32::timecodeRateDefinitionForTrack(track), r.rateDefinition);
  }
}

TEST_F(TimecodeReading, MovieWithoutTimecodeTrackGivesNothing) {
  process::CapturingLog log;
  auto movie = Movie::open(file("plain.mov"));
  EXPECT_FALSE(service_.QTTC_GetTimeCodeMediaHandler(movie.get()).has_value());
  EXPECT_EQ(service_.QTTC_FindCurrentTimeCode(movie.get()), std::nullopt);
  EXPECT_EQ(service_.timecodeAtCurrentPlayPositionForMovie(movie.get()), std::nullopt);
  EXPECT_TRUE(service_.timecodeSeriesForMovie(movie.get()).empty());
  EXPECT_TRUE(QRLQuickTimeUtility32::timecodeSeriesForMovie(movie.get()).empty());
  // A video track is no timecode track.
  auto video = firstTrackOf(*movie, quicktime::kMediaTypeVideo);
  ASSERT_NE(video.track, nullptr);
  EXPECT_EQ(service_.extractStartTimecodeFromTimecodeTrack(video), std::nullopt);
  EXPECT_EQ(QRLQuickTimeUtility32::timecodeRateDefinitionForTrack(video), 101u);
  // Nothing at all.
  EXPECT_EQ(service_.timecodeSeriesForMovie(nullptr), std::vector<std::string>{});
  EXPECT_EQ(service_.QTTC_FindCurrentTimeCode(nullptr), std::nullopt);
  EXPECT_EQ(QRLQuickTimeUtility32::timecodeRateDefinitionForTrack({}), 101u);
  EXPECT_TRUE(log.messages().empty());
}

TEST_F(TimecodeReading, TimecodeTrackUnreadableAtCurrentTime) {
  auto movie = Movie::open(file("tc25.mov"));
  auto track = firstTrackOf(*movie, quicktime::kMediaTypeTimeCode);
  movie->setCurrentTime(Time::make(3600, 1));  // far past the end
  EXPECT_EQ(QRLQuickTimeUtility32::timecodeRateDefinitionForTrack(track), 101u);
  EXPECT_EQ(service_.extractStartTimecodeFromTimecodeTrack(track), std::nullopt);
  EXPECT_EQ(service_.timecodeAtCurrentPlayPositionForMovie(movie.get()), std::nullopt);
}

TEST_F(TimecodeReading, SeriesEqualsAnIndependentSmpteCounter) {
  process::CapturingLog log;
  auto movie = Movie::open(file("series.mov"));
  auto series = service_.timecodeSeriesForMovie(movie.get());
  ASSERT_EQ(series.size(), 300u);

  AVTimecode counter;
  ASSERT_EQ(av_timecode_init_from_string(&counter, AVRational{30000, 1001}, "01:00:00;00", nullptr),
            0);
  char text[AV_TIMECODE_STR_SIZE];
  for (int i = 0; i < 300; ++i) {
    ASSERT_EQ(series[static_cast<size_t>(i)], av_timecode_make_string(&counter, text, i))
        << "frame " << i;
  }
  EXPECT_EQ(series.back(), "01:00:09;29");
  // Every entry is logged, and the movie is left at its end.
  EXPECT_EQ(log.messages(), series);
  EXPECT_EQ(movie->currentTime(), Time::zeroPlus(movie->duration()));
  // The utility's form reads the same.
  EXPECT_EQ(QRLQuickTimeUtility32::timecodeSeriesForMovie(movie.get()), series);
}

TEST_F(TimecodeReading, CurrentPlayPositionFollowsTheMovie) {
  auto movie = Movie::open(file("series.mov"));
  movie->gotoBeginning();
  for (int i = 0; i < 31; ++i)
    movie->stepForward();
  EXPECT_EQ(service_.timecodeAtCurrentPlayPositionForMovie(movie.get()), "01:00:01;01");
}

TEST_F(TimecodeReading, DurationIsInTheMoviesOwnTimeScale) {
  auto path = file("series.mov");
  auto movie = Movie::open(path);
  int64_t expected = movie->duration().value;
  EXPECT_GT(expected, 0);
  EXPECT_EQ(QuickTimeUtilities::durationOfFileInMiliseconds(path), expected);
  EXPECT_EQ(service_.durationOfFileInMiliseconds(path), expected);
  // 300 frames at 30000/1001 in the movie's scale, not 10010 milliseconds.
  EXPECT_EQ(Time::make(expected, movie->timeScale()), Time::make(300 * 1001, 30000));
  EXPECT_EQ(service_.durationOfFileInMiliseconds((*dir_ / "missing.mov").string()), 0);
  quicktime::testing::writeFile(*dir_ / "junk.mov", {0, 0, 0, 8, 'j', 'u', 'n', 'k'});
  EXPECT_EQ(service_.durationOfFileInMiliseconds((*dir_ / "junk.mov").string()), 0);
}

}  // namespace
}  // namespace qrl
