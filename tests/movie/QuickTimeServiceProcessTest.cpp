// The timecode-track service through a real conduit process and the C++ client.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "clients/cpp/QRLConduitClient.h"
#include "platform/base/Exception.h"
#include "platform/graphics/ImageDecoder.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;
using archive::Value;
using quicktime::testing::makeMovie;
using quicktime::testing::TempDir;

class QuickTimeServiceProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("QRL_RUNTIME_DIR", (dir_ / "run").c_str(), 1);
    setenv("QRL_CONDUIT", QRL_CONDUIT_PROGRAM, 1);
    conduit_ = client::QRLConduitClient::launch();
    ASSERT_NE(conduit_, nullptr);
  }
  void TearDown() override {
    conduit_.reset();
    unsetenv("QRL_RUNTIME_DIR");
    unsetenv("QRL_CONDUIT");
  }

  TempDir dir_;
  std::unique_ptr<client::QRLConduitClient> conduit_;
};

TEST_F(QuickTimeServiceProcess, ReadingSelectorsCarryTheirWireForms) {
  auto movie = makeMovie(dir_, "tc.mov", "30000/1001", 30, "01:00:00;00").string();
  auto plain = makeMovie(dir_, "plain.mov", "25", 5).string();
  auto qt = conduit_->quickTime();

  EXPECT_EQ(qt.durationOfFileInMiliseconds(movie), quicktime::Movie::open(movie)->duration().value);
  EXPECT_EQ(qt.durationOfFileInMiliseconds((dir_ / "none.mov").string()), 0);
  EXPECT_EQ(qt.timeScaleForVideoFrameRate(4), 2500);  // this class's column
  EXPECT_EQ(qt.frameCountFromVideoFrameRate(7), 30);
  EXPECT_EQ(qt.videoFrameRateFromTimecodeDef({1, 2997, 100, 30}), 5u);
  auto size = qt.thumbnailSizeForImageSize({400, 300});
  EXPECT_EQ(size.width, 192.0f);
  EXPECT_EQ(size.height, 144.0f);

  // The timecode track of ffmpeg's movie is track 2; track 1 is the picture.
  EXPECT_EQ(qt.extractStartTimecodeFromTimecodeTrack({movie, 2}), "01:00:00;00");
  EXPECT_EQ(qt.extractStartTimecodeFromTimecodeTrack({movie, 1}), std::nullopt);
  EXPECT_EQ(qt.extractStartTimecodeFromTimecodeTrack({movie, 9}), std::nullopt);
  EXPECT_EQ(qt.videoFrameRateForTrack({movie, 2}), 10u);
  EXPECT_EQ(qt.timecodeAtCurrentPlayPositionForMovie(movie), "01:00:00;00");
  EXPECT_EQ(qt.timecodeAtCurrentPlayPositionForMovie(plain), std::nullopt);

  Value series = qt.timecodeSeriesForMovie(movie);
  ASSERT_NE(series.array(), nullptr);
  ASSERT_EQ(series.array()->size(), 30u);
  EXPECT_EQ(*series.array()->back().string(), "01:00:00;29");
  EXPECT_EQ(qt.timecodeSeriesForMovie(plain).array()->size(), 0u);
  EXPECT_EQ(qt.timecodeSeriesForMovie((dir_ / "none.mov").string()).array()->size(), 0u);

  // The poster arrives as PNG data that decodes to 250 x 100; no video, no data.
  Value poster = qt.posterImageForFilePath(movie);
  ASSERT_NE(poster.data(), nullptr);
  auto image = graphics::ImageDecoder::decode(*poster.data());
  EXPECT_EQ(image.width(), 250);
  EXPECT_EQ(image.height(), 100);
  Value none = qt.posterImageForFilePath((dir_ / "none.mov").string(), true);
  ASSERT_NE(none.data(), nullptr);
  EXPECT_TRUE(none.data()->empty());
}

TEST_F(QuickTimeServiceProcess, ChangingSelectorsSaveTheMovieInPlace) {
  auto movie = makeMovie(dir_, "edit.mov", "25", 10);
  auto sound = dir_ / "sound.mov";
  quicktime::testing::run("ffmpeg -nostdin -v error -y -f lavfi -i sine=d=0.4 -c:a pcm_s16le '" +
                          sound.string() + "'");
  auto missing = (dir_ / "none.mov").string();
  auto qt = conduit_->quickTime();

  ASSERT_TRUE(qt.addTimecodeTrackToMovie(movie.string(), 2, "01:00:00:00", true, 12));
  EXPECT_EQ(
      quicktime::testing::probe(movie, "stream_tags=timecode")["streams.stream.1.tags.timecode"],
      "01:00:00:00");
  EXPECT_EQ(qt.extractStartTimecodeFromTimecodeTrack({movie.string(), 2}), "01:00:00:00");

  qt.setEnabledStateOfQTTimecodeTracksForMovie(movie.string(), false);
  EXPECT_FALSE(quicktime::Movie::open(movie)->track(2).isEnabled());

  ASSERT_TRUE(qt.copyAudioTracksFromMovie(sound.string(), movie.string()));
  auto copied = quicktime::Movie::open(movie);
  ASSERT_EQ(copied->trackCount(), 3u);
  EXPECT_EQ(copied->track(3).mediaType(), quicktime::kMediaTypeSound);

  // Nil movies: no track, no copy into nothing, nothing from nothing is fine.
  EXPECT_FALSE(qt.addTimecodeTrackToMovie(missing, 2, "01:00:00:00", true, 12));
  EXPECT_FALSE(qt.copyAudioTracksFromMovie(sound.string(), missing));
  EXPECT_TRUE(qt.copyAudioTracksFromMovie(missing, movie.string()));
  qt.setEnabledStateOfQTTimecodeTracksForMovie(missing, true);
  EXPECT_FALSE(fs::exists(missing));
  EXPECT_EQ(quicktime::Movie::open(movie)->trackCount(), 3u);
}

TEST_F(QuickTimeServiceProcess, BadShapesAreClearErrors) {
  auto qt = conduit_->quickTime();
  try {
    qt.videoFrameRateFromTimecodeDef({0, 2500, 100, 25});
    conduit_->proxy().send("videoFrameRateFromTimecodeDef:",
                           {Value(Value::Dictionary{{"flags", Value(0)},
                                                    {"timeScale", Value(2500)},
                                                    {"frameDuration", Value(100)},
                                                    {"numFrames", Value(300)}})});
    FAIL() << "a frame count of 300 was taken";
  } catch (const Exception& e) {
    EXPECT_NE(std::string(e.what()).find("'numFrames' is out of range"), std::string::npos)
        << e.what();
  }
  // The conduit keeps serving.
  EXPECT_EQ(qt.timeScaleForVideoFrameRate(7), 2997);
}

}  // namespace
}  // namespace qrl
