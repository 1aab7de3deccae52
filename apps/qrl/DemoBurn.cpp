#include "apps/qrl/DemoBurn.h"

#include <fstream>
#include <iterator>
#include <ostream>
#include <vector>

#include "clients/cpp/QRLConduitClient.h"
#include "fsutil/QRLFileSystemUtility.h"
#include "movie/QRLQTImageLayer.h"
#include "platform/archive/Color.h"
#include "platform/base/Exception.h"
#include "platform/base/Point.h"
#include "platform/graphics/Image.h"
#include "platform/graphics/ImageDecoder.h"
#include "platform/graphics/PngEncoder.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/Track.h"
#include "records/QRLQTTimecodeBurnAttributeWrapper.h"

namespace qrl::app {
namespace {

namespace fs = std::filesystem;

constexpr Point kBurnOrigin{20, 20};
constexpr int32_t kBurnFontSize = 28;

std::vector<uint8_t> readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in)
    throw Exception::io("cannot read " + path.string());
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The movie's own picture at `frame`, decoded by ffmpeg (the movie reader keeps no codecs
// for compressed video).
graphics::Image pictureFrame(const std::string& movie, const fs::path& folder, int frame) {
  QRLFileSystemUtility utility;
  auto ffmpeg = utility.pathForTerminalCommand("ffmpeg");
  if (!ffmpeg)
    throw Exception::io("the ffmpeg program is not installed (run scripts/setup.sh)");
  fs::path png = folder / ("picture-" + std::to_string(frame) + ".png");
  fs::remove(png);
  auto output = utility.executeTerminalCommandWithDelimitedArguments(
      *ffmpeg,
      {"-nostdin", "-loglevel", "error", "-y", "-i", movie, "-map", "0:v:0", "-vf",
       "select=eq(n\\," + std::to_string(frame) + ")", "-frames:v", "1", png.string()},
      true);
  if (!fs::exists(png))
    throw Exception::io("ffmpeg could not decode frame " + std::to_string(frame) + ": " +
                        output.value_or(""));
  auto image = graphics::ImageDecoder::decode(readFile(png));
  fs::remove(png);
  return image;
}

// The overlay track the burn added (the last one carrying the marker).
const quicktime::Track& burnTrack(const quicktime::Movie& movie) {
  for (auto it = movie.tracks().rbegin(); it != movie.tracks().rend(); ++it) {
    if ((*it)->displayName().value_or("").ends_with(QRLTrackAddedByQuorlanQTImageLayerSuffix))
      return **it;
  }
  throw Exception::io("the conduit did not burn the timecode (see the system log)");
}

uint32_t burnTrackFrames(const std::string& movie) {
  auto opened = quicktime::Movie::open(movie);
  return burnTrack(*opened).media().sampleTable().sampleCount();
}

// The burn track's picture for `frame`: the image stored as that sample.
graphics::Image burnFrame(const std::string& movie, int frame) {
  auto opened = quicktime::Movie::open(movie);
  const auto& media = burnTrack(*opened).media();
  if (static_cast<uint32_t>(frame) >= media.sampleTable().sampleCount())
    throw Exception::range("the burn holds no frame " + std::to_string(frame));
  return graphics::ImageDecoder::decode(media.readSample(static_cast<uint32_t>(frame)));
}

// `top` laid over `bottom` (both straight alpha, the same size) by its alpha.
graphics::Image composite(const graphics::Image& bottom, const graphics::Image& top) {
  if (bottom.width() != top.width() || bottom.height() != top.height())
    throw Exception::range("the burn is " + std::to_string(top.width()) + " x " +
                           std::to_string(top.height()) + " but the picture " +
                           std::to_string(bottom.width()) + " x " +
                           std::to_string(bottom.height()));
  auto under = bottom.rgba(graphics::AlphaMode::Straight);
  const auto over = top.rgba(graphics::AlphaMode::Straight);
  for (size_t i = 0; i < under.size(); i += 4) {
    const int alpha = over[i + 3];
    for (size_t c = 0; c < 3; ++c)
      under[i + c] =
          static_cast<uint8_t>((over[i + c] * alpha + under[i + c] * (255 - alpha) + 127) / 255);
    under[i + 3] = 255;
  }
  return graphics::Image::fromRGBA(bottom.width(), bottom.height(), under,
                                   graphics::AlphaMode::Straight);
}

}  // namespace

fs::path burnTimecodeAndRenderFrame(client::QRLConduitClient& conduit, const std::string& movie,
                                    const fs::path& folder, const std::string& start,
                                    QRLVideoFrameRate rate, int frame, std::ostream& out) {
  QRLQTTimecodeBurnAttributeWrapper burn;
  burn.setStartTimecode(start);
  burn.setFrameRate(static_cast<uint32_t>(rate));
  burn.setFontSize(kBurnFontSize);
  burn.setBurnOrigin(kBurnOrigin);
  burn.setFontColor(archive::Color::calibratedRGB(1, 1, 1, 1));
  conduit.overlay().addTimecodeBurnToMovieAtPath(movie, burn.timecodeAttributeDictionary());
  // The conduit logs rather than answers a failed burn; a missing burn track tells.
  out << "   burnt into " << burnTrackFrames(movie) << " frames at 20,20 (white, " << kBurnFontSize
      << " points)\n";
  auto rendered = composite(pictureFrame(movie, folder, frame), burnFrame(movie, frame));
  fs::path png = folder / ("sample-burn-frame-" + std::to_string(frame) + ".png");
  auto bytes = graphics::PngEncoder::encode(rendered);
  std::ofstream file(png, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  if (!file.flush())
    throw Exception::io("cannot write " + png.string());
  return png;
}

}  // namespace qrl::app
