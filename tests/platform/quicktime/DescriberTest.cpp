#include <gtest/gtest.h>

#include <sstream>

#include "platform/quicktime/JsonMovieDescriber.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TextMovieDescriber.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl::quicktime {
namespace {

using testing::TempDir;

class Inspector : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    testing::makeMovie(*dir_, "a \"quoted\" name.mov", "30000/1001", 3, "01:00:00;00");
  }
  static void TearDownTestSuite() { delete dir_; }
  static std::filesystem::path path() { return *dir_ / "a \"quoted\" name.mov"; }
  static TempDir* dir_;
};
TempDir* Inspector::dir_ = nullptr;

// Python's json module reads our output independently; it prints the fields
// we check, one per line.
TEST_F(Inspector, JsonReadsBackInAnIndependentParser) {
  auto movie = Movie::open(path());
  std::ostringstream json;
  JsonMovieDescriber printer(json);
  MovieDescriber::inspect(*movie, printer);
  auto jsonPath = *dir_ / "out.json";
  std::string text = json.str();
  testing::writeFile(jsonPath, {text.begin(), text.end()});
  std::string fields = testing::run(
      "python3 -c 'import json,sys; d=json.load(open(sys.argv[1])); t=d[\"tracks\"]; "
      "print(d[\"file\"].endswith(\"a \\\"quoted\\\" name.mov\"), d[\"timeScale\"], d[\"width\"], "
      "len(t), "
      "t[0][\"type\"], t[0][\"codec\"], t[0][\"sampleCount\"], t[0][\"enabled\"], "
      "t[0][\"timecodeTrack\"], "
      "t[1][\"type\"], t[1][\"startTimecode\"], t[1][\"dropFrame\"])' '" +
      jsonPath.string() + "'");
  EXPECT_EQ(fields, "True 1000 64 2 vide mp4v 3 True 2 tmcd 01:00:00;00 True\n") << text;
  // Inspecting leaves the movie where it was.
  EXPECT_EQ(movie->currentTime(), Time::make(0, 1000));
}

TEST_F(Inspector, TextNumbersTracksAndIndentsFields) {
  auto movie = Movie::open(path());
  std::ostringstream text;
  TextMovieDescriber printer(text);
  MovieDescriber::inspect(*movie, printer);
  std::string out = text.str();
  EXPECT_EQ(out.rfind("movie:\n", 0), 0u) << out;
  EXPECT_NE(out.find("\n  tracks:\n    [1]:\n      id: 1\n      type: vide\n"), std::string::npos)
      << out;
  EXPECT_NE(out.find("\n    [2]:\n      id: 2\n      type: tmcd\n"), std::string::npos) << out;
  EXPECT_NE(out.find("      startTimecode: 01:00:00;00\n"), std::string::npos) << out;
}

}  // namespace
}  // namespace qrl::quicktime
