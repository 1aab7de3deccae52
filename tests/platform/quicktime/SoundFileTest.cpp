#include <gtest/gtest.h>

#include "platform/base/Exception.h"
#include "platform/quicktime/ByteSource.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/DataReferenceAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/SoundFileImporter.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl::quicktime {
namespace {

using testing::TempDir;

class SoundFiles : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    struct {
      const char* name;
      const char* codec;
      int rate;
    } files[] = {{"s16.wav", "pcm_s16le", 48000},
                 {"s24.wav", "pcm_s24le", 96000},
                 {"s16.aiff", "pcm_s16be", 44100},
                 {"u8.wav", "pcm_u8", 8000}};
    for (const auto& f : files) {
      std::string command =
          "ffmpeg -nostdin -v error -y -f lavfi -i sine=frequency=440:sample_rate=" +
          std::to_string(f.rate) + ":duration=0.5 -ac 2 -c:a " + f.codec + " '" +
          (*dir_ / f.name).string() + "'";
      int status = 0;
      testing::run(command, &status);
      ASSERT_EQ(status, 0) << command;
    }
  }
  static void TearDownTestSuite() { delete dir_; }
  static TempDir* dir_;
};
TempDir* SoundFiles::dir_ = nullptr;

TEST_F(SoundFiles, OpenAsOneSoundTrackOverTheFilesOwnSamples) {
  struct Case {
    const char* name;
    int rate;
    int bits;
    const char* format;
  } cases[] = {{"s16.wav", 48000, 16, "sowt"},
               {"s24.wav", 96000, 24, "lpcm"},
               {"s16.aiff", 44100, 16, "twos"},
               {"u8.wav", 8000, 8, "raw "}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto path = *dir_ / c.name;
    auto probed = testing::probe(path, "stream=duration_ts:format=duration");
    auto movie = Movie::open(path);
    ASSERT_EQ(movie->trackCount(), 1u);
    const Track& track = movie->track(1);
    EXPECT_EQ(track.mediaType(), kMediaTypeSound);
    EXPECT_EQ(track.volume(), 0x100);
    const Media& media = track.media();
    EXPECT_EQ(media.timeScale(), c.rate);
    EXPECT_EQ(movie->duration(), Duration::make(c.rate / 2, c.rate));
    EXPECT_EQ(media.sampleTable().sampleCount(), static_cast<uint32_t>(c.rate / 2));
    const auto& sound = *media.sampleDescriptions().at(0).sound;
    EXPECT_EQ(fourCCString(media.sampleDescriptions()[0].dataFormat), c.format);
    EXPECT_EQ(sound.channels, 2u);
    EXPECT_EQ(sound.sampleSize, static_cast<uint32_t>(c.bits));
    EXPECT_DOUBLE_EQ(sound.sampleRate, c.rate);
    // The last sample frame is the last bytes of the file's sound data.
    auto bytes = testing::readFile(path);
    uint32_t last = media.sampleTable().sampleCount() - 1;
    Sample s = media.sampleTable().sample(last);
    EXPECT_EQ(s.size, static_cast<uint32_t>(2 * c.bits / 8));
    EXPECT_LE(s.offset + s.size, bytes.size());
    auto data = media.readSample(last);
    EXPECT_TRUE(std::equal(data.begin(), data.end(), bytes.begin() + static_cast<long>(s.offset)));
    // Stepping a movie without video goes straight to its end.
    movie->stepForward();
    EXPECT_EQ(movie->currentTime(), Time::zeroPlus(movie->duration()));
  }
}

// A movie whose sound track refers by alias to a WAV file beside it reads
// the WAV's bytes.
TEST_F(SoundFiles, ExternalAliasReferenceReadsTheOtherFile) {
  auto wav = *dir_ / "s16.wav";
  auto source = ByteSource::openFile(wav);
  auto moov = SoundFileImporter::import(*source);
  ASSERT_TRUE(moov);
  auto* dinf = moov->container({fourCC("trak"), fourCC("mdia"), fourCC("minf"), fourCC("dinf")});
  ASSERT_NE(dinf, nullptr);
  dinf->removeChild(dinf->child(DataReferenceAtom::kType));
  // An alias record: file name at 50, levels 1/1 at 130, a POSIX path (tag 18).
  std::vector<uint8_t> alias(150, 0);
  std::string name = "s16.wav";
  alias[50] = static_cast<uint8_t>(name.size());
  std::copy(name.begin(), name.end(), alias.begin() + 51);
  alias[131] = 1;
  alias[133] = 1;
  std::string posix = "/elsewhere/s16.wav";
  alias.insert(alias.end(), {0, 18, 0, static_cast<uint8_t>(posix.size())});
  alias.insert(alias.end(), posix.begin(), posix.end());
  alias.insert(alias.end(), {0xFF, 0xFF, 0, 0});
  auto dref = std::make_unique<DataReferenceAtom>();
  dref->addEntry({fourCC("alis"), 0, alias});
  dinf->addChild(std::move(dref));

  std::vector<uint8_t> file;
  ByteWriter out(file);
  moov->write(out);
  auto moviePath = *dir_ / "refers.mov";
  testing::writeFile(moviePath, file);

  auto movie = Movie::open(moviePath);
  const Media& media = movie->track(1).media();
  ASSERT_EQ(media.dataReferences().size(), 1u);
  EXPECT_FALSE(media.dataReferences()[0].isSelfReference);
  EXPECT_EQ(media.dataReferences()[0].path, *dir_ / "s16.wav");
  auto wavBytes = testing::readFile(wav);
  Sample s = media.sampleTable().sample(100);
  auto data = media.readSample(100);
  EXPECT_TRUE(std::equal(data.begin(), data.end(), wavBytes.begin() + static_cast<long>(s.offset)));
}

TEST_F(SoundFiles, DamagedSoundFilesAreClearErrors) {
  auto bytes = testing::readFile(*dir_ / "s16.wav");
  std::vector<uint8_t> header(bytes.begin(), bytes.begin() + 20);
  EXPECT_THROW(Movie::fromBytes(header), Exception);
  std::vector<uint8_t> adpcm = bytes;
  adpcm[20] = 2;  // format tag 2: MS ADPCM
  EXPECT_THROW(Movie::fromBytes(adpcm), Exception);
}

}  // namespace
}  // namespace qrl::quicktime
