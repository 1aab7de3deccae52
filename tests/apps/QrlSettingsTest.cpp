// qrl settings run as a person runs it: containers made, described, refused,
// and the shipped preset found in an installed tree.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/apps/QrlRunner.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace {

namespace fs = std::filesystem;
using apps_testing::Outcome;
using apps_testing::qrl;
using apps_testing::slurp;
using nlohmann::json;

class QrlSettings : public ::testing::Test {
 protected:
  json describe(const std::string& file, std::vector<std::string> more = {}) {
    std::vector<std::string> args{"settings", "describe", "--json"};
    args.insert(args.end(), more.begin(), more.end());
    if (!file.empty())
      args.push_back(file);
    Outcome run = qrl(args);
    EXPECT_EQ(run.status, 0) << run.err;
    return json::parse(run.out, nullptr, false);
  }

  ::qrl::quicktime::testing::TempDir temp_;
  const fs::path& dir_ = temp_.path();
};

// Every compressor `codecs` lists, video and sound paired up, made with every
// option and described back.
TEST_F(QrlSettings, MakeThenDescribeGivesBackWhatWasAskedForEveryCodec) {
  Outcome listed = qrl({"settings", "codecs"});
  ASSERT_EQ(listed.status, 0);
  std::vector<std::string> video, sound;
  std::istringstream lines(listed.out);
  for (std::string line; std::getline(lines, line);) {
    std::string code = line.substr(1, 4);
    (line.find("  video  ") != std::string::npos ? video : sound).push_back(code);
  }
  ASSERT_GE(video.size(), 19u);
  ASSERT_GE(sound.size(), 12u);
  for (size_t i = 0; i < std::max(video.size(), sound.size()); ++i) {
    const std::string& v = video[i % video.size()];
    const std::string& s = sound[i % sound.size()];
    SCOPED_TRACE(v + " + " + s);
    std::string file = (dir_ / ("made-" + std::to_string(i))).string();
    Outcome made = qrl({"settings", "make", "--codec", v, "--size", "640x360", "--rate",
                        "30000/1001", "--data-rate", "2M", "--key-frames", "12", "--quality",
                        "high", "--audio", s + ":44100:6:24", "-o", file});
    ASSERT_EQ(made.status, 0) << made.err;
    json e = describe(file)["export"];
    EXPECT_EQ(e["video"]["codec"], v);
    EXPECT_EQ(e["video"]["width"], 640);
    EXPECT_EQ(e["video"]["height"], 360);
    EXPECT_EQ(e["video"]["frameRate"], "30000/1001");
    EXPECT_EQ(e["video"]["bitRate"], 2000000);
    EXPECT_EQ(e["video"]["keyFrameInterval"], 12);
    EXPECT_EQ(e["video"]["spatialQuality"], 0x300);
    EXPECT_EQ(e["sound"]["enabled"], true);
    EXPECT_EQ(e["sound"]["codec"], s);
    EXPECT_EQ(e["sound"]["sampleRate"], 44100);
    EXPECT_EQ(e["sound"]["channels"], 6);
    EXPECT_EQ(e["sound"]["sampleSize"], 24);
  }
}

TEST_F(QrlSettings, TheOriginalPlatformsSettingsDescribeFromHexText) {
  const char* source = std::getenv("QRL_SOURCE_DIR");
  fs::path hex = fs::path(source ? source : ".") / "tests/settings/data/nuke-sc-avc1.hex";
  json d = describe(hex.string());
  EXPECT_EQ(d["parser"]["codecName"], "H.264 (AVC) video");
  EXPECT_EQ(d["parser"]["codecType"], 0x31637661);
  EXPECT_EQ(d["export"]["video"]["frameRate"], "24");
  EXPECT_EQ(d["export"]["video"]["payloads"]["byteOrder"], "big-endian");
  EXPECT_EQ(d["container"]["children"][0]["type"], "vide");
  Outcome text = qrl({"settings", "describe", hex.string()});
  EXPECT_NE(text.out.find("    codecName: H.264 (AVC) video\n"), std::string::npos) << text.out;
}

TEST_F(QrlSettings, BadInputIsRefusedAndNothingIsWritten) {
  std::string out = (dir_ / "kept").string();
  std::ofstream(out) << "before";
  std::string truncated = (dir_ / "truncated").string();
  Outcome made = qrl({"settings", "make", "-o", truncated});
  ASSERT_EQ(made.status, 0) << made.err;
  fs::resize_file(truncated, fs::file_size(truncated) - 7);
  const struct {
    std::vector<std::string> args;
    int status;
    std::string message;
  } rows[] = {
      {{"settings", "make", "--codec", "xyz", "-o", out}, 2, "unknown video codec 'xyz'"},
      {{"settings", "make", "--codec", "twos", "-o", out}, 2, "unknown video codec 'twos'"},
      {{"settings", "make", "--size", "0x10", "-o", out}, 2, "bad --size '0x10'"},
      {{"settings", "make", "--rate", "500", "-o", out}, 2, "bad --rate '500'"},
      {{"settings", "make", "--data-rate", "fast", "-o", out}, 2, "bad --data-rate 'fast'"},
      {{"settings", "make", "--audio", "aac:96000", "-o", out}, 2, "bad sample rate"},
      {{"settings", "make", "--audio", "zzzz", "-o", out}, 2, "unknown sound codec 'zzzz'"},
      {{"settings", "make", "--codec", "avc1"}, 2, "make needs -o FILE"},
      {{"settings", "make", "-o", (dir_ / "no" / "such").string()}, 1, "No such file"},
      {{"settings", "describe"}, 2, "describe needs one FILE"},
      {{"settings", "describe", (dir_ / "missing").string()}, 1, "No such file"},
      {{"settings", "describe", truncated}, 1, "atom container: the root atom 'sean' declares"},
      {{"settings", "frobnicate"}, 2, "unknown settings command 'frobnicate'"},
  };
  for (const auto& row : rows) {
    Outcome run = qrl(row.args);
    EXPECT_EQ(run.status, row.status) << row.message << "\n" << run.err;
    EXPECT_NE(run.err.find(row.message), std::string::npos) << run.err;
  }
  EXPECT_EQ(slurp(out), "before");
  Outcome help = qrl({"settings", "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("usage: qrl settings describe"), std::string::npos);
}

// Installed, and then moved: the program still finds the preset installed
// with it, and $QRL_PRESET_DIR still wins.
TEST_F(QrlSettings, TheShippedPresetIsFoundWhereverTheProgramIsInstalled) {
  const char* binary = std::getenv("QRL_BINARY_DIR");
  ASSERT_NE(binary, nullptr);
  fs::path installed = dir_ / "installed", moved = dir_ / "moved";
  Outcome install =
      apps_testing::run({QRL_CMAKE, "--install", binary, "--prefix", installed.string()});
  ASSERT_EQ(install.status, 0) << install.err;
  fs::rename(installed, moved);
  std::string program = (moved / "bin" / "qrl").string();
  Outcome found = apps_testing::run({program, "settings", "preset"});
  EXPECT_EQ(found.out, (moved / "share/qrl/presets/Large.txt").string() + "\n") << found.err;

  json preset = describe("", {"--preset"})["export"];
  EXPECT_EQ(preset["video"]["codec"], "avc1");
  EXPECT_EQ(preset["video"]["width"], 1280);
  EXPECT_EQ(preset["video"]["height"], 720);
  EXPECT_EQ(preset["sound"]["codec"], "aac ");
  EXPECT_EQ(preset["sound"]["sampleRate"], 48000);
  EXPECT_EQ(preset["sound"]["channels"], 2);

  fs::create_directory(dir_ / "mine");
  ASSERT_EQ(
      qrl({"settings", "make", "--codec", "apch", "-o", (dir_ / "mine/Large.txt").string()}).status,
      0);
  setenv("QRL_PRESET_DIR", (dir_ / "mine").c_str(), 1);
  Outcome mine = apps_testing::run({program, "settings", "describe", "--json", "--preset"});
  unsetenv("QRL_PRESET_DIR");
  EXPECT_EQ(json::parse(mine.out, nullptr, false)["export"]["video"]["codec"], "apch") << mine.err;
}

}  // namespace
