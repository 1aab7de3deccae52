#include "platform/graphics/ImageDecoder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/base/Exception.h"
#include "platform/graphics/PngEncoder.h"
#include "tests/platform/graphics/GraphicsTestSupport.h"

namespace qrl::graphics {
namespace {

using testing::haveProgram;
using testing::readFile;
using testing::runCommand;
using testing::ScratchDirectory;

std::vector<uint8_t> bytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

TEST(ImageDecoderTest, GarbageThrowsAProjectException) {
  std::vector<uint8_t> noise(4096);
  uint32_t state = 12345;
  for (auto& b : noise) {
    state = state * 1103515245 + 12345;
    b = static_cast<uint8_t>(state >> 16);
  }
  Image red(8, 8);
  red.fillRect({{0, 0}, {8, 8}}, {1, 0, 0, 1});
  const std::vector<uint8_t> png = PngEncoder::encode(red);
  std::vector<uint8_t> truncated(png.begin(), png.begin() + 40);
  std::vector<uint8_t> corruptBody = png;
  for (size_t i = 40; i < corruptBody.size(); ++i)
    corruptBody[i] ^= 0x5A;

  const struct {
    const char* name;
    std::vector<uint8_t> data;
  } cases[] = {
      {"nothing", {}},
      {"text", bytesOf("this is not an image at all, just words")},
      {"noise", noise},
      {"truncated png", truncated},
      {"png with a corrupt body", corruptBody},
      {"tiff header only", {'I', 'I', 42, 0, 8, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    EXPECT_THROW(ImageDecoder::decode(c.data), Exception) << c.name;
    EXPECT_FALSE(ImageDecoder::tryDecode(c.data).has_value()) << c.name;
  }
}

TEST(ImageDecoderTest, DecodesWhatFFmpegWritesInSeveralFormats) {
  if (!haveProgram("ffmpeg"))
    GTEST_SKIP() << "ffmpeg not installed";
  ScratchDirectory dir;
  const struct {
    const char* file;
    const char* pixelFormat;
    bool exact;  // lossless formats must match ffmpeg's own decode exactly
  } cases[] = {
      {"a.png", "rgba", true},      {"b.tiff", "rgba", true}, {"c.bmp", "bgra", true},
      {"d.jpg", "yuvj420p", false}, {"e.gif", "pal8", true},
  };
  for (const auto& c : cases) {
    const std::string path = dir.path(c.file).string();
    // Half-transparent where the format has alpha.
    const auto made = runCommand(
        std::string("ffmpeg -v error -y -f lavfi -i testsrc=size=40x30:rate=1,format=rgba,"
                    "colorchannelmixer=aa=0.5 -frames:v 1 -pix_fmt ") +
        c.pixelFormat + " " + path);
    ASSERT_EQ(made.exitCode, 0) << c.file << made.output;
    const Image image = ImageDecoder::decode(readFile(path));
    EXPECT_EQ(image.width(), 40) << c.file;
    EXPECT_EQ(image.height(), 30) << c.file;
    EXPECT_EQ(image.alphaMode(), AlphaMode::Straight);
    if (!c.exact) {
      EXPECT_EQ(image.pixelAt(5, 5).alpha, 255) << c.file << " has no alpha, so it is opaque";
      continue;
    }
    const auto raw = runCommand("ffmpeg -v error -y -i " + path + " -f rawvideo -pix_fmt rgba " +
                                dir.path("raw.rgba").string());
    ASSERT_EQ(raw.exitCode, 0) << raw.output;
    EXPECT_TRUE(image.rgba() == readFile(dir.path("raw.rgba"))) << c.file;
  }
}

TEST(ImageDecoderTest, PngWeWriteReadsBack) {
  Image image(16, 8);
  image.fillRect({{0, 0}, {8, 8}}, {0, 1, 0, 1});
  image.fillRect({{8, 0}, {8, 8}}, {1, 0, 1, 0.5});
  const std::vector<uint8_t> png = PngEncoder::encode(image);
  ASSERT_GT(png.size(), 8u);
  EXPECT_EQ(std::string(png.begin() + 1, png.begin() + 4), "PNG");
  const Image decoded = ImageDecoder::decode(png);
  EXPECT_EQ(decoded.pixelAt(2, 2), (Rgba8{0, 255, 0, 255}));
  EXPECT_EQ(decoded.pixelAt(12, 2), image.pixelAt(12, 2));
  EXPECT_THROW(PngEncoder::encode(Image(0, 0)), Exception);
}

}  // namespace
}  // namespace qrl::graphics
