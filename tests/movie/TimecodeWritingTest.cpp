// Adding timecode tracks: the stored bytes and geometry read back by the
// engine, the logged failures and nil-movie asymmetries, and the tracks as
// ffprobe and mediainfo see them after a save.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "movie/QRLQuickTime32.h"
#include "movie/QRLQuickTimeUtility32.h"
#include "movie/QRLTimecodeTrackWriter.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/SampleDescriptionAtom.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "tests/platform/quicktime/Fixtures.h"
#include "timecode/QRLTimecodeUtility.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;
using quicktime::fourCC;
using quicktime::Movie;
using quicktime::TimeCodeMediaHandler;
using quicktime::testing::makeMovie;
using quicktime::testing::probe;
using quicktime::testing::run;
using quicktime::testing::TempDir;
using Bytes = std::vector<uint8_t>;

constexpr QRLVideoFrameRate kPal = static_cast<QRLVideoFrameRate>(2);
const std::string kTrackProblem =
    "Problem occured while trying to create a new track for the movie";

// The stored sample description entry of a track, as the file holds it.
Bytes descriptionEntry(const quicktime::Track& track) {
  auto* stbl = track.media().atom().container({fourCC("minf"), fourCC("stbl")});
  auto* stsd = stbl ? stbl->childAs<quicktime::SampleDescriptionAtom>(fourCC("stsd")) : nullptr;
  return stsd == nullptr || stsd->entries().empty() ? Bytes{} : stsd->entries().front();
}

std::string mediainfoFirstTimecode(const fs::path& path) {
  std::string out = run("mediainfo --Inform='Other;%TimeCode_FirstFrame%' '" + path.string() + "'");
  while (!out.empty() && (out.back() == '\n' || out.back() == '\r'))
    out.pop_back();
  return out;
}

class TimecodeWriting : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    makeMovie(*dir_, "pal.mov", "25", 10);
    makeMovie(*dir_, "tc.mov", "25", 10, "00:00:10:00");
    quicktime::testing::run("ffmpeg -nostdin -v error -y -f lavfi -i sine=d=0.5 -c:a pcm_s16le '" +
                            (*dir_ / "sound.mov").string() + "'");
  }
  static void TearDownTestSuite() {
    delete dir_;
    dir_ = nullptr;
  }
  // A fresh editable copy of a fixture.
  static std::unique_ptr<Movie> editableCopy(const std::string& fixture, const std::string& name) {
    fs::copy_file(*dir_ / fixture, *dir_ / name, fs::copy_options::overwrite_existing);
    auto movie = Movie::open(*dir_ / name);
    movie->setEditable(true);
    return movie;
  }
  static fs::path file(const std::string& name) { return *dir_ / name; }

  static TempDir* dir_;
  QRLQuickTime32 service_;
  QRLQuickTimeUtility32 utility_;
};

TempDir* TimecodeWriting::dir_ = nullptr;

struct JudgedCode {
  uint32_t code;
  const char* start;
  // What ffprobe's timecode tag and mediainfo's first timecode show, for
  // QRLQuickTime32 (column A) and QRLQuickTimeUtility32 (column B).
  const char* ffprobeA;
  const char* mediainfoA;
  const char* ffprobeB;
  const char* mediainfoB;
};

// Where a judge shows something other than the start, the definition says so:
// - code 1: the frame-rate catalogue counts 23.976 as drop-frame, so the
//   definition carries the drop flag at 24 frames a second. ffprobe allows
//   drop-frame only at multiples of 30000/1001 and shows no tag; mediainfo
//   drops two labels a minute at 24 and lands 46 seconds later.
// - codes 4 and 7 in column B: time scale 5000 (5994) over frame duration 100
//   says 50 (59.94) frames a second while the definition counts 25 (30); both
//   judges take the frames field at the faster rate and double it.
const JudgedCode kJudged[] = {
    {0, "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13"},
    {1, "10:11:12;13", "", "10:11:58;09", "", "10:11:58;09"},
    {2, "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13"},
    {3, "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13"},
    {4, "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:26", "10:11:12:26"},
    {5, "10:11:12;13", "10:11:12;13", "10:11:12;13", "10:11:12;13", "10:11:12;13"},
    {6, "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13"},
    {7, "10:11:12;13", "10:11:12;13", "10:11:12;13", "10:11:12;26", "10:11:12;26"},
    {8, "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13"},
    {9, "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13", "10:11:12:13"},
};

TEST_F(TimecodeWriting, JudgesReadTheStartTimecodeAtEveryRateCode) {
  for (const JudgedCode& c : kJudged) {
    for (bool columnB : {false, true}) {
      std::string name = "code" + std::to_string(c.code) + (columnB ? "b" : "a") + ".mov";
      SCOPED_TRACE(name);
      auto rate = static_cast<QRLVideoFrameRate>(c.code);
      {
        auto movie = editableCopy("pal.mov", name);
        bool ok = columnB ? utility_.addTimecodeTrackToMovie(movie.get(), rate, c.start, true, 12)
                          : service_.addTimecodeTrackToMovie(movie.get(), rate, c.start, true, 12);
        ASSERT_TRUE(ok);
        movie->updateMovieFile();
      }
      auto tags = probe(file(name), "stream_tags=timecode");
      EXPECT_EQ(tags["streams.stream.1.tags.timecode"], columnB ? c.ffprobeB : c.ffprobeA);
      EXPECT_EQ(mediainfoFirstTimecode(file(name)), columnB ? c.mediainfoB : c.mediainfoA);
      // The engine's own reader counts as the definition says and gets the start back.
      auto reopened = Movie::open(file(name));
      auto tracks = reopened->tracksOfMediaType(quicktime::kMediaTypeTimeCode);
      ASSERT_EQ(tracks.size(), 1u);
      EXPECT_EQ(
          QRLQuickTimeUtility32::timecodeStartTimeInQTTimecodeTrack({reopened.get(), tracks[0]}),
          c.start);
      auto definition = TimeCodeMediaHandler(*tracks[0]).timeCodeDefinition();
      ASSERT_TRUE(definition);
      EXPECT_EQ(*definition, columnB ? utility_.timecodeDefinitionFromVideoFrameRate(rate)
                                     : service_.timecodeDefinitionFromVideoFrameRate(rate));
    }
  }
}

TEST(TimecodeTrackWriter, DescriptionSampleAndStripBytes) {
  quicktime::TimeCodeDef pal{0, 2500, 100, 25, 0};
  const Bytes description = QRLTimecodeTrackWriter::timecodeDescription({1, 2997, 100, 30, 0});
  const Bytes expected = {0, 0, 0, 38, 't', 'm', 'c', 'd',  0,    0, 0, 0, 0,   0,  0, 0, 0, 0, 0,
                          0, 0, 0, 0,  1,   0,   0,   0x0B, 0xB5, 0, 0, 0, 100, 30, 0, 0, 0, 0, 0};
  EXPECT_EQ(description, expected);

  struct SampleCase {
    quicktime::TimeCodeRecord record;
    std::array<uint8_t, 4> bytes;
  };
  const SampleCase samples[] = {
      {{0, 0, 0, 0}, {0, 0, 0, 0}},
      {{1, 0, 0, 0}, {0x00, 0x01, 0x5F, 0x90}},  // frame 90000
      {{23, 59, 59, 24}, {0x00, 0x20, 0xF5, 0x7F}},
      {{1, 0, 0, 25}, {0, 0, 0, 0}},  // no frame 25 at 25 a second: 0
  };
  for (const auto& c : samples)
    EXPECT_EQ(QRLTimecodeTrackWriter::frameNumberSample(pal, c.record), c.bytes);

  EXPECT_EQ(QRLTimecodeTrackWriter::stripHeightForFontSize(12), 29 * 65536);
  EXPECT_EQ(QRLTimecodeTrackWriter::stripHeightForFontSize(25), 45 * 65536 + 16384);
  EXPECT_EQ(QRLTimecodeTrackWriter::stripHeightForFontSize(30000), INT32_MAX);
  EXPECT_EQ(QRLTimecodeTrackWriter::fixedFromPixels(32768.0), INT32_MAX);
  EXPECT_EQ(QRLTimecodeTrackWriter::fixedFromPixels(-40000.0), INT32_MIN);
}

TEST_F(TimecodeWriting, TrackHoldsTheDescriptionSampleGeometryAndReference) {
  for (bool include : {true, false}) {
    SCOPED_TRACE(include);
    std::string name = include ? "shown.mov" : "hidden.mov";
    const auto rate = static_cast<QRLVideoFrameRate>(2);
    {
      auto movie = editableCopy("pal.mov", name);
      ASSERT_TRUE(service_.addTimecodeTrackToMovie(movie.get(), rate, "01:00:00:00", include, 12));
      // The frame walk ran and went back to the beginning.
      EXPECT_EQ(movie->currentTime(), Time::make(0, 1));
      movie->updateMovieFile();
    }
    auto movie = Movie::open(file(name));
    ASSERT_EQ(movie->trackCount(), 2u);
    quicktime::Track& video = movie->track(1);
    quicktime::Track& tc = movie->track(2);
    EXPECT_EQ(tc.mediaType(), quicktime::kMediaTypeTimeCode);
    EXPECT_EQ(descriptionEntry(tc), QRLTimecodeTrackWriter::timecodeDescription(
                                        service_.timecodeDefinitionFromVideoFrameRate(rate)));
    EXPECT_EQ(tc.media().readSample(0), (Bytes{0x00, 0x01, 0x5F, 0x90}));
    EXPECT_EQ(tc.media().timeScale(), movie->duration().scale);
    EXPECT_EQ(tc.duration(), movie->duration());
    // A 64 x 36 picture: the 29-pixel strip sits right under it.
    EXPECT_EQ(tc.bounds(), (quicktime::Rect{0, 36, 64, 29}));
    EXPECT_EQ(tc.volume(), 0);
    EXPECT_TRUE(tc.isEnabled());
    TimeCodeMediaHandler handler(tc);
    EXPECT_EQ(handler.timeCodeFlags(), include ? TimeCodeMediaHandler::kShowTimeCode : 0);
    EXPECT_EQ(handler.displayOptions().txFont, 21);
    EXPECT_EQ(handler.displayOptions().txFace, 1);
    EXPECT_EQ(handler.displayOptions().txSize, 12);
    EXPECT_EQ(video.references(quicktime::kMediaTypeTimeCode), std::vector<uint32_t>{tc.trackID()});
  }
}

TEST_F(TimecodeWriting, RateFormUsesMovieRateDefinitions) {
  process::CapturingLog log;
  auto movie = editableCopy("pal.mov", "rate.mov");
  // 110 is written with time scale 2997, and 112 is outside this lookup.
  QRLQuickTimeUtility32::insertTimeCodeTrackIntoMovie(movie.get(), QRLMovieRate30, "00:00:01:00",
                                                      false, 20);
  QRLQuickTimeUtility32::insertTimeCodeTrackIntoMovie(movie.get(), QRLMovieRate2398, "00:00:01;00",
                                                      true, 20);
  auto tracks = movie->tracksOfMediaType(quicktime::kMediaTypeTimeCode);
  ASSERT_EQ(tracks.size(), 2u);
  EXPECT_EQ(TimeCodeMediaHandler(*tracks[0]).timeCodeDefinition(),
            (quicktime::TimeCodeDef{0, 2997, 100, 30, 0}));
  EXPECT_EQ(TimeCodeMediaHandler(*tracks[1]).timeCodeDefinition(),
            (quicktime::TimeCodeDef{1, 2997, 100, 30, 0}));
  EXPECT_EQ(tracks[0]->media().readSample(0), (Bytes{0, 0, 0, 30}));
  EXPECT_EQ(tracks[1]->dimensions().height, 39.0);
  EXPECT_EQ(TimeCodeMediaHandler(*tracks[0]).timeCodeFlags(), 0);
  EXPECT_EQ(TimeCodeMediaHandler(*tracks[1]).timeCodeFlags(), 1);
  EXPECT_TRUE(log.messages().empty());
}

TEST_F(TimecodeWriting, NilMoviesAndRefusedStepsAnswerEachInTheirOwnWay) {
  process::CapturingLog log;
  EXPECT_FALSE(service_.addTimecodeTrackToMovie(nullptr, kPal, "01:00:00:00", true, 12));
  EXPECT_FALSE(utility_.addTimecodeTrackToMovie(nullptr, kPal, "01:00:00:00", true, 12));
  QRLQuickTimeUtility32::insertTimecodeSegmentsIntoMovie(
      nullptr, 12, {QTTimecodeDescription::timecodeDescriptionForTimecode("01:00:00:00", 102, {})});
  EXPECT_TRUE(log.messages().empty());
  QRLQuickTimeUtility32::insertTimeCodeTrackIntoMovie(nullptr, QRLMovieRate25, "01:00:00:00", true,
                                                      12);
  EXPECT_EQ(log.messages(), std::vector<std::string>{"Insertion of the time code failed"});

  // A movie opened read-only refuses the new track; nothing is added.
  log.clear();
  auto readOnly = Movie::open(file("pal.mov"));
  EXPECT_FALSE(service_.addTimecodeTrackToMovie(readOnly.get(), kPal, "01:00:00:00", true, 12));
  QRLQuickTimeUtility32::insertTimeCodeTrackIntoMovie(readOnly.get(), QRLMovieRate25, "01:00:00:00",
                                                      true, 12);
  QRLQuickTimeUtility32::insertTimecodeSegmentsIntoMovie(
      readOnly.get(), 12,
      {QTTimecodeDescription::timecodeDescriptionForTimecode("01:00:00:00", 102,
                                                             Duration::make(1, 1))});
  EXPECT_EQ(readOnly->trackCount(), 1u);
  EXPECT_EQ(log.messages(), std::vector<std::string>(2, kTrackProblem));

  // Without a video track the reference cannot be made: the track stays,
  // unreferenced, and the failure is logged.
  log.clear();
  auto sound = editableCopy("sound.mov", "sound-tc.mov");
  EXPECT_FALSE(utility_.addTimecodeTrackToMovie(sound.get(), kPal, "01:00:00:00", true, 12));
  EXPECT_EQ(log.messages(), std::vector<std::string>{kTrackProblem});
  EXPECT_EQ(sound->tracksOfMediaType(quicktime::kMediaTypeTimeCode).size(), 1u);

  // An empty segment list adds nothing.
  auto empty = editableCopy("pal.mov", "no-segments.mov");
  QRLQuickTimeUtility32::insertTimecodeSegmentsIntoMovie(empty.get(), 12, {});
  EXPECT_EQ(empty->trackCount(), 1u);
  EXPECT_FALSE(empty->hasChanges());
}

}  // namespace
}  // namespace qrl
