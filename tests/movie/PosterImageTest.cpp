#include <gtest/gtest.h>

#include <string>

#include "movie/QRLQuickTime32.h"
#include "movie/QuickTimeUtilities.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl {
namespace {

using quicktime::testing::run;
using quicktime::testing::TempDir;

std::string makeFile(const TempDir& dir, const std::string& name, const std::string& args) {
  auto path = (dir / name).string();
  int status = 0;
  run("ffmpeg -nostdin -v error -y " + args + " '" + path + "'", &status);
  EXPECT_EQ(status, 0) << args;
  return path;
}

bool near(graphics::Rgba8 pixel, int r, int g, int b) {
  auto close = [](int a, int e) { return a > e - 40 && a < e + 40; };
  return close(pixel.red, r) && close(pixel.green, g) && close(pixel.blue, b) && pixel.alpha == 255;
}

TEST(PosterImage, FirstFrameFittedThenDrawnAt250By100) {
  TempDir dir;
  // Red on the left, blue on the right, 16:9; the second frame is green.
  auto movie = makeFile(dir, "wide.mov",
                        "-f lavfi -i color=c=red:s=160x90:r=25:d=0.04 "
                        "-f lavfi -i color=c=blue:s=80x90:r=25:d=0.04 "
                        "-f lavfi -i color=c=green:s=160x90:r=25:d=0.04 "
                        "-filter_complex '[0][1]overlay=x=80[a];[a][2]concat=n=2' "
                        "-c:v mpeg4 -q:v 2");
  QRLQuickTime32 service;
  for (bool compress : {false, true}) {
    auto image = service.posterImageForFilePath(movie, compress);
    ASSERT_EQ(image.width(), 250);
    ASSERT_EQ(image.height(), 100);
    EXPECT_TRUE(near(image.pixelAt(30, 50), 255, 0, 0)) << "left is the first frame's red";
    EXPECT_TRUE(near(image.pixelAt(220, 50), 0, 0, 255)) << "right is blue";
  }
  auto tall = makeFile(dir, "tall.mp4", "-f lavfi -i color=c=white:s=64x400:r=25:d=0.2 -c:v mpeg4");
  auto image = QuickTimeUtilities::posterImageForFilePath(tall);
  EXPECT_EQ(image.width(), 250);
  EXPECT_EQ(image.height(), 100);
  EXPECT_TRUE(near(image.pixelAt(125, 50), 255, 255, 255));
}

TEST(PosterImage, NoVideoOrNoMovieGivesAnEmptyImage) {
  TempDir dir;
  auto sound = makeFile(dir, "tone.wav", "-f lavfi -i sine=d=0.2");
  quicktime::testing::writeFile(dir / "text.mov", {'n', 'o', 't', ' ', 'a', ' ', 'm'});
  for (const std::string& path :
       {sound, (dir / "text.mov").string(), (dir / "missing.mov").string(), std::string()}) {
    SCOPED_TRACE(path);
    auto image = QuickTimeUtilities::posterImageForFilePath(path, false);
    EXPECT_EQ(image.width(), 0);
    EXPECT_EQ(image.height(), 0);
  }
}

}  // namespace
}  // namespace qrl
