// Python's plistlib, which shares no code with us, reads the archives we write
// and writes archives for us to read.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/archive/KeyedArchiver.h"
#include "records/QRLQTTimecodeBurnAttributeWrapper.h"
#include "records/QRLQTTimecodeTrackAttributeWrapper.h"
#include "records/QRLRecordClasses.h"
#include "records/QRLTimecodeDetailsWrapper.h"
#include "timecode/QRLVideoFrameRate.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;
using archive::Color;

class PlistlibJudge : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() /
           ("qrl-plistlib-" + std::to_string(::getpid()) + "-" +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  int judge(const char* mode) {
    const char* src = std::getenv("QRL_SOURCE_DIR");
    std::string cmd = "python3 '" +
                      (fs::path(src ? src : ".") / "tests/records/plistlib_judge.py").string() +
                      "' " + mode + " '" + dir_.string() + "'";
    return std::system(cmd.c_str());
  }

  void write(const char* name, const archive::Object& record) {
    archive::Data d = archive::KeyedArchiver::archivedDataWithRootObject(&record);
    std::ofstream(dir_ / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(d.data()), static_cast<std::streamsize>(d.size()));
  }

  archive::Data read(const char* name) {
    std::ifstream in(dir_ / name, std::ios::binary);
    return archive::Data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  }

  fs::path dir_;
};

TEST_F(PlistlibJudge, ReadsOurArchives) {
  QRLQTTimecodeAttributeWrapper base;
  write("base.archive", base);
  QRLQTTimecodeBurnAttributeWrapper burn;
  burn.setFrameRate(QRLVideoFrameRate29_97);
  burn.setFontColor(Color::calibratedRGB(1, 0.5f, 0.25f, 0.75f));
  burn.setBurnOrigin(Point{12.5f, 40});
  write("burn.archive", burn);
  burn.setLetterboxBackgroundColor(Color::calibratedRGB(0, 0, 0, 1));
  write("burn-letterbox.archive", burn);
  QRLQTTimecodeTrackAttributeWrapper track;
  write("track.archive", track);
  QRLTimecodeDetailsWrapper details;
  write("details-empty.archive", details);
  details.setSourceFilePath("/media/clip 1.mov");
  details.setStartTimecode("01:00:00;00");
  write("details.archive", details);
  EXPECT_EQ(judge("check"), 0);
}

TEST_F(PlistlibJudge, ArchivesItComposesDecode) {
  ASSERT_EQ(judge("compose"), 0);
  auto burn = unarchiveRecord<QRLQTTimecodeBurnAttributeWrapper>(read("burn.archive"));
  ASSERT_TRUE(burn);
  EXPECT_EQ(burn->startTimecode(), "10:00:00:00");
  EXPECT_EQ(burn->frameRate(), QRLVideoFrameRatePAL);
  EXPECT_EQ(burn->fontSize(), 24);
  EXPECT_EQ(burn->fontColor(), Color::deviceRGB(1, 0, 0.5f, 1));
  EXPECT_EQ(burn->letterboxBackgroundColor(), Color::calibratedRGB(0, 0, 0, 0.5f));
  EXPECT_EQ(burn->burnOrigin(), (Point{320, 16.5f}));

  auto track = unarchiveRecord<QRLQTTimecodeTrackAttributeWrapper>(read("track.archive"));
  ASSERT_TRUE(track);
  EXPECT_FALSE(track->showTimecode());
  EXPECT_EQ(track->startTimecode(), "00:59:59;28");
  EXPECT_EQ(track->frameRate(), QRLVideoFrameRate29_97);
  EXPECT_EQ(track->fontSize(), 18);

  auto details = unarchiveRecord<QRLTimecodeDetailsWrapper>(read("details.archive"));
  ASSERT_TRUE(details);
  EXPECT_EQ(details->sourceFilePath(), "/Volumes/Media/A001.mov");
  EXPECT_EQ(details->startTimecode(), "01:02:03:04");
  EXPECT_EQ(details->frameRate(), QRLVideoFrameRate25p);

  auto foreign =
      unarchiveRecord<QRLTimecodeDetailsWrapper>(read("details-dictionary-keys.archive"));
  ASSERT_TRUE(foreign);
  EXPECT_EQ(*foreign, QRLTimecodeDetailsWrapper());
}

}  // namespace
}  // namespace qrl
