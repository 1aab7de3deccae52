#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "movie/QRLQTImageLayer.h"
#include "movie/QRLQTOverlayWriter.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/Track.h"
#include "tests/movie/OverlayTestSupport.h"

namespace qrl {
namespace {

using graphics::Color;
using quicktime::Movie;
using quicktime::testing::probe;
using quicktime::testing::readFile;
using testing::decodedFrame;
using testing::differingPixels;
using testing::inkBox;
using testing::makeSizedMovie;
using testing::run;
using testing::TempDir;

constexpr Color kYellow = Color::colorWithCalibratedRed(1, 1, 0, 1);

std::string packets(const std::filesystem::path& path, const std::string& map) {
  return run("ffmpeg -nostdin -v error -i '" + path.string() + "' -map " + map +
             " -c copy -f framemd5 - | grep -v '^#'");
}

TEST(OverlayWriter, BurnAddsAHiddenTimecodeTrackAndOneFramePerFrameInPlace) {
  TempDir dir;
  // At the timecode definition's own 29.97 (2997/100); 30000/1001 drifts
  // from it by a frame every 1000 frames.
  auto path = makeSizedMovie(dir, "burn.mov", "160x90", "2997/100", 300);
  const std::string before = packets(path, "0:v:0");
  ASSERT_FALSE(before.empty());
  const Point origin{8, 10};
  {
    auto movie = Movie::open(path);
    auto* track = QRLQTOverlayWriter().addTimecodeBurnToMovie(
        movie.get(), "01:00:00;00", QRLVideoFrameRate29_97, origin, 16, kYellow, std::nullopt);
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->media().sampleTable().sampleCount(), 300u);
    EXPECT_EQ(track->duration(), movie->duration());
  }
  EXPECT_EQ(packets(path, "0:v:0"), before) << "the original pictures are untouched";
  auto streams = probe(path, "stream=codec_type,codec_tag_string");
  EXPECT_EQ(streams["streams.stream.1.codec_tag_string"], "tmcd");
  EXPECT_EQ(streams["streams.stream.2.codec_tag_string"], "tiff");
  auto movie = Movie::open(path);
  ASSERT_EQ(movie->trackCount(), 3u);
  EXPECT_FALSE(movie->track(2).isEnabled()) << "the timecode track shows no text of its own";
  EXPECT_TRUE(movie->track(3).displayName().value_or("").ends_with(
      QRLTrackAddedByQuorlanQTImageLayerSuffix));

  QRLQTImageLayer layer;
  const struct {
    int frame;
    const char* text;
  } frames[] = {{0, "01:00:00;00"}, {1, "01:00:00;01"}, {299, "01:00:09;29"}};
  for (const auto& f : frames) {
    SCOPED_TRACE(f.frame);
    auto decoded = decodedFrame(path, 1, f.frame, 160, 90);
    ASSERT_EQ(decoded.width(), 160);
    EXPECT_EQ(
        differingPixels(decoded, layer.imageFromString(f.text, {160, 90}, origin, 16, kYellow)), 0);
    auto box = inkBox(decoded);
    EXPECT_GE(box.left, 8);
    EXPECT_LE(box.bottom, 90 - 10);
  }
}

TEST(OverlayWriter, BadInputIsLoggedAndLeavesTheFileAsItWas) {
  TempDir dir;
  auto movie = makeSizedMovie(dir, "m.mov", "64x36", "25", 5);
  auto notMovie = dir / "notes.mov";
  quicktime::testing::writeFile(notMovie, {'h', 'e', 'l', 'l', 'o'});
  auto wav = dir / "tone.wav";
  run("ffmpeg -nostdin -v error -f lavfi -i sine=d=0.2 -c:a pcm_s16le '" + wav.string() + "'");
  const auto original = readFile(movie);

  struct Case {
    const char* name;
    std::filesystem::path path;
    std::string start;
    uint32_t fontSize;
    Point at;
    const char* logged;
  } cases[] = {
      {"missing", dir / "absent.mov", "01:00:00:00", 12, {0, 0}, "not opened as a movie"},
      {"not a movie", notMovie, "01:00:00:00", 12, {0, 0}, "not opened as a movie"},
      {"no video", wav, "01:00:00:00", 12, {0, 0}, "has no video"},
      {"font size 0", movie, "01:00:00:00", 0, {0, 0}, "font size 0"},
      {"font size 10000", movie, "01:00:00:00", 10000, {0, 0}, "font size 10000"},
      {"left of the frame", movie, "01:00:00:00", 12, {-1, 0}, "outside the 64 x 36"},
      {"above the frame", movie, "01:00:00:00", 12, {0, 36}, "outside the 64 x 36"},
      {"bad start", movie, "1:00", 12, {0, 0}, "is not HH:MM:SS:FF"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    process::CapturingLog log;
    QRLBurnAttributeHolder holder;
    holder.embeddedTimecodeOverlay = {static_cast<int32_t>(c.at.x),
                                      static_cast<int32_t>(c.at.y),
                                      0,
                                      0,
                                      false,
                                      std::nullopt,
                                      std::nullopt,
                                      static_cast<int32_t>(c.fontSize)};
    QRLQTOverlayWriter().addTimecodeOverlayToMovieAtPath(c.path, c.start, QRLVideoFrameRate25p,
                                                         holder);
    QRLTextOverlay text;
    text.xCoordinate = static_cast<int32_t>(c.at.x);
    text.yCoordinate = static_cast<int32_t>(c.at.y);
    text.fontSize = static_cast<int32_t>(c.fontSize);
    if (c.start == "01:00:00:00")  // the text overlay has no start to get wrong
      QRLQTOverlayWriter().addTextualOverlayToMovieAtPath(c.path, text);
    bool found = false;
    for (const auto& m : log.messages())
      found = found || m.find(c.logged) != std::string::npos;
    EXPECT_TRUE(found) << "expected a line with \"" << c.logged << "\"";
    EXPECT_EQ(readFile(movie), original);
  }
  process::CapturingLog log;
  EXPECT_EQ(QRLQTOverlayWriter().addTimecodeBurnToMovie(nullptr, "01:00:00:00",
                                                        QRLVideoFrameRate25p, {0, 0}, 12, kYellow),
            nullptr);
  EXPECT_TRUE(log.contains("Insertion of the time code failed"));
}

TEST(OverlayWriter, InterruptedBurnLeavesTheOldMovie) {
  TempDir dir;
  auto path = makeSizedMovie(dir, "m.mov", "64x36", "25", 50);
  const std::string before = packets(path, "0");
  {
    auto movie = Movie::open(path);
    process::CapturingLog log;
    auto* track = QRLQTOverlayWriter().addTimecodeBurnToMovie(
        movie.get(), "00:00:00:00", QRLVideoFrameRate25p, {0, 0}, 12, kYellow, std::nullopt,
        [](Duration done, Duration) {
          if (done.seconds() > 1.0)
            throw Exception::io("disk full");
        });
    EXPECT_EQ(track, nullptr);
    EXPECT_TRUE(log.messages().size() == 1 &&
                log.messages().front().find("disk full") != std::string::npos);
  }
  EXPECT_EQ(probe(path, "format=nb_streams")["format.nb_streams"], "1");
  EXPECT_EQ(packets(path, "0"), before);
}

TEST(OverlayWriter, WatermarksLandAtTheLocationFromTheLowerLeftAtTheirSize) {
  TempDir dir;
  auto png = dir / "mark.png";
  run("ffmpeg -nostdin -v error -f lavfi -i color=c=red:s=8x6 -frames:v 1 '" + png.string() + "'");
  const auto image = readFile(png);
  ASSERT_FALSE(image.empty());
  struct Case {
    const char* name;
    bool sized;
  } cases[] = {{"own size", false}, {"given size", true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto path = makeSizedMovie(dir, std::string(c.name) + ".mov", "64x36", "25", 5);
    QRLQTOverlayWriter writer;
    if (c.sized)
      writer.addImageOverlayToMovieAtPath(path, {image, 10, 20, 16, 12});
    else
      writer.overlayWatermarkImage(image, path, {10, 20});
    auto frame = decodedFrame(path, 1, 0, 64, 36);
    ASSERT_EQ(frame.width(), 64);
    const int w = c.sized ? 16 : 8, h = c.sized ? 12 : 6;
    auto box = inkBox(frame);
    EXPECT_EQ(box.left, 10);
    EXPECT_EQ(box.right, 10 + w);
    EXPECT_EQ(box.bottom, 36 - 20);
    EXPECT_EQ(box.top, 36 - 20 - h);
    auto inside = frame.pixelAt(10 + w / 2, 36 - 20 - h / 2);
    EXPECT_GT(inside.red, 240);
    EXPECT_EQ(inside.alpha, 255);
    EXPECT_EQ(Movie::open(path)->track(2).duration(), Movie::open(path)->duration());
  }
  auto path = makeSizedMovie(dir, "junk.mov", "64x36", "25", 5);
  const auto original = readFile(path);
  process::CapturingLog log;
  QRLQTOverlayWriter().overlayWatermarkImage(std::vector<uint8_t>{1, 2, 3}, path, {0, 0});
  EXPECT_EQ(readFile(path), original);
  EXPECT_EQ(log.messages().size(), 1u);
}

TEST(OverlayWriter, TextOverlayWithoutTextDrawsTheWordText) {
  TempDir dir;
  auto path = makeSizedMovie(dir, "m.mov", "160x90", "25", 5);
  QRLTextOverlay overlay;
  overlay.xCoordinate = 20;
  overlay.yCoordinate = 30;
  overlay.fontSize = 18;
  overlay.textColor = kYellow;
  overlay.backgroundColor = Color::whiteColor();  // ignored: not included
  QRLQTOverlayWriter().addTextualOverlayToMovieAtPath(path, overlay);
  auto frame = decodedFrame(path, 1, 0, 160, 90);
  ASSERT_EQ(frame.width(), 160);
  QRLQTImageLayer layer;
  // Drawn once more onto the movie-sized canvas, a faint edge pixel may move
  // more than a few steps; another word differs in dozens.
  EXPECT_LE(differingPixels(frame, layer.imageFromString("Text", {160, 90}, {20, 30}, 18, kYellow)),
            3);
  EXPECT_GT(differingPixels(frame, layer.imageFromString("Test", {160, 90}, {20, 30}, 18, kYellow)),
            20);
}

TEST(OverlayWriter, PlatformTimecodeTrackAndBeginningTimecode) {
  TempDir dir;
  auto path = makeSizedMovie(dir, "m.mov", "64x36", "25", 10);
  QRLQTOverlayWriter writer;
  EXPECT_EQ(writer.beginningTimecodeForQuicktimeVideoAtPath(path), std::nullopt);
  EXPECT_EQ(writer.beginningTimecodeForQuicktimeVideoAtPath((dir / "absent.mov").string()),
            "00:00:00:00");
  {
    auto movie = Movie::open(path);
    EXPECT_TRUE(writer.addQTTimecodeTrackToMovie(movie.get(), QRLVideoFrameRate25p));
  }
  process::CapturingLog log;
  EXPECT_TRUE(writer.addQTTimecodeTrackToMovie(nullptr, QRLVideoFrameRate25p));
  EXPECT_TRUE(log.contains("Insertion of the time code failed"));
  EXPECT_EQ(probe(path, "stream_tags=timecode")["streams.stream.0.tags.timecode"], "00:00:00:00");
  EXPECT_EQ(writer.beginningTimecodeForQuicktimeVideoAtPath(path), "00:00:00:00");
  auto movie = Movie::open(path);
  const auto& track = movie->track(2);
  EXPECT_TRUE(track.isEnabled());
  EXPECT_EQ(track.dimensions().height, 25 * 1.25 + 14.0);
  EXPECT_EQ(track.matrix().values[7], 36 << 16) << "the strip sits below the picture";
}

}  // namespace
}  // namespace qrl
