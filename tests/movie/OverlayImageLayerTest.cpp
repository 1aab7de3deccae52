#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "movie/QRLQTImageLayer.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/Track.h"
#include "tests/movie/OverlayTestSupport.h"

namespace qrl {
namespace {

using graphics::Color;
using quicktime::Movie;
using testing::decodedFrame;
using testing::differingPixels;
using testing::inkBox;
using testing::makeSizedMovie;
using testing::run;
using testing::TempDir;

bool endsWithMarker(const std::string& name) {
  return name.ends_with(QRLTrackAddedByQuorlanQTImageLayerSuffix);
}

TEST(OverlayImageLayer, SizesTruncateThenWrapThroughSigned16Bits) {
  struct Case {
    float size;
    int32_t fixed;
  } cases[] = {
      {1919.9f, 1919 << 16},
      {1080.7f, 1080 << 16},
      {0.5f, 0},
      {32767.0f, 32767 << 16},
      {32768.0f, static_cast<int32_t>(0x80000000u)},
      {40000.0f, static_cast<int32_t>(static_cast<uint32_t>(40000 - 65536) << 16)},
      {-3.9f, static_cast<int32_t>(static_cast<uint32_t>(-3) << 16)},
  };
  for (const auto& c : cases)
    EXPECT_EQ(QRLQTImageLayer::fixedDimension(c.size), c.fixed) << c.size;
  EXPECT_EQ(QRLQTImageLayer::textBasedImageDictionary(), (QRLImageAddingAttributes{"tiff", 768}));
}

TEST(OverlayImageLayer, BlankTrackIsMarkedLayeredPlacedAndJudgedByExiftool) {
  TempDir dir;
  auto path = makeSizedMovie(dir, "m.mov", "64x36", "25", 5);
  {
    auto movie = Movie::open(path);
    auto layer = QRLQTImageLayer::layer();
    EXPECT_EQ(layer->addBlankTrackIntoMovie(nullptr, {10, 10}, {0, 0}), nullptr);
    auto* track = layer->addBlankTrackIntoMovie(movie.get(), {1919.9f, 1080.7f}, {20, 30});
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(movie->trackCount(), 2u);
    movie->updateMovieFile();
  }
  auto movie = Movie::open(path);
  const auto& track = movie->track(2);
  EXPECT_EQ(track.mediaType(), quicktime::kMediaTypeVideo);
  EXPECT_EQ(track.media().timeScale(), movie->timeScale());
  EXPECT_EQ(track.volume(), 0);
  EXPECT_EQ(track.layer(), -1);
  EXPECT_EQ(track.bounds(), (quicktime::Rect{20, 30, 1919, 1080}));
  EXPECT_EQ(track.media().graphicsMode(), 0x100);
  EXPECT_EQ(track.media().sampleTable().sampleCount(), 0u);
  ASSERT_TRUE(track.displayName());
  EXPECT_TRUE(endsWithMarker(*track.displayName())) << *track.displayName();
  EXPECT_FALSE(endsWithMarker(movie->track(1).displayName().value_or("")));

  std::string exif = run("exiftool -a -G1 '" + path.string() + "'");
  EXPECT_NE(exif.find("[Track2]        Track Layer                     : 65535"), std::string::npos)
      << exif;
  EXPECT_NE(exif.find("[Track2]        Graphics Mode                   : Alpha"), std::string::npos)
      << exif;
  EXPECT_NE(exif.find("_quorlanImageOverlayTrack"), std::string::npos) << exif;
}

TEST(OverlayImageLayer, SuffixFollowsTheOldNameDirectly) {
  TempDir dir;
  auto path = makeSizedMovie(dir, "m.mov", "64x36", "25", 2);
  auto movie = Movie::open(path);
  movie->setEditable(true);
  movie->track(1).setDisplayName("Picture");
  QRLQTImageLayer::addQuorlanSuffixToTrack(&movie->track(1));
  EXPECT_EQ(movie->track(1).displayName(), "Picture_quorlanImageOverlayTrack");
  QRLQTImageLayer::addQuorlanSuffixToTrack(nullptr);
}

TEST(OverlayImageLayer, TransparentOverlayHoldsOneClearImageForTheWholeMovie) {
  TempDir dir;
  auto path = makeSizedMovie(dir, "m.mov", "64x36", "25", 10);
  {
    auto movie = Movie::open(path);
    auto* track = QRLQTImageLayer().addTransparentOverlayTrackIntoMovie(movie.get());
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->media().sampleTable().sampleCount(), 1u);
    EXPECT_EQ(track->duration(), movie->duration());
    movie->updateMovieFile();
  }
  EXPECT_EQ(QRLQTImageLayer().addTransparentOverlayTrackIntoMovie(nullptr), nullptr);
  auto frame = decodedFrame(path, 1, 0, 64, 36);
  ASSERT_EQ(frame.width(), 64);
  EXPECT_EQ(inkBox(frame).width(), 0) << "every pixel transparent";
}

TEST(OverlayImageLayer, StringImagesAreTransparentOutsideTheTextAndItsBackground) {
  QRLQTImageLayer layer;
  auto plain = layer.imageFromString("01:00:00;00", {200, 60}, {10, 5}, 20, Color::blackColor());
  auto box = inkBox(plain);
  ASSERT_GT(box.width(), 0);
  // Origin at the lower left: the ink sits near the bottom, from x = 10 on.
  EXPECT_GE(box.left, 10);
  EXPECT_LE(box.left, 14);
  EXPECT_LE(box.bottom, 60 - 5);
  EXPECT_GT(box.top, 60 - 5 - 30);
  // Pixels inside the box but between glyphs stay clear without a background.
  int clear = 0;
  for (int x = box.left; x < box.right; ++x)
    clear += plain.pixelAt(x, box.top).alpha == 0;
  EXPECT_GT(clear, 0);

  auto backed = layer.imageFromString("01:00:00;00", {200, 60}, {10, 5}, 20, Color::blackColor(),
                                      Color::whiteColor());
  auto backedBox = inkBox(backed);
  EXPECT_EQ(backed.pixelAt(backedBox.left, backedBox.top).alpha, 255);
  EXPECT_EQ(backed.pixelAt(199, 0).alpha, 0) << "nothing painted outside the run";
  EXPECT_EQ(layer.imageFromString("x", {7.9f, 3.2f}, 10, Color::blackColor()).width(), 7);
}

// The frame's text: the start plus n frames, non-drop.
std::string timecodeAt(int startHours, int n, int fps) {
  char text[64];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d:%02d", startHours, (n / fps) / 60,
                (n / fps) % 60, n % fps);
  return text;
}

TEST(OverlayImageLayer, BurnAddsOneImagePerFrameWithThatFramesTimecode) {
  TempDir dir;
  auto path = makeSizedMovie(dir, "burn.mov", "160x90", "25", 100, "10:00:00:00");
  const Point origin{12, 8};
  std::vector<double> fractions;
  {
    auto movie = Movie::open(path);
    auto* burn = QRLQTImageLayer().burnTimecodeImagesintoMovie(
        movie.get(), {160, 90}, origin, 18, Color::colorWithCalibratedRed(1, 1, 0, 1), std::nullopt,
        [&](Duration done, Duration all) { fractions.push_back(done.seconds() / all.seconds()); });
    ASSERT_NE(burn, nullptr);
    const auto& samples = burn->media().sampleTable();
    ASSERT_EQ(samples.sampleCount(), 100u);
    EXPECT_EQ(burn->duration(), movie->duration());
    movie->updateMovieFile();
  }
  ASSERT_EQ(fractions.size(), 100u);
  EXPECT_DOUBLE_EQ(fractions.back(), 1.0);
  std::string count =
      run("ffprobe -v error -select_streams v:1 -count_frames -show_entries "
          "stream=nb_read_frames -of csv=p=0 '" +
          path.string() + "'");
  EXPECT_EQ(count, "100\n");

  QRLQTImageLayer layer;
  for (int n : {0, 1, 26, 99}) {
    SCOPED_TRACE(n);
    auto frame = decodedFrame(path, 1, n, 160, 90);
    ASSERT_EQ(frame.width(), 160);
    auto expected = layer.imageFromString(timecodeAt(10, n, 25), {160, 90}, origin, 18,
                                          Color::colorWithCalibratedRed(1, 1, 0, 1));
    EXPECT_EQ(differingPixels(frame, expected), 0);
    auto wrong = layer.imageFromString(timecodeAt(10, n + 1, 25), {160, 90}, origin, 18,
                                       Color::colorWithCalibratedRed(1, 1, 0, 1));
    EXPECT_GT(differingPixels(frame, wrong), 0) << "the next frame's text differs";
  }
}

TEST(OverlayImageLayer, MovieWithoutTimecodeGetsAnEmptyBurnTrack) {
  TempDir dir;
  auto path = makeSizedMovie(dir, "plain.mov", "64x36", "25", 10);
  auto movie = Movie::open(path);
  auto* burn = QRLQTImageLayer().burnTimecodeImagesintoMovie(movie.get(), {64, 36}, {0, 0}, 12,
                                                             Color::blackColor());
  ASSERT_NE(burn, nullptr);
  EXPECT_EQ(burn->media().sampleTable().sampleCount(), 0u);
  EXPECT_EQ(QRLQTImageLayer().burnTimecodeImagesintoMovie(nullptr, {64, 36}, {0, 0}, 12,
                                                          Color::blackColor()),
            nullptr);
}

}  // namespace
}  // namespace qrl
