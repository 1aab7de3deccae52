// Movies made by ffmpeg, edited by the engine and read back by the outside
// judges: ffprobe, ffmpeg, mediainfo and exiftool.
#include <gtest/gtest.h>

#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "platform/quicktime/Track.h"
#include "tests/platform/quicktime/EditHelpers.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl::quicktime::testing {
namespace {

std::string quotedPath(const std::filesystem::path& p) {
  return "'" + p.string() + "'";
}

TEST(EditJudges, TimeCodeTrackIsReadByFfprobeMediaInfoAndExiftool) {
  TempDir dir;
  auto path = makeMovie(dir, "tc.mov", "25", 50);
  {
    auto movie = Movie::open(path);
    movie->setEditable(true);
    TimeCodeDef pal{0, 2500, 100, 25, 0};
    Track& tc = addTimeCodeTrack(*movie, pal, 90000, true, 12);
    // Put the strip under the picture and check the geometry before saving.
    EXPECT_EQ(tc.dimensions().height, 29.0);
    EXPECT_EQ(tc.bounds().y, 36.0);
    movie->updateMovieFile();
  }
  auto probe = testing::probe(path, "stream=codec_tag_string:stream_tags=timecode");
  EXPECT_EQ(probe["streams.stream.1.codec_tag_string"], "tmcd");
  EXPECT_EQ(probe["streams.stream.1.tags.timecode"], "01:00:00:00");
  EXPECT_EQ(probe["streams.stream.0.tags.timecode"], "01:00:00:00");
  EXPECT_EQ(run("mediainfo --Inform='Other;%TimeCode_FirstFrame%' " + quotedPath(path)),
            "01:00:00:00\n");
  std::string exif = run("exiftool -a -G1 " + quotedPath(path));
  EXPECT_NE(exif.find("Time Code"), std::string::npos) << exif;

  // Our own reader sees the same track, options, flag and reference.
  auto reopened = Movie::open(path);
  ASSERT_EQ(reopened->trackCount(), 2u);
  Track& tc = reopened->track(2);
  TimeCodeMediaHandler handler(tc);
  EXPECT_EQ(handler.timeCodeFlags(), TimeCodeMediaHandler::kShowTimeCode);
  EXPECT_EQ(handler.displayOptions().txFont, 21);
  EXPECT_EQ(handler.displayOptions().txFace, 1);
  EXPECT_EQ(reopened->track(1).references(fourCC("tmcd")), std::vector<uint32_t>{tc.trackID()});
  auto current = handler.currentTimeCode(Time::make(1000, 1000));
  ASSERT_TRUE(current);
  EXPECT_EQ(TimeCodeMediaHandler::toString(current->definition, current->record), "01:00:01:00");
}

TEST(EditJudges, OverlayTrackOfFfmpegTiffsIsListedAndDecoded) {
  TempDir dir;
  auto path = makeMovie(dir, "overlay.mov", "25", 10);
  // Three TIFF images with alpha from ffmpeg's own encoder.
  int status = 0;
  run("ffmpeg -nostdin -v error -f lavfi -i 'color=c=red@0.5:s=32x16,format=rgba' -frames:v 3 "
      "-c:v tiff " +
          quotedPath(dir / "img%d.tif"),
      &status);
  ASSERT_EQ(status, 0);
  {
    auto movie = Movie::open(path);
    movie->setEditable(true);
    Track& overlay = movie->newTrack(32 << 16, 16 << 16, 0);
    movie->newTrackMedia(overlay, kMediaTypeVideo, movie->timeScale(), std::nullopt,
                         fourCC("alis"));
    overlay.setDisplayName("Burn_quorlanImageOverlayTrack");
    overlay.setLayer(-1);
    overlay.setBounds({20, 10, 32, 16});
    overlay.media().setGraphicsMode(0x100, {0, 0, 0});
    for (int i = 1; i <= 3; ++i) {
      auto image = readFile(dir / ("img" + std::to_string(i) + ".tif"));
      overlay.addImage(image, fourCC("tiff"), Duration::make(1, 25));
    }
    EXPECT_EQ(overlay.editList().size(), 1u) << "images appended one by one keep one edit";
    movie->updateMovieFile();
  }
  std::string exif = run("exiftool -a -G1 " + quotedPath(path));
  EXPECT_NE(exif.find("[Track2]        Track Layer                     : 65535"), std::string::npos)
      << exif;
  EXPECT_NE(exif.find("[Track2]        Graphics Mode                   : Alpha"), std::string::npos)
      << exif;
  EXPECT_NE(exif.find("Burn_quorlanImageOverlayTrack"), std::string::npos) << exif;
  std::string frames = run("ffmpeg -nostdin -v error -i " + quotedPath(path) +
                           " -map 0:1 -f framemd5 - | grep -vc '^#'");
  EXPECT_EQ(frames, "3\n");

  auto reopened = Movie::open(path);
  const Track& overlay = reopened->track(2);
  EXPECT_EQ(overlay.layer(), -1);
  EXPECT_EQ(overlay.bounds(), (Rect{20, 10, 32, 16}));
  EXPECT_EQ(overlay.displayName(), "Burn_quorlanImageOverlayTrack");
  EXPECT_EQ(overlay.media().graphicsMode(), 0x100);
  EXPECT_EQ(overlay.media().readSample(2), readFile(dir / "img3.tif"));
}

TEST(EditJudges, RemovingATrackLeavesTheOtherPacketsUnchanged) {
  TempDir dir;
  auto path = dir / "two.mov";
  int status = 0;
  run("ffmpeg -nostdin -v error -f lavfi -i color=c=gray:s=64x36:r=25 -f lavfi -i sine=d=0.8 "
      "-frames:v 20 -c:v mpeg4 -c:a pcm_s16le -shortest " +
          quotedPath(path),
      &status);
  ASSERT_EQ(status, 0);
  auto packets = [&](const std::string& map) {
    return run("ffmpeg -nostdin -v error -i " + quotedPath(path) + " -map " + map +
               " -c copy -f framemd5 - | grep -v '^#'");
  };
  std::string videoBefore = packets("0:v");
  ASSERT_FALSE(videoBefore.empty());
  {
    auto movie = Movie::open(path);
    ASSERT_EQ(movie->trackCount(), 2u);
    movie->setEditable(true);
    movie->removeTrack(*movie->tracksOfMediaType(kMediaTypeSound).front());
    movie->updateMovieFile();
  }
  auto probe = testing::probe(path, "format=nb_streams");
  EXPECT_EQ(probe["format.nb_streams"], "1");
  EXPECT_EQ(packets("0:v"), videoBefore);
}

TEST(EditJudges, SoundTrackReferringToAWavPlaysTheWavSamples) {
  TempDir dir;
  auto path = makeMovie(dir, "movie.mov", "25", 25);
  auto wav = dir / "tone.wav";
  int status = 0;
  run("ffmpeg -nostdin -v error -f lavfi -i sine=f=440:d=1 -ar 48000 -c:a pcm_s16le " +
          quotedPath(wav),
      &status);
  ASSERT_EQ(status, 0);
  {
    auto movie = Movie::open(path);
    movie->setEditable(true);
    auto sound = Movie::open(wav);
    const Track& source = sound->track(1);
    Track& track = movie->newTrack(0, 0, 0x100);
    movie->newTrackMedia(track, kMediaTypeSound, source.media().timeScale(),
                         DataReference::aliasTo(wav, path), fourCC("alis"));
    track.insertSegment(source, TimeRange::make(Time::make(0, 1), sound->duration()),
                        Time::make(0, 1));
    movie->updateMovieFile();
  }
  auto decoded = [&](const std::string& input, const std::string& options) {
    return run("ffmpeg -nostdin -v error " + options + " -i " + quotedPath(input) +
               " -map 0:a -f s16le - | md5sum");
  };
  EXPECT_EQ(decoded(path.string(), "-enable_drefs 1"), decoded(wav.string(), ""));
  auto reopened = Movie::open(path);
  EXPECT_EQ(reopened->track(2).media().dataReferences().at(0).path, wav);
  EXPECT_EQ(reopened->track(2).duration(), Duration::make(1000, 1000));
}

}  // namespace
}  // namespace qrl::quicktime::testing
