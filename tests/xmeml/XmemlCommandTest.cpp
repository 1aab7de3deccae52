// Runs the built `qrl xmeml` on ffmpeg-made clips and checks the documents it writes.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <string>
#include <vector>

#include "tests/xmeml/ClipFixtures.h"

namespace qrl {
namespace {

using testing::Clips;
using testing::readText;
using testing::TempDirectory;

int qrlXmeml(const std::vector<std::string>& args, std::string* output = nullptr) {
  std::string command = std::string(QRL_PROGRAM) + " xmeml";
  for (const auto& a : args)
    command += " " + testing::quoted(std::filesystem::path(a));
  return testing::runCommand(command, output);
}

int exitStatus(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(XmemlCommandTest, OptionsApplyToTheNextClipAndTheTimecodeTrackFillsTheRest) {
  TempDirectory out;
  auto doc = out / "edit list.xml";
  std::string output;
  int status =
      qrlXmeml({doc.string(), "--timecode", "10:00:00:00", "--rate", "pal",
                Clips::shared().twoVideoStereo().string(),
                Clips::shared().withTimecodeTrack().string(), Clips::shared().silent().string()},
               &output);
  ASSERT_EQ(exitStatus(status), 0) << output;
  EXPECT_NE(output.find("(3 clips)"), std::string::npos) << output;
  testing::expectWellFormed(doc);
  std::string text = readText(doc);
  // First clip: given timecode and rate.
  EXPECT_NE(text.find("<string>10:00:00:00</string>\n\t\t\t\t<frame>900000</frame>"),
            std::string::npos);
  // Second: timecode and 29.97 drop-frame rate read from its own timecode track.
  EXPECT_NE(text.find("<string>01:00:00;00</string>"), std::string::npos) << text;
  EXPECT_NE(text.find("<displayformat>DF</displayformat>"), std::string::npos);
  // Third: no timecode track, so no timecode; its 25 fps video gives the rate.
  size_t silent = text.find("<clip id=\"silent\">");
  ASSERT_NE(silent, std::string::npos);
  EXPECT_EQ(text.find("<timecode>", silent), std::string::npos);
  EXPECT_NE(text.find("<timebase>25</timebase>", silent), std::string::npos);
}

TEST(XmemlCommandTest, IgnoreTimecodeDropsEveryTimecode) {
  TempDirectory out;
  auto doc = out / "a.xml";
  ASSERT_EQ(exitStatus(qrlXmeml({doc.string(), "--ignore-timecode", "--timecode", "01:00:00:00",
                                 Clips::shared().mono().string(),
                                 Clips::shared().withTimecodeTrack().string()})),
            0);
  std::string text = readText(doc);
  EXPECT_EQ(text.find("<timecode>"), std::string::npos) << text;
  EXPECT_EQ(text.find("<in>1"), std::string::npos) << text;
}

TEST(XmemlCommandTest, BadInputWritesNothing) {
  TempDirectory out;
  auto doc = out / "never.xml";
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string message;
  };
  const std::string clip = Clips::shared().silent().string();
  const std::vector<Case> cases = {
      {{doc.string()}, 2, "at least one CLIP"},
      {{}, 2, "expected OUT.xml"},
      {{doc.string(), "--rate", "31", clip}, 2, "not a rate name"},
      {{doc.string(), "--timecode", "1:00", clip}, 2, "not a timecode"},
      {{doc.string(), clip, "--rate", "pal"}, 2, "before the clip"},
      {{doc.string(), "--bogus", clip}, 2, "unknown option"},
      {{doc.string(), clip, (out / "missing.mov").string()}, 1, "cannot read the movie"},
      {{(out / "no-folder" / "x.xml").string(), clip}, 1, "could not write"},
  };
  for (const Case& c : cases) {
    std::string output;
    EXPECT_EQ(exitStatus(qrlXmeml(c.args, &output)), c.status) << output;
    EXPECT_NE(output.find(c.message), std::string::npos) << output;
    EXPECT_FALSE(std::filesystem::exists(doc));
  }
}

TEST(XmemlCommandTest, HelpDescribesTheArguments) {
  std::string output;
  EXPECT_EQ(exitStatus(qrlXmeml({"--help"}, &output)), 0);
  EXPECT_NE(output.find("usage: qrl xmeml OUT.xml"), std::string::npos) << output;
  EXPECT_NE(output.find("--ignore-timecode"), std::string::npos);
}

}  // namespace
}  // namespace qrl
