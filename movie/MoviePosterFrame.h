#pragma once

#include <filesystem>
#include <optional>

#include "platform/graphics/Image.h"

namespace qrl {

// The first picture of a movie file, decoded with FFmpeg: what stands in for
// the desktop's thumbnail service when a poster image is asked for.
class MoviePosterFrame {
 public:
  // Larger pictures are refused rather than allocated.
  static constexpr int64_t kMaximumPixels = int64_t{8192} * 8192;

  // The file's first video frame as an opaque straight-alpha image; none when
  // the file is missing, is not a movie, has no video or nothing decodes.
  static std::optional<graphics::Image> firstVideoFrame(const std::filesystem::path& path);
};

}  // namespace qrl
