// Runs the built qrl program and checks its output and exit status.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/apps/QrlRunner.h"

namespace {

using apps_testing::Outcome;
using apps_testing::qrl;
using apps_testing::slurp;

TEST(QrlProgram, HelpListsEveryCommand) {
  Outcome run = qrl({"--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("timecode"), std::string::npos);
  EXPECT_NE(run.out.find("demo"), std::string::npos);
  for (const char* command : {"timecode", "demo"}) {
    Outcome help = qrl({command, "--help"});
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_NE(help.out.find("usage: qrl " + std::string(command)), std::string::npos) << command;
  }
  EXPECT_EQ(qrl({}).status, 2);
  Outcome unknown = qrl({"frobnicate"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_NE(unknown.err.find("unknown command 'frobnicate'"), std::string::npos);
}

TEST(QrlProgram, TimecodeSubcommandsAnswerOnStandardOutput) {
  struct Row {
    std::vector<std::string> args;
    std::string out;
  } rows[] = {
      {{"timecode", "from-frames", "17982", "--rate", "29.97", "--drop"}, "00:10:00;00\n"},
      {{"timecode", "from-frames", "17982", "--rate=30"}, "00:09:59:12\n"},
      {{"timecode", "from-frames", "100", "--rate", "PAL"}, "00:00:04:00\n"},
      {{"timecode", "to-frames", "00:10:00;00", "--rate", "30"}, "17982\n"},
      {{"timecode", "to-frames", "00:10:00;00", "--rate", "29.97"}, "17964\n"},
      {{"timecode", "to-frames", "01:00:00:00", "--rate", "25p"}, "90000\n"},
      {{"timecode", "validate", "01:02:03;04"}, "01:02:03;04: valid, drop-frame\n"},
      {{"timecode", "validate", "99:99:99:99"}, "99:99:99:99: valid, non-drop-frame\n"},
      {{"timecode", "reverse", "01:02:03;04"}, "04;03:02:01\n"},
      {{"timecode", "series", "--start", "00:00:59;29", "--count", "3", "--rate", "29.97"},
       "00:00:59;29\n00:00:60;00\n00:00:60;01\n"},
      {{"timecode", "series", "--start", "00:00:00:00", "--count", "0", "--rate", "30"}, ""},
  };
  for (const auto& row : rows) {
    Outcome run = qrl(row.args);
    EXPECT_EQ(run.status, 0) << row.args[1] << " " << row.args[2] << "\n" << run.err;
    EXPECT_EQ(run.out, row.out) << row.args[1] << " " << row.args[2];
    EXPECT_EQ(run.err, "");
  }
}

TEST(QrlProgram, BadInputIsRefusedWithAReason) {
  struct Row {
    std::vector<std::string> args;
    int status;
    std::string message;
  } rows[] = {
      {{"timecode", "validate", "1:02:03:04"}, 1, "'1:02:03:04' is not a timecode"},
      {{"timecode", "reverse", "1:2:3:4"}, 1, "does not hold four pairs"},
      {{"timecode", "from-frames", "10", "--rate", "48"},
       1,
       "no frame-rate code matches the rate 48"},
      {{"timecode", "from-frames", "10", "--rate", "fast"}, 1, "'fast' is not a frame rate"},
      {{"timecode", "from-frames", "10", "--rate", "-30"}, 1, "'-30' is not a frame rate"},
      {{"timecode", "from-frames", "ten", "--rate", "30"}, 2, "must be a whole number"},
      {{"timecode", "from-frames", "99999999999", "--rate", "30"}, 2, "must be a whole number"},
      {{"timecode", "from-frames", "10"}, 2, "--rate is required"},
      {{"timecode", "from-frames", "10", "--rate"}, 2, "--rate needs a value"},
      {{"timecode", "from-frames", "10", "--rate", "30", "--speed", "2"},
       2,
       "unknown option --speed"},
      {{"timecode", "to-frames", "00:10:00", "--rate", "30"}, 1, "is not a timecode"},
      {{"timecode", "series", "--start", "00:00:00:00", "--count", "-1", "--rate", "30"},
       2,
       "--count must be between 0 and 1000000"},
      {{"timecode", "series", "--start", "junk", "--count", "3", "--rate", "30"},
       1,
       "'junk' is not a timecode"},
      {{"timecode", "series", "--count", "3", "--rate", "30"},
       2,
       "--start and --count are required"},
      {{"timecode", "wobble"}, 2, "unknown subcommand 'wobble'"},
      {{"demo", "extra"}, 2, "unexpected argument 'extra'"},
  };
  for (const auto& row : rows) {
    Outcome run = qrl(row.args);
    EXPECT_EQ(run.status, row.status) << row.message;
    EXPECT_NE(run.err.find(row.message), std::string::npos) << "stderr was: " << run.err;
    EXPECT_EQ(run.out, "") << row.message;
  }
}

}  // namespace

// qrl call starts a real conduit for each call; a private runtime directory keeps these
// conduits apart from any others on the machine.
class QrlCallTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/qrl-call-test-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    root_ = pattern;
    setenv("QRL_RUNTIME_DIR", (root_ + "/run").c_str(), 1);
    setenv("QRL_WATCH_INTERVAL_MS", "200", 1);
  }
  void TearDown() override {
    unsetenv("QRL_RUNTIME_DIR");
    unsetenv("QRL_WATCH_INTERVAL_MS");
    std::system(("rm -rf '" + root_ + "'").c_str());
  }
  std::string root_;
};

TEST_F(QrlCallTest, ArgumentsAreConvertedByTheSignatureAndResultsPrinted) {
  Outcome locked = qrl({"call", "communicationLocked"});
  EXPECT_EQ(locked.status, 0) << locked.err;
  EXPECT_EQ(locked.out, "false\n");

  std::string xml = root_ + "/empty doc.xml";
  std::string paths = "[\"" + xml + "\"]";
  Outcome save =
      qrl({"call", "saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode:", paths, "[]",
           "NO"});
  EXPECT_EQ(save.status, 0) << save.err;
  EXPECT_EQ(save.out, "true\n");
  EXPECT_NE(slurp(xml).find("<xmeml"), std::string::npos);

  Outcome nothing = qrl({"call", "lockCommunication"});
  EXPECT_EQ(nothing.status, 0) << nothing.err;
  EXPECT_EQ(nothing.out, "") << "a method without a result prints nothing";
}

TEST_F(QrlCallTest, BadCallsExplainThemselves) {
  struct Row {
    std::vector<std::string> args;
    int status;
    std::string message;
  } rows[] = {
      {{"call"}, 2, "a selector is required"},
      {{"call", "noSuchMethod:"}, 1, "does not know the selector 'noSuchMethod:'"},
      {{"call", "setParentProcessId:"}, 2, "takes 1 arguments, 0 given"},
      {{"call", "setParentProcessId:", "twelve"}, 2, "argument 1"},
      {{"call", "saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode:", "[]", "[]",
        "maybe"},
       2,
       "not a truth value"},
      {{"call", "--name", "nobody-here", "communicationLocked"}, 1, "no conduit serves"},
      {{"call", "saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode:", "\"x\"", "[]",
        "false"},
       1,
       "paths must be an array"},
  };
  for (const auto& row : rows) {
    Outcome run = qrl(row.args);
    EXPECT_EQ(run.status, row.status) << row.args.back() << "\n" << run.err;
    EXPECT_NE(run.err.find(row.message), std::string::npos) << row.args.back() << ": " << run.err;
  }
}

TEST_F(QrlCallTest, TheMainJobMakesAMovieAndHasAConduitWriteItsEditList) {
  Outcome run = qrl({"demo", "--out", root_ + "/demo"});
  ASSERT_EQ(run.status, 0) << run.err;
  for (const char* step : {"1. Sample movie", "2. A conduit adds", "added, starting at 01:00:00;00",
                           "tmcd", "4. The conduit writes", "5. The timecode"}) {
    EXPECT_NE(run.out.find(step), std::string::npos) << step;
  }
  // The engine's tour shows the minute boundary at 29.97 and its deliberate counts.
  EXPECT_NE(run.out.find("00:00:59;29 00:01:00;00"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("00:00:60;00"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("17964"), std::string::npos) << run.out;
  std::string xml = slurp(root_ + "/demo/sample.xml");
  EXPECT_NE(xml.find("<string>01:00:00;00</string>"), std::string::npos) << xml;
  EXPECT_NE(xml.find("<pathurl>file://" + root_ + "/demo/sample.mov</pathurl>"), std::string::npos);
  EXPECT_EQ(std::system(("xmllint --noout '" + root_ + "/demo/sample.xml'").c_str()), 0);
}

TEST_F(QrlCallTest, CompactTakesBackTheSpaceAnInPlaceEditLeft) {
  std::string movie = root_ + "/clip.mov";
  ASSERT_EQ(std::system(("ffmpeg -nostdin -loglevel error -f lavfi -i "
                         "testsrc2=size=64x36:rate=25:duration=1 -c:v mjpeg '" +
                         movie + "'")
                            .c_str()),
            0);
  Outcome added = qrl({"call",
                       "addTimecodeTrackToMovie:videoFrameRate:beginningTimecode:includeTimeCode:"
                       "fontSize:",
                       movie, "2", "01:00:00:00", "true", "12"});
  ASSERT_EQ(added.status, 0) << added.err;
  EXPECT_EQ(added.out, "true\n");

  Outcome compacted = qrl({"compact", movie});
  ASSERT_EQ(compacted.status, 0) << compacted.err;
  long before = 0, after = 0;
  ASSERT_EQ(std::sscanf(compacted.out.c_str() + movie.size(), ": %ld bytes before, %ld bytes after",
                        &before, &after),
            2)
      << compacted.out;
  EXPECT_LT(after, before) << "the replaced movie header should have been dropped";
  std::string probe = root_ + "/probe.txt";
  ASSERT_EQ(std::system(("ffprobe -v error -show_entries stream_tags=timecode -of csv=p=0 '" +
                         movie + "' > '" + probe + "'")
                            .c_str()),
            0);
  EXPECT_NE(slurp(probe).find("01:00:00:00"), std::string::npos) << slurp(probe);

  EXPECT_EQ(qrl({"compact", root_ + "/missing.mov"}).status, 1);
  EXPECT_EQ(qrl({"compact"}).status, 2);
}

namespace {

// ffprobe's answer about a file, one "key=value" per line.
std::string probeStreams(const std::string& movie, const std::string& scratch) {
  std::string out = scratch + "/probe.txt";
  std::system(("ffprobe -v error -show_entries stream=codec_type,codec_tag_string -of compact '" +
               movie + "' > '" + out + "'")
                  .c_str());
  return slurp(out);
}

std::string tinyMovie(const std::string& folder, const std::string& name) {
  std::string movie = folder + "/" + name;
  EXPECT_EQ(std::system(("ffmpeg -nostdin -loglevel error -f lavfi -i "
                         "testsrc2=size=96x54:rate=25:duration=1 -c:v mpeg4 '" +
                         movie + "'")
                            .c_str()),
            0);
  return movie;
}

}  // namespace

TEST_F(QrlCallTest, OverlayCommandsAddTheirTracksAndReportProgress) {
  std::string movie = tinyMovie(root_, "burn.mov");
  Outcome burnt =
      qrl({"burn-timecode", movie, "--start", "01:00:00:00", "--rate", "pal", "--font-size", "12",
           "--color", "255,255,0", "--background", "0,0,0,128", "--at", "4,4"});
  ASSERT_EQ(burnt.status, 0) << burnt.err;
  EXPECT_NE(burnt.out.find("burnt into 25 frames"), std::string::npos) << burnt.out;
  // Standard error is a file here, so progress comes as plain lines.
  EXPECT_NE(burnt.err.find("burning: 0%\n"), std::string::npos) << burnt.err;
  EXPECT_NE(burnt.err.find("burning: 100%\n"), std::string::npos) << burnt.err;
  std::string streams = probeStreams(movie, root_);
  EXPECT_NE(streams.find("codec_tag_string=tmcd"), std::string::npos) << streams;
  EXPECT_NE(streams.find("codec_type=video|codec_tag_string=tiff"), std::string::npos) << streams;

  std::string png = root_ + "/mark.png";
  ASSERT_EQ(std::system(("ffmpeg -nostdin -loglevel error -f lavfi -i color=c=red:s=8x6 "
                         "-frames:v 1 '" +
                         png + "'")
                            .c_str()),
            0);
  std::string marked = tinyMovie(root_, "mark.mov");
  Outcome mark = qrl({"watermark", marked, png, "--at", "2,3", "--size", "16,12"});
  EXPECT_EQ(mark.status, 0) << mark.err;
  Outcome text = qrl({"text", marked, "hello", "--rate", "25"});
  EXPECT_EQ(text.status, 2) << "text has no rate option";
  text = qrl({"text", marked, "hello", "--font-size", "10", "--color", "0,255,0,255"});
  EXPECT_EQ(text.status, 0) << text.err;
  streams = probeStreams(marked, root_);
  size_t tiffs = 0;
  for (size_t at = streams.find("tiff"); at != std::string::npos; at = streams.find("tiff", at + 1))
    ++tiffs;
  EXPECT_EQ(tiffs, 2u) << streams;
}

TEST_F(QrlCallTest, OverlayCommandsRefuseBadInputAndLeaveTheMovieAsItWas) {
  std::string movie = tinyMovie(root_, "m.mov");
  std::string original = slurp(movie);
  std::string junk = root_ + "/junk.png";
  std::system(("echo nonsense > '" + junk + "'").c_str());
  struct Row {
    std::vector<std::string> args;
    int status;
    std::string message;
  } rows[] = {
      {{"burn-timecode", movie, "--rate", "25"}, 2, "--start and --rate are required"},
      {{"burn-timecode", movie, "--start", "01:00:00:00", "--rate", "31"}, 2, "unknown rate '31'"},
      {{"burn-timecode", movie, "--start", "01:00:00:00", "--rate", "x9"}, 2, "unknown rate"},
      {{"burn-timecode", movie, "--start", "01:00:00:00", "--rate", "25", "--font-size", "0"},
       2,
       "--font-size wants"},
      {{"burn-timecode", movie, "--start", "01:00:00:00", "--rate", "25", "--color", "1,2"},
       2,
       "--color wants"},
      {{"burn-timecode", movie, "--start", "01:00:00:00", "--rate", "25", "--at", "-1,3"},
       2,
       "--at wants"},
      {{"burn-timecode", movie, "--start", "01:00", "--rate", "25"}, 1, "is not HH:MM:SS:FF"},
      {{"burn-timecode", movie, "--start", "01:00:00:00", "--rate", "25", "--at", "500,0"},
       1,
       "outside the 96 x 54"},
      {{"burn-timecode", root_ + "/absent.mov", "--start", "01:00:00:00", "--rate", "25"},
       1,
       "not opened as a movie"},
      {{"watermark", movie, junk}, 2, "--at is required"},
      {{"watermark", movie, junk, "--at", "0,0", "--size", "0,4"}, 2, "--size wants"},
      {{"watermark", movie, root_ + "/none.png", "--at", "0,0"}, 1, "cannot be read"},
      {{"watermark", movie, junk, "--at", "0,0"}, 1, "nothing was saved"},
      {{"text", movie}, 2, "expected MOVIE and TEXT"},
      {{"text", junk, "hi"}, 1, "not opened as a movie"},
  };
  for (const auto& row : rows) {
    Outcome run = qrl(row.args);
    EXPECT_EQ(run.status, row.status) << row.message << "\n" << run.err;
    EXPECT_NE(run.err.find(row.message), std::string::npos) << row.message << ": " << run.err;
  }
  EXPECT_EQ(slurp(movie), original);
  for (const char* command : {"burn-timecode", "watermark", "text"}) {
    Outcome help = qrl({command, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind(std::string("usage: qrl ") + command, 0), 0u) << help.out;
  }
}

namespace {

// A picture file or a movie's frame as ffmpeg decodes it, straight RGBA bytes.
std::string rgbaOf(const std::string& input, const std::string& selection,
                   const std::string& scratch) {
  std::string raw = scratch + "/frame.rgba";
  std::system(("ffmpeg -nostdin -loglevel error -y -i '" + input + "' " + selection +
               " -frames:v 1 -f rawvideo -pix_fmt rgba '" + raw + "'")
                  .c_str());
  return slurp(raw);
}

}  // namespace

TEST_F(QrlCallTest, TheMainJobBurnsTheTimecodeAndRendersAFrameOfIt) {
  Outcome run = qrl({"demo", "--out", root_ + "/demo"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("6. The running timecode burnt in"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("burnt into 300 frames"), std::string::npos) << run.out;
  const std::string png = root_ + "/demo/sample-burn-frame-45.png";
  EXPECT_NE(run.out.find("frame 45: " + png), std::string::npos) << run.out;

  constexpr int kWidth = 640, kHeight = 360;
  std::string rendered = rgbaOf(png, "", root_);
  std::string picture =
      rgbaOf(root_ + "/demo/sample.mov", "-map 0:v:0 -vf 'select=eq(n\\,45)'", root_);
  ASSERT_EQ(rendered.size(), size_t{kWidth} * kHeight * 4);
  ASSERT_EQ(picture.size(), rendered.size());
  // The burn sits 20 pixels in from the lower left; its 28-point white text stays well
  // inside this rectangle (rows from the top).
  const int left = 10, right = 320, top = kHeight - 90, bottom = kHeight - 10;
  int outside = 0, inside = 0, whiteText = 0, seeThrough = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      size_t at = (size_t(y) * kWidth + x) * 4;
      int diff = 0;
      for (int c = 0; c < 3; ++c)
        diff = std::max(diff,
                        std::abs(int(uint8_t(rendered[at + c])) - int(uint8_t(picture[at + c]))));
      bool inBox = x >= left && x < right && y >= top && y < bottom;
      if (diff > 3)
        (inBox ? inside : outside)++;
      auto white = [&](const std::string& rgba) {
        return uint8_t(rgba[at]) > 240 && uint8_t(rgba[at + 1]) > 240 &&
               uint8_t(rgba[at + 2]) > 240;
      };
      if (inBox && white(rendered) && !white(picture))
        ++whiteText;
      if (uint8_t(rendered[at + 3]) != 255)
        ++seeThrough;
    }
  }
  EXPECT_EQ(seeThrough, 0) << "the rendered frame is opaque";
  EXPECT_EQ(outside, 0) << "the picture is its own outside the burn";
  EXPECT_GT(whiteText, 300) << "the timecode's white text shows inside the box";
  EXPECT_GE(inside, whiteText) << "every text pixel differs from the picture";
}

TEST_F(QrlCallTest, BurnReadsEveryFormOfRateAndDrawsABarOnATerminal) {
  struct Row {
    const char* rate;
    const char* shown;
  } rows[] = {{"pal", "at 25 fps"},
              {"5", "at 29.97 fps"},
              {"29.97 DF", "at 29.97 fps"},
              {"23.976", "at 23.976 fps"},
              {"59.94", "at 59.94 fps"}};
  for (const auto& row : rows) {
    std::string movie = tinyMovie(root_, std::string("rate ") + row.rate + ".mov");
    Outcome run = qrl({"burn-timecode", movie, "--start", "00:00:00:00", "--rate", row.rate});
    EXPECT_EQ(run.status, 0) << row.rate << ": " << run.err;
    EXPECT_NE(run.out.find(row.shown), std::string::npos) << row.rate << ": " << run.out;
  }
  // script(1) gives the program a terminal; the bar is redrawn in place and its line ended.
  std::string movie = tinyMovie(root_, "terminal.mov");
  std::string captured = root_ + "/terminal.txt";
  std::string command = std::string(QRL_PROGRAM) + " burn-timecode '" + movie +
                        "' --start 00:00:00:00 --rate 25 2>&1 >/dev/null";
  ASSERT_EQ(std::system(("script -qec \"" + command + "\" /dev/null > '" + captured + "'").c_str()),
            0);
  std::string bar = slurp(captured);
  EXPECT_NE(bar.find("\rburning [#"), std::string::npos) << bar;
  EXPECT_NE(bar.find("] 100%"), std::string::npos) << bar;
  EXPECT_EQ(bar.find("burning: "), std::string::npos) << "no plain lines on a terminal";
}
