#include "movie/QRLOverlayChecks.h"

#include <cmath>
#include <limits>

#include "movie/QRLQTOverlayWriter.h"
#include "platform/base/Exception.h"
#include "platform/graphics/ImageDecoder.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Media.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "platform/quicktime/Track.h"

namespace qrl::overlay {

void log(const std::string& message) {
  process::SystemLog::write("Overlay: " + message);
}

std::unique_ptr<quicktime::Movie> openMovie(const std::string& path) {
  try {
    return quicktime::Movie::open(path);
  } catch (const Exception& e) {
    log(path + ": not opened as a movie: " + e.what());
    return nullptr;
  }
}

std::optional<graphics::Image> decodeImage(std::span<const uint8_t> data, const std::string& path) {
  try {
    return graphics::ImageDecoder::decode(data);
  } catch (const Exception& e) {
    log(path + ": the overlay image does not decode: " + e.what());
    return std::nullopt;
  }
}

bool hasPicture(const quicktime::Movie& movie) {
  const quicktime::Size size = movie.currentSize();
  if (movie.tracksOfMediaType(quicktime::kMediaTypeVideo).empty() || !(size.width >= 1) ||
      !(size.height >= 1)) {
    log(movie.path().string() + ": the movie has no video to lay an overlay over");
    return false;
  }
  return true;
}

bool isInside(const quicktime::Movie& movie, Point location) {
  const quicktime::Size size = movie.currentSize();
  if (std::isfinite(location.x) && std::isfinite(location.y) && location.x >= 0 &&
      location.y >= 0 && location.x < size.width && location.y < size.height) {
    return true;
  }
  log(movie.path().string() + ": the location " + std::to_string(location.x) + ", " +
      std::to_string(location.y) + " lies outside the " + std::to_string(int(size.width)) + " x " +
      std::to_string(int(size.height)) + " picture");
  return false;
}

bool isUsableFontSize(int64_t fontSize, const std::string& path) {
  if (fontSize >= 1 && fontSize <= QRLQTOverlayWriter::kMaximumFontSize)
    return true;
  log(path + ": the font size " + std::to_string(fontSize) + " is not between 1 and " +
      std::to_string(QRLQTOverlayWriter::kMaximumFontSize));
  return false;
}

std::optional<graphics::Color> fromArchive(const std::optional<archive::Color>& color) {
  if (!color)
    return std::nullopt;
  return graphics::Color::colorWithCalibratedRed(color->red(), color->green(), color->blue(),
                                                 color->alpha());
}

std::string description(const archive::ObjectPtr& object) {
  if (!object)
    return "(null)";
  if (const archive::Value* plain = object->plainValue()) {
    if (const std::string* text = plain->string())
      return *text;
  }
  return "<" + std::string(object->classChain().front()) + ">";
}

int32_t fixed(double pixels) {
  const double value = pixels * 65536.0;
  if (!(value < 2147483648.0))
    return std::numeric_limits<int32_t>::max();
  if (value <= -2147483648.0)
    return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value);
}

double pixelsOf(int32_t fixedValue) {
  return fixedValue / 65536.0;
}

std::vector<uint8_t> timecodeDescription(const quicktime::TimeCodeDef& d, uint16_t dataReference) {
  std::vector<uint8_t> out;
  auto u32 = [&](uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8)
      out.push_back(static_cast<uint8_t>(v >> shift));
  };
  u32(38);
  u32(quicktime::fourCC("tmcd"));
  out.insert(out.end(), 6, 0);
  out.push_back(static_cast<uint8_t>(dataReference >> 8));
  out.push_back(static_cast<uint8_t>(dataReference));
  u32(0);
  u32(static_cast<uint32_t>(d.flags));
  u32(static_cast<uint32_t>(d.fTimeScale));
  u32(static_cast<uint32_t>(d.frameDuration));
  out.push_back(d.numFrames);
  out.push_back(0);
  u32(0);
  return out;
}

void fillTimecodeTrack(quicktime::Track& track, quicktime::Media& media,
                       quicktime::TimeCodeMediaHandler& handler,
                       const quicktime::TimeCodeDef& definition,
                       const quicktime::TimeCodeRecord& record, const Duration& duration,
                       bool showTimecode) {
  if (showTimecode)
    handler.setTimeCodeFlags(quicktime::TimeCodeMediaHandler::kShowTimeCode,
                             quicktime::TimeCodeMediaHandler::kShowTimeCode);
  else
    handler.setTimeCodeFlags(0, 0);

  uint32_t description = media.addSampleDescription(
      timecodeDescription(definition, static_cast<uint16_t>(media.selfReferenceNumber())));
  const auto frame = static_cast<uint32_t>(
      quicktime::TimeCodeMediaHandler::frameNumberFromRecord(definition, record).value_or(0));
  const uint8_t sample[4] = {static_cast<uint8_t>(frame >> 24), static_cast<uint8_t>(frame >> 16),
                             static_cast<uint8_t>(frame >> 8), static_cast<uint8_t>(frame)};
  media.addSamples(sample, 1, static_cast<uint32_t>(duration.value), description);
  track.insertMedia(0, 0, duration.value, 0x10000);
}

}  // namespace qrl::overlay
