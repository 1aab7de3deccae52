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

const std::string kTrackProblem =
    "Problem occured while trying to create a new track for the movie";

// The stored sample description entry of a track, as the file holds it.
[[maybe_unused]] Bytes descriptionEntry(const quicktime::Track& track) {
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

}  // namespace
}  // namespace qrl
