// Saving in place: every moment of a save leaves the old or the new movie,
// failures leave the old one, repeated saves stay readable, compaction.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include "platform/base/Exception.h"
#include "platform/quicktime/ChunkOffsetAtom.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/MovieCompactor.h"
#include "platform/quicktime/Track.h"
#include "tests/platform/quicktime/EditHelpers.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl::quicktime::testing {
namespace {

const TimeCodeDef kPal{0, 2500, 100, 25, 0};

std::vector<std::vector<uint8_t>> videoSamples(const Movie& movie) {
  std::vector<std::vector<uint8_t>> samples;
  const Media& media = movie.tracksOfMediaType(kMediaTypeVideo).front()->media();
  for (uint32_t i = 0; i < media.sampleTable().sampleCount(); ++i)
    samples.push_back(media.readSample(i));
  return samples;
}

// The edits every save test makes: a timecode track and an overlay track of
// two small images, so both new sample data and a new movie atom are written.
void edit(Movie& movie) {
  addTimeCodeTrack(movie, kPal, 90000, false);
  Track& overlay = movie.newTrack(8 << 16, 8 << 16, 0);
  movie.newTrackMedia(overlay, kMediaTypeVideo, movie.timeScale(), std::nullopt, fourCC("alis"));
  std::vector<uint8_t> image(300, 0xAB);
  overlay.addImage(image, fourCC("png "), Duration::make(1, 25));
  overlay.addImage(image, fourCC("png "), Duration::make(1, 25));
}

int ffprobeStreams(const std::filesystem::path& path) {
  int status = 0;
  std::string out = run("ffprobe -v error -show_entries format=nb_streams -of csv=p=0 '" +
                            path.string() + "' 2>/dev/null",
                        &status);
  return status == 0 ? std::atoi(out.c_str()) : -1;
}

TEST(Save, EveryMomentOfASaveLeavesTheOldOrTheNewMovie) {
  TempDir dir;
  auto path = makeMovie(dir, "crash.mov", "25", 25);
  const auto oldSamples = videoSamples(*Movie::open(path));
  std::vector<std::vector<uint8_t>> snapshots;
  {
    auto movie = Movie::open(path);
    movie->setEditable(true);
    // A copy of the file before every write of at most 100 bytes and every
    // sync: what a crash at that moment would leave.
    movie->setFaultHook([&](auto, uint64_t, size_t) { snapshots.push_back(readFile(path)); }, 100);
    edit(*movie);
    movie->updateMovieFile();
  }
  snapshots.push_back(readFile(path));
  ASSERT_GT(snapshots.size(), 20u);
  int oldCount = 0, newCount = 0;
  auto probePath = dir / "snapshot.mov";
  for (size_t i = 0; i < snapshots.size(); ++i) {
    SCOPED_TRACE("snapshot " + std::to_string(i));
    std::unique_ptr<Movie> movie;
    ASSERT_NO_THROW(movie = Movie::fromBytes(snapshots[i]));
    size_t tracks = movie->trackCount();
    EXPECT_TRUE(tracks == 1 || tracks == 3) << tracks;
    (tracks == 1 ? oldCount : newCount)++;
    EXPECT_TRUE(tracks == 3 || newCount == 0) << "the old movie came back after the new one";
    EXPECT_EQ(videoSamples(*movie), oldSamples);
    writeFile(probePath, snapshots[i]);
    EXPECT_EQ(ffprobeStreams(probePath), static_cast<int>(tracks));
  }
  EXPECT_GT(oldCount, 0);
  // Only the flip of the old movie atom, the last write, makes the new one current.
  EXPECT_EQ(newCount, 2);
  EXPECT_EQ(Movie::open(path)->trackCount(), 3u);
}

TEST(Save, AFailureAtAnyStepLeavesTheOldMovieAndARetrySucceeds) {
  TempDir dir;
  auto path = makeMovie(dir, "fail.mov", "25", 25);
  const auto original = readFile(path);
  const auto oldSamples = videoSamples(*Movie::open(path));
  for (int failAt = 0;; ++failAt) {
    SCOPED_TRACE("failing operation " + std::to_string(failAt));
    writeFile(path, original);
    auto movie = Movie::open(path);
    movie->setEditable(true);
    edit(*movie);
    int operations = 0;
    movie->setFaultHook(
        [&](auto, uint64_t, size_t) {
          if (operations++ == failAt)
            throw Exception::io("injected failure");
        },
        256);
    bool failed = false;
    try {
      movie->updateMovieFile();
    } catch (const Exception& e) {
      failed = true;
      EXPECT_STREQ(e.what(), "injected failure");
    }
    if (!failed)
      break;
    auto reopened = Movie::open(path);
    EXPECT_EQ(reopened->trackCount(), 1u);
    EXPECT_EQ(videoSamples(*reopened), oldSamples);
    EXPECT_EQ(ffprobeStreams(path), 1);
    // Nothing was lost: the same movie object saves once the fault is gone.
    movie->setFaultHook(nullptr);
    movie->updateMovieFile();
    EXPECT_EQ(Movie::open(path)->trackCount(), 3u);
    EXPECT_EQ(ffprobeStreams(path), 3);
    ASSERT_LT(failAt, 100) << "the save never finished";
  }
}

TEST(Save, RepeatedEditsStayReadableAndCompactionReclaimsTheSpace) {
  TempDir dir;
  auto path = makeMovie(dir, "cycles.mov", "25", 25);
  const auto oldSamples = videoSamples(*Movie::open(path));
  const uint64_t start = std::filesystem::file_size(path);
  uint64_t afterFirst = 0;
  for (int cycle = 0; cycle < 50; ++cycle) {
    auto movie = Movie::open(path);
    movie->setEditable(true);
    addTimeCodeTrack(*movie, kPal, 90000, true);
    movie->updateMovieFile();
    movie->removeTrack(*movie->tracksOfMediaType(kMediaTypeTimeCode).front());
    movie->updateMovieFile();
    if (cycle == 0)
      afterFirst = std::filesystem::file_size(path);
  }
  const uint64_t grown = std::filesystem::file_size(path);
  RecordProperty("bytes_before", std::to_string(start));
  RecordProperty("bytes_after_50_cycles", std::to_string(grown));
  std::cout << "file size: " << start << " bytes, after one cycle " << afterFirst
            << ", after 50 cycles " << grown << "\n";
  // Each cycle leaves two freed movie atoms and a 4-byte sample behind.
  EXPECT_LT(grown - start, 50 * (afterFirst - start) + 1024);
  auto movie = Movie::open(path);
  EXPECT_EQ(movie->trackCount(), 1u);
  EXPECT_EQ(videoSamples(*movie), oldSamples);
  EXPECT_EQ(ffprobeStreams(path), 1);
  auto packets = [&] {
    return run("ffmpeg -nostdin -v error -i '" + path.string() +
               "' -map 0:v -c copy -f framemd5 - | grep -v '^#'");
  };
  std::string before = packets();

  auto result = MovieCompactor::compact(path);
  EXPECT_EQ(result.sizeBefore, grown);
  EXPECT_EQ(result.sizeAfter, std::filesystem::file_size(path));
  EXPECT_LE(result.sizeAfter, start + 16);
  EXPECT_EQ(packets(), before);
  EXPECT_EQ(videoSamples(*Movie::open(path)), oldSamples);
  auto compacted = Movie::open(path);
  for (const auto& a : compacted->topLevelAtoms())
    EXPECT_NE(a.type, fourCC("free"));
}

TEST(Save, ChunkOffsetsPast4GiBBecome64Bit) {
  TempDir dir;
  auto path = makeMovie(dir, "big.mov", "25", 5);
  {
    // A sparse 4 GiB free atom at the end pushes new samples past 2^32.
    int fd = ::open(path.c_str(), O_RDWR);
    ASSERT_GE(fd, 0);
    off_t end = ::lseek(fd, 0, SEEK_END);
    std::vector<uint8_t> header;
    ByteWriter out(header);
    uint64_t size = (uint64_t{1} << 32) + 64;
    out.u32(1);
    out.u32(fourCC("free"));
    out.u64(size);
    ASSERT_EQ(::pwrite(fd, header.data(), header.size(), end), 16);
    ASSERT_EQ(::ftruncate(fd, end + static_cast<off_t>(size)), 0);
    ::close(fd);
  }
  {
    auto movie = Movie::open(path);
    movie->setEditable(true);
    addTimeCodeTrack(*movie, kPal, 25, false);
    movie->updateMovieFile();
  }
  auto movie = Movie::open(path);
  const Media& tc = movie->tracksOfMediaType(kMediaTypeTimeCode).front()->media();
  auto* stbl = tc.atom().container({fourCC("minf"), fourCC("stbl")});
  ASSERT_NE(stbl->childAs<ChunkOffsetAtom>(ChunkOffsetAtom::kType64), nullptr);
  EXPECT_GT(tc.sampleTable().sample(0).offset, uint64_t{1} << 32);
  EXPECT_EQ(tc.readSample(0), (std::vector<uint8_t>{0, 0, 0, 25}));
  auto probe = testing::probe(path, "stream_tags=timecode");
  EXPECT_EQ(probe["streams.stream.1.tags.timecode"], "00:00:01:00");
}

TEST(Save, EditingNeedsAnEditableMovieInAFile) {
  TempDir dir;
  auto path = makeMovie(dir, "ro.mov", "25", 5);
  auto movie = Movie::open(path);
  EXPECT_THROW(movie->newTrack(0, 0, 0), Exception);
  EXPECT_THROW(movie->track(1).setEnabled(false), Exception);
  EXPECT_THROW(movie->updateMovieFile(), Exception);
  auto inMemory = Movie::fromBytes(readFile(path));
  EXPECT_THROW(inMemory->setEditable(true), Exception);
  std::filesystem::permissions(path, std::filesystem::perms::owner_read);
  if (::geteuid() != 0) {
    EXPECT_THROW(movie->setEditable(true), Exception);
  }
}

}  // namespace
}  // namespace qrl::quicktime::testing
