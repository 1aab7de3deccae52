#include "platform/graphics/TiffEncoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/base/Exception.h"
#include "platform/graphics/ImageDecoder.h"
#include "platform/graphics/StringDrawing.h"
#include "tests/platform/graphics/GraphicsTestSupport.h"

namespace qrl::graphics {
namespace {

using testing::haveProgram;
using testing::readFile;
using testing::runCommand;
using testing::ScratchDirectory;
using testing::writeFile;

// Straight RGBA with every kind of alpha, including colour under alpha 0.
std::vector<uint8_t> patternRGBA(int width, int height) {
  std::vector<uint8_t> rgba;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      rgba.push_back(static_cast<uint8_t>(x * 7));
      rgba.push_back(static_cast<uint8_t>(y * 11));
      rgba.push_back(static_cast<uint8_t>((x * y) % 256));
      rgba.push_back(static_cast<uint8_t>((x + y * 3) % 256));
    }
  }
  return rgba;
}

// What ffmpeg makes of a TIFF file, as raw straight RGBA.
std::vector<uint8_t> ffmpegRGBA(const ScratchDirectory& dir, const std::vector<uint8_t>& tiff) {
  writeFile(dir.path("in.tif"), tiff);
  const auto result = runCommand("ffmpeg -v error -y -i " + dir.path("in.tif").string() +
                                 " -f rawvideo -pix_fmt rgba " + dir.path("out.rgba").string());
  EXPECT_EQ(result.exitCode, 0) << result.output;
  return readFile(dir.path("out.rgba"));
}

TEST(TiffEncoderTest, StraightAlphaRoundTripsExactlyThroughFFmpeg) {
  const bool judge = haveProgram("ffmpeg");
  ScratchDirectory dir;
  const struct {
    const char* name;
    TiffOptions options;
  } cases[] = {
      {"deflate, 8-row strips", {TiffCompression::Deflate, 8, 6}},
      {"deflate level 1, one-row strips", {TiffCompression::Deflate, 1, 1}},
      {"packbits", {TiffCompression::PackBits, 16, 6}},
      {"lzw, one strip", {TiffCompression::LZW, 64, 6}},
      {"uncompressed", {TiffCompression::None, 5, 6}},
  };
  const int width = 37;
  const int height = 23;
  const std::vector<uint8_t> rgba = patternRGBA(width, height);
  const Image image = Image::fromRGBA(width, height, rgba, AlphaMode::Straight);
  for (const auto& c : cases) {
    const std::vector<uint8_t> tiff = TiffEncoder::encode(image, c.options);
    const Image decoded = ImageDecoder::decode(tiff);
    ASSERT_EQ(decoded.width(), width) << c.name;
    ASSERT_EQ(decoded.height(), height) << c.name;
    EXPECT_TRUE(decoded.rgba() == rgba) << c.name << ": our decoder differs";
    if (judge) {
      EXPECT_TRUE(ffmpegRGBA(dir, tiff) == rgba) << c.name << ": ffmpeg differs";
    }
  }
}

TEST(TiffEncoderTest, SparseDrawingDecodesToWhatWasDrawn) {
  // Text in the middle of a tall frame: most strips come from the cache of
  // empty strips, a few are compressed; both must read back.
  Image image(320, 240);
  StringDrawing::drawAtPoint(
      "01:00:00;00", image, {40, 100},
      {Font("Lucida Grande", 25), {1, 1, 1, 0.75}, Color{0.2, 0.4, 0.6, 0.5}});
  const std::vector<uint8_t> expected = image.rgba(AlphaMode::Straight);
  const std::vector<uint8_t> tiff = TiffEncoder::encode(image);
  EXPECT_TRUE(ImageDecoder::decode(tiff).rgba() == expected);
  if (haveProgram("ffmpeg")) {
    ScratchDirectory dir;
    EXPECT_TRUE(ffmpegRGBA(dir, tiff) == expected);
    // And through ffmpeg's PNG writer.
    const auto result = runCommand("ffmpeg -v error -y -i " + dir.path("in.tif").string() + " " +
                                   dir.path("out.png").string());
    ASSERT_EQ(result.exitCode, 0) << result.output;
    EXPECT_TRUE(ImageDecoder::decode(readFile(dir.path("out.png"))).rgba() == expected);
  }
}

TEST(TiffEncoderTest, DrawnShapesOfManySizesDecodeExactly) {
  // Drawn strips are compressed by our own deflate writer: zero runs around
  // and between rows, pixel repeats, repeats of the row above, content at
  // either edge, and rows too wide for it (zlib instead).
  const struct {
    const char* name;
    int width, height;
    Rect rect;
    Color color;
  } cases[] = {
      {"one pixel", 66, 40, {{30, 20}, {1, 1}}, {1, 0.5, 0.25, 1}},
      {"one column, 260-byte gaps", 66, 40, {{65, 0}, {1, 40}}, {0.2, 0.4, 0.6, 0.8}},
      {"left edge", 100, 30, {{0, 3}, {7, 20}}, {1, 1, 1, 0.3}},
      {"long runs of one colour", 1000, 33, {{10, 5}, {900, 17}}, {0, 1, 0, 1}},
      {"soft edges", 300, 50, {{10.5F, 10.25F}, {200.5F, 20.75F}}, {1, 0, 1, 0.6}},
      {"widest our writer takes", 8192, 3, {{8000, 0}, {192, 2}}, {0.1, 0.2, 0.3, 0.4}},
      {"wider: zlib", 8193, 3, {{8000, 1}, {193, 2}}, {0.1, 0.2, 0.3, 0.4}},
  };
  for (const auto& c : cases) {
    Image image(c.width, c.height);
    image.fillRect(c.rect, c.color);
    // A second, overlapping shape so that rows differ from the row above.
    image.fillRect({{c.rect.origin.x, c.rect.origin.y}, {c.rect.size.width / 2, 1.5F}},
                   {0.9, 0.8, 0.1, 0.5}, CompositingOperation::SourceOver);
    for (const int rows : {1, 7, 16}) {
      const std::vector<uint8_t> tiff =
          TiffEncoder::encode(image, {TiffCompression::Deflate, rows, 6});
      EXPECT_TRUE(ImageDecoder::decode(tiff).rgba() == image.rgba())
          << c.name << ", " << rows << " rows per strip";
    }
  }
}

TEST(TiffEncoderTest, EmptyFullHDFrameIsSmallAndDecodesTransparent) {
  const Image frame(1920, 1080);
  const std::vector<uint8_t> tiff = TiffEncoder::encode(frame);
  EXPECT_LT(tiff.size(), 16u * 1024) << "an empty frame should cost little";
  const Image decoded = ImageDecoder::decode(tiff);
  ASSERT_EQ(decoded.width(), 1920);
  ASSERT_EQ(decoded.height(), 1080);
  const std::vector<uint8_t> pixels = decoded.rgba();
  EXPECT_TRUE(std::all_of(pixels.begin(), pixels.end(), [](uint8_t b) { return b == 0; }));
  if (haveProgram("ffmpeg")) {
    ScratchDirectory dir;
    const std::vector<uint8_t> judged = ffmpegRGBA(dir, tiff);
    EXPECT_EQ(judged.size(), 1920u * 1080 * 4);
    EXPECT_TRUE(std::all_of(judged.begin(), judged.end(), [](uint8_t b) { return b == 0; }));
  }
}

TEST(TiffEncoderTest, TiffinfoSeesStripsAndUnassociatedAlpha) {
  if (!haveProgram("tiffinfo"))
    GTEST_SKIP() << "tiffinfo not installed";
  Image frame(1920, 1080);
  frame.fillRect({{100, 100}, {300, 40}}, {1, 0, 0, 0.5});
  ScratchDirectory dir;
  writeFile(dir.path("frame.tif"), TiffEncoder::encode(frame));
  const auto info = runCommand("tiffinfo -s " + dir.path("frame.tif").string());
  ASSERT_EQ(info.exitCode, 0) << info.output;
  for (const char* expected : {"Image Width: 1920 Image Length: 1080", "Bits/Sample: 8",
                               "Samples/Pixel: 4", "Extra Samples: 1<unassoc-alpha>",
                               "Rows/Strip: 16", "68 Strips:", "Compression Scheme: AdobeDeflate",
                               "Planar Configuration: single image plane"}) {
    EXPECT_NE(info.output.find(expected), std::string::npos) << expected << "\n" << info.output;
  }
  EXPECT_EQ(info.output.find("Tile"), std::string::npos) << info.output;
}

TEST(TiffEncoderTest, RefusesEmptyImagesAndBadOptions) {
  const Image small(4, 4);
  const struct {
    const char* name;
    int width, height;
    TiffOptions options;
  } cases[] = {
      {"zero width", 0, 4, {}},
      {"zero height", 4, 0, {}},
      {"no rows per strip", 4, 4, {TiffCompression::Deflate, 0, 6}},
      {"deflate level 0", 4, 4, {TiffCompression::Deflate, 8, 0}},
      {"deflate level 10", 4, 4, {TiffCompression::Deflate, 8, 10}},
      {"unknown compression", 4, 4, {static_cast<TiffCompression>(42), 8, 6}},
  };
  for (const auto& c : cases) {
    try {
      TiffEncoder::encode(Image(c.width, c.height), c.options);
      ADD_FAILURE() << c.name << " accepted";
    } catch (const Exception& e) {
      EXPECT_EQ(e.kind(), Exception::Kind::Range) << c.name << ": " << e.what();
    }
  }
}

}  // namespace
}  // namespace qrl::graphics
