#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/graphics/Image.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl::testing {

using quicktime::testing::run;
using quicktime::testing::TempDir;

// A movie made by ffmpeg: a grey picture of `size` ("160x90") at `rate`,
// `frames` frames of MPEG-4, with a timecode track when `timecode` is given.
inline std::filesystem::path makeSizedMovie(const TempDir& dir, const std::string& name,
                                            const std::string& size, const std::string& rate,
                                            int frames, const std::string& timecode = "") {
  auto path = dir / name;
  std::string command = "ffmpeg -nostdin -v error -y -f lavfi -i color=c=gray:s=" + size +
                        ":r=" + rate + " -frames:v " + std::to_string(frames) + " -c:v mpeg4";
  if (!timecode.empty())
    command += " -timecode '" + timecode + "'";
  command += " '" + path.string() + "'";
  int status = 0;
  run(command, &status);
  EXPECT_EQ(status, 0) << command;
  return path;
}

// Frame `index` of the movie's video stream `stream` (0-based among video
// streams) decoded by ffmpeg as straight RGBA; empty when ffmpeg fails.
inline graphics::Image decodedFrame(const std::filesystem::path& path, int stream, int index,
                                    int width, int height) {
  std::string bytes = run("ffmpeg -nostdin -v error -i '" + path.string() +
                          "' -map 0:v:" + std::to_string(stream) + " -vf 'select=eq(n\\," +
                          std::to_string(index) + ")' -frames:v 1 -f rawvideo -pix_fmt rgba -");
  std::vector<uint8_t> rgba(bytes.begin(), bytes.end());
  if (rgba.size() != static_cast<size_t>(width) * static_cast<size_t>(height) * 4)
    return graphics::Image(0, 0);
  return graphics::Image::fromRGBA(width, height, rgba, graphics::AlphaMode::Straight);
}

// How many pixels differ by more than `tolerance` in any component.
inline int differingPixels(const graphics::Image& a, const graphics::Image& b, int tolerance = 2) {
  if (a.width() != b.width() || a.height() != b.height())
    return -1;
  auto pa = a.rgba(graphics::AlphaMode::Straight);
  auto pb = b.rgba(graphics::AlphaMode::Straight);
  int count = 0;
  for (size_t i = 0; i < pa.size(); i += 4) {
    // Colour under a fully transparent pixel means nothing.
    if (pa[i + 3] == 0 && pb[i + 3] == 0)
      continue;
    for (size_t c = 0; c < 4; ++c) {
      if (std::abs(int(pa[i + c]) - int(pb[i + c])) > tolerance) {
        ++count;
        break;
      }
    }
  }
  return count;
}

// The pixels with any alpha, as a box in memory order (rows from the top);
// width 0 when there are none.
struct InkBox {
  int left = 0, top = 0, right = 0, bottom = 0;  // right and bottom exclusive
  int width() const { return right - left; }
};
inline InkBox inkBox(const graphics::Image& image) {
  InkBox box{image.width(), image.height(), 0, 0};
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (image.pixelAt(x, y).alpha == 0)
        continue;
      box.left = std::min(box.left, x);
      box.top = std::min(box.top, y);
      box.right = std::max(box.right, x + 1);
      box.bottom = std::max(box.bottom, y + 1);
    }
  }
  if (box.right == 0)
    return {};
  return box;
}

}  // namespace qrl::testing
