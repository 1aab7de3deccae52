// Segment tracks, sound-track copies and enabling timecode tracks, judged by
// ffprobe and ffmpeg on movies ffmpeg made.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "movie/QRLQuickTime32.h"
#include "movie/QRLQuickTimeUtility32.h"
#include "movie/QuickTimeUtilities.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;
using quicktime::Movie;
using quicktime::testing::makeMovie;
using quicktime::testing::probe;
using quicktime::testing::run;
using quicktime::testing::TempDir;

std::string quoted(const fs::path& p) {
  return "'" + p.string() + "'";
}

// The decoded samples of one audio stream as 16-bit PCM, following
// references to other files.
std::string decodedAudio(const fs::path& path, int stream) {
  return run("ffmpeg -nostdin -v error -enable_drefs 1 -use_absolute_path 1 -i " + quoted(path) +
             " -map 0:a:" + std::to_string(stream) + " -f s16le -");
}

TEST(MovieEditing, SegmentsLieEndToEndAsFfprobeListsThem) {
  TempDir dir;
  auto path = makeMovie(dir, "aggregate.mov", "25", 75);
  {
    auto movie = Movie::open(path);
    movie->setEditable(true);
    const int32_t scale = movie->timeScale();
    std::vector<QTTimecodeDescription> segments = {
        QTTimecodeDescription::timecodeDescriptionForTimecode("01:00:00:00", QRLMovieRate25,
                                                              Duration::make(scale, scale)),
        QTTimecodeDescription::timecodeDescriptionForTimecode("02:00:00:00", QRLMovieRate25,
                                                              Duration::make(scale / 2, scale)),
        QTTimecodeDescription::timecodeDescriptionForTimecode("03:00:10:05", QRLMovieRate25,
                                                              Duration::make(scale * 3 / 2, scale)),
    };
    QRLQuickTimeUtility32::insertTimecodeSegmentsIntoMovie(movie.get(), 18, segments);
    ASSERT_EQ(movie->trackCount(), 4u);
    movie->updateMovieFile();
  }
  auto streams = probe(path, "stream=codec_tag_string,start_time,duration:stream_tags=timecode");
  const char* starts[] = {"0.000000", "1.000000", "1.500000"};
  const char* timecodes[] = {"01:00:00:00", "02:00:00:00", "03:00:10:05"};
  // Each track holds an empty edit before its segment.
  const double ends[] = {1.0, 1.5, 3.0};
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    std::string key = "streams.stream." + std::to_string(i + 1) + ".";
    EXPECT_EQ(streams[key + "codec_tag_string"], "tmcd");
    EXPECT_EQ(streams[key + "start_time"], starts[i]);
    EXPECT_EQ(streams[key + "tags.timecode"], timecodes[i]);
  }
  // Every segment shows its text and is referenced from the picture.
  auto movie = Movie::open(path);
  std::vector<uint32_t> ids;
  for (size_t n = 2; n <= 4; ++n) {
    ids.push_back(movie->track(n).trackID());
    EXPECT_EQ(movie->track(n).duration().seconds(), ends[n - 2]);
  }
  EXPECT_EQ(movie->track(1).references(quicktime::kMediaTypeTimeCode), ids);
}

TEST(MovieEditing, CopiedSoundTracksDecodeToTheSourceSamples) {
  TempDir dir;
  auto source = dir / "source.mov";
  run("ffmpeg -nostdin -v error -y -f lavfi -i color=c=gray:s=64x36:r=25 -f lavfi -i "
      "sine=f=440:r=48000 -f lavfi -i sine=f=1000:r=44100 -t 2 -map 0 -map 1 -map 2 -c:v mpeg4 "
      "-c:a pcm_s16le " +
      quoted(source));
  auto target = makeMovie(dir, "target.mov", "25", 50);
  QRLQuickTime32 service;
  {
    auto from = Movie::open(source);
    auto into = Movie::open(target);
    into->setEditable(true);
    ASSERT_TRUE(service.copyAudioTracksFromMovie(from.get(), into.get()));
    ASSERT_EQ(into->trackCount(), 3u);
    EXPECT_EQ(into->track(2).volume(), from->track(2).volume());
    EXPECT_EQ(into->track(3).media().timeScale(), 44100);
    into->updateMovieFile();
  }
  for (int stream = 0; stream < 2; ++stream) {
    SCOPED_TRACE(stream);
    std::string expected = decodedAudio(source, stream);
    EXPECT_GT(expected.size(), 150000u);
    EXPECT_TRUE(decodedAudio(target, stream) == expected);
  }
}

TEST(MovieEditing, SoundCopyAnswersToolboxCodes) {
  TempDir dir;
  auto withSound = dir / "sound.mov";
  run("ffmpeg -nostdin -v error -y -f lavfi -i sine=d=0.2 -c:a pcm_s16le " + quoted(withSound));
  auto plain = makeMovie(dir, "plain.mov", "25", 5);
  auto from = Movie::open(withSound);
  auto into = Movie::open(plain);
  // Nothing to copy from is no error; nowhere to copy to is invalidMovie.
  EXPECT_EQ(QRLQuickTimeUtility32::QTUCopySoundTracks(nullptr, into.get()), 0);
  EXPECT_EQ(QRLQuickTimeUtility32::QTUCopySoundTracks(into.get(), nullptr), 0);
  EXPECT_EQ(QRLQuickTimeUtility32::QTUCopySoundTracks(from.get(), nullptr), -2010);
  // A movie that cannot take new tracks: the first refused step's code.
  QRLQuickTime32 service;
  EXPECT_EQ(service.QTUCopySoundTracks(from.get(), into.get()), -50);
  EXPECT_FALSE(service.copyAudioTracksFromMovie(from.get(), into.get()));
  EXPECT_EQ(into->trackCount(), 1u);
}

TEST(MovieEditing, EnablingTimecodeTracksSavesTheMovie) {
  TempDir dir;
  auto path = makeMovie(dir, "tc.mov", "25", 5, "01:00:00:00");
  auto plain = makeMovie(dir, "plain.mov", "25", 5);
  QRLQuickTime32 service;
  for (bool enabled : {false, true}) {
    auto movie = Movie::open(path);
    service.setEnabledStateOfQTTimecodeTracksForMovie(movie.get(), enabled);
    EXPECT_FALSE(movie->hasChanges());
    auto reopened = Movie::open(path);
    EXPECT_EQ(reopened->tracksOfMediaType(quicktime::kMediaTypeTimeCode).front()->isEnabled(),
              enabled);
    EXPECT_TRUE(reopened->track(1).isEnabled());
  }
  // Saved also without timecode tracks: the movie atom is written anew.
  auto before = fs::file_size(plain);
  QuickTimeUtilities::setEnabledStateOfQTTimecodeTracksForMovie(Movie::open(plain).get(), false);
  EXPECT_GT(fs::file_size(plain), before);
  // A movie that cannot be made editable (one held in memory) is left as it
  // was, and nothing is raised.
  auto inMemory = Movie::fromBytes(quicktime::testing::readFile(path));
  QuickTimeUtilities::setEnabledStateOfQTTimecodeTracksForMovie(inMemory.get(), false);
  EXPECT_FALSE(inMemory->isEditable());
  EXPECT_TRUE(inMemory->tracksOfMediaType(quicktime::kMediaTypeTimeCode)[0]->isEnabled());
  QuickTimeUtilities::setEnabledStateOfQTTimecodeTracksForMovie(nullptr, false);
}

}  // namespace
}  // namespace qrl
