#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "movie/QRLQTOverlayWriter.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "platform/quicktime/Track.h"
#include "tests/movie/OverlayTestSupport.h"

namespace qrl {
namespace {

using graphics::Color;
using quicktime::Movie;
using quicktime::TimeCodeMediaHandler;
using quicktime::Track;
using quicktime::testing::probe;
using quicktime::testing::readFile;
using testing::makeSizedMovie;
using testing::TempDir;

const Track* lastTimecodeTrack(const Movie& movie) {
  auto tracks = movie.tracksOfMediaType(quicktime::kMediaTypeTimeCode);
  return tracks.empty() ? nullptr : tracks.back();
}

TEST(OverlayTimecodeTrack, FileVariantScalesColoursBy255AndPlacesTheBoxFromTheBottom) {
  struct Case {
    bool transparent;
    int32_t mode;
  };
  for (const Case c : {Case{false, 257}, Case{true, 0x100}}) {
    SCOPED_TRACE(c.transparent);
    TempDir dir;
    auto path = makeSizedMovie(dir, "strip.mov", "160x90", "25", 10);
    process::CapturingLog log;
    QRLQTOverlayWriter().insertTimeCodeTrackIntoVideoFile(
        path, QRLVideoFrameRate25p, "10:00:00:00", true, 12,
        Color::colorWithCalibratedRed(1, 0.5, 0, 1), Color::whiteColor(), {{10, 20}, {100, 40}},
        c.transparent, c.mode);
    EXPECT_TRUE(log.contains("Track"));

    auto streams = probe(path, "stream=codec_type,codec_tag_string");
    EXPECT_EQ(streams["streams.stream.1.codec_tag_string"], "tmcd") << "saved into the file";
    auto movie = Movie::open(path);
    const Track* track = lastTimecodeTrack(*movie);
    ASSERT_NE(track, nullptr);
    TimeCodeMediaHandler handler(*track);
    auto options = handler.displayOptions();
    EXPECT_EQ(options.txSize, 12);
    EXPECT_EQ(options.txFace, 1);
    EXPECT_EQ(options.foreColor, (std::array<uint16_t, 3>{255, 127, 0}));
    EXPECT_EQ(options.backColor, (std::array<uint16_t, 3>{255, 255, 255}));
    EXPECT_EQ(handler.timeCodeFlags() & TimeCodeMediaHandler::kShowTimeCode,
              TimeCodeMediaHandler::kShowTimeCode);
    EXPECT_EQ(track->dimensions().width, 100);
    EXPECT_EQ(track->dimensions().height, 12);
    EXPECT_EQ(track->matrix().values[6], 10 * 65536);
    EXPECT_EQ(track->matrix().values[7], (90 - 12 - 20) * 65536);
    EXPECT_EQ(QRLQTOverlayWriter().beginningTimecodeForQuicktimeVideoAtPath(path), "10:00:00:00");

    const quicktime::Media& video =
        movie->tracksOfMediaType(quicktime::kMediaTypeVideo)[0]->media();
    if (c.transparent) {
      EXPECT_EQ(video.graphicsMode(), c.mode);
      EXPECT_EQ(video.opColor(), (std::array<uint16_t, 3>{0xB200, 0xB200, 0xB200}));
    } else {
      EXPECT_NE(video.graphicsMode(), c.mode) << "the picture's mode is left alone";
    }
  }
}

TEST(OverlayTimecodeTrack, QuicktimeOverlayAnswersFalseOnlyWhenTheMovieDoesNotOpen) {
  TempDir dir;
  const std::string notMovie = (dir / "notes.mov").string();
  {
    std::FILE* f = std::fopen(notMovie.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fputs("not a movie at all", f);
    std::fclose(f);
  }
  QRLQTOverlayWriter writer;
  QRLBurnAttributeHolder holder;
  EXPECT_FALSE(writer.addQuicktimeTimecodeOverlayToVideoAtPath(
      (dir / "missing.mov").string(), "01:00:00:00", holder, QRLVideoFrameRate25p));
  EXPECT_FALSE(writer.addQuicktimeTimecodeOverlayToVideoAtPath(notMovie, "01:00:00:00", holder,
                                                               QRLVideoFrameRate25p));
  EXPECT_EQ(readFile(notMovie).size(), 18u) << "left as it was";
  EXPECT_FALSE(std::filesystem::exists(dir / "missing.mov"));
}

TEST(OverlayTimecodeTrack, QuicktimeOverlayUsesTheBoxAndDefaultColours) {
  TempDir dir;
  auto path = makeSizedMovie(dir, "box.mov", "160x90", "25", 10);
  QRLBurnAttributeHolder holder;
  holder.embeddedTimecodeOverlay = {.xCoordinate = 4,
                                    .yCoordinate = 6,
                                    .width = 80,
                                    .height = 30,
                                    .includeBackgroundColor = false,
                                    .backgroundColor = std::nullopt,
                                    .textColor = std::nullopt,
                                    .fontSize = 18};
  ASSERT_TRUE(QRLQTOverlayWriter().addQuicktimeTimecodeOverlayToVideoAtPath(
      path.string(), "02:00:00:00", holder, QRLVideoFrameRate25p));
  auto movie = Movie::open(path);
  const Track* track = lastTimecodeTrack(*movie);
  ASSERT_NE(track, nullptr);
  auto options = TimeCodeMediaHandler(*track).displayOptions();
  EXPECT_EQ(options.foreColor, (std::array<uint16_t, 3>{0, 0, 0})) << "black when absent";
  EXPECT_EQ(options.backColor, (std::array<uint16_t, 3>{255, 255, 255})) << "white when absent";
  EXPECT_EQ(options.txSize, 18);
  EXPECT_EQ(track->dimensions().width, 80);
  EXPECT_EQ(track->matrix().values[7], (90 - 18 - 6) * 65536);
  EXPECT_TRUE(track->isEnabled());
  EXPECT_EQ(QRLQTOverlayWriter().beginningTimecodeForQuicktimeVideoAtPath(path), "02:00:00:00");
}

TEST(OverlayTimecodeTrack, CreateOverlayBurnsAtTheCompressionSizeWithoutSaving) {
  struct Case {
    QRLVideoFrameRate rate;
    std::string fps;
    uint8_t framesPerSecond;
  };
  for (const Case& c :
       {Case{QRLVideoFrameRate25p, "25", 25}, Case{QRLVideoFrameRate24, "24", 24}}) {
    SCOPED_TRACE(c.fps);
    TempDir dir;
    auto path = makeSizedMovie(dir, "create.mov", "160x90", c.fps, 6);
    auto movie = Movie::open(path);
    EXPECT_TRUE(QRLQTOverlayWriter().createTimecodeOverlayForMovie(
        movie.get(), "01:00:00:00", c.rate, 999, 1, 1, 120, 40, {2, 3}, 7, 14,
        Color::blackColor()));
    // The burn's images may be written out, but the track list is the caller's to save.
    EXPECT_EQ(Movie::open(path)->trackCount(), 1u);

    auto timecodes = movie->tracksOfMediaType(quicktime::kMediaTypeTimeCode);
    ASSERT_EQ(timecodes.size(), 1u);
    EXPECT_FALSE(timecodes[0]->isEnabled());
    auto definition = TimeCodeMediaHandler(*timecodes[0]).timeCodeDefinition();
    ASSERT_TRUE(definition);
    EXPECT_EQ(definition->numFrames, c.framesPerSecond) << "the video rate code was converted";
    auto video = movie->tracksOfMediaType(quicktime::kMediaTypeVideo);
    ASSERT_EQ(video.size(), 2u);
    const Track* burn = video.back();
    EXPECT_EQ(burn->dimensions().width, 120);
    EXPECT_EQ(burn->dimensions().height, 40);
    EXPECT_EQ(burn->media().sampleTable().sampleCount(), 6u);
  }
  TempDir dir;
  auto path = makeSizedMovie(dir, "sizes.mov", "160x90", "25", 3);
  for (int32_t size : {0, 10000}) {
    SCOPED_TRACE(size);
    process::CapturingLog log;
    auto movie = Movie::open(path);
    EXPECT_FALSE(QRLQTOverlayWriter().createTimecodeOverlayForMovie(
        movie.get(), "01:00:00:00", QRLVideoFrameRate25p, 0, 0, 0, 120, 40, {0, 0}, 0, size,
        Color::blackColor()));
    EXPECT_EQ(movie->trackCount(), 1u);
    QRLQTOverlayWriter().insertTimeCodeTrackIntoVideoFile(
        path.string(), QRLVideoFrameRate25p, "01:00:00:00", true, static_cast<uint32_t>(size),
        Color::blackColor(), Color::whiteColor(), {{0, 0}, {80, 20}}, false, 0);
    EXPECT_EQ(Movie::open(path)->trackCount(), 1u);
    EXPECT_EQ(log.messages().size(), 2u) << "one line each";
  }
  EXPECT_FALSE(QRLQTOverlayWriter().createTimecodeOverlayForMovie(
      nullptr, "01:00:00:00", QRLVideoFrameRate25p, 0, 0, 0, 120, 40, {0, 0}, 0, 14,
      Color::blackColor()));
}

}  // namespace
}  // namespace qrl
