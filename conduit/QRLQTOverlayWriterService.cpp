#include "conduit/QRLQTOverlayWriterService.h"

#include <cstdint>
#include <span>

#include "conduit/QRLMovieArguments.h"
#include "platform/base/Exception.h"
#include "platform/graphics/ImageDecoder.h"
#include "platform/process/SystemLog.h"
#include "protocol/QRLWireValues.h"

namespace qrl {

using archive::Value;

namespace {

graphics::Color colorOf(const QRLColorComponents& c) {
  return graphics::Color::colorWithCalibratedRed(c.red, c.green, c.blue, c.alpha);
}

std::optional<graphics::Color> colorOf(const std::optional<QRLColorComponents>& c) {
  if (!c)
    return std::nullopt;
  return colorOf(*c);
}

QRLTextOverlay textOverlayOf(const Value& value) {
  QRLTextOverlayDescription d = wire::textOverlay(value);
  return {d.text,
          d.xCoordinate,
          d.yCoordinate,
          d.includeBackgroundColor,
          colorOf(d.backgroundColor),
          colorOf(d.textColor),
          d.fontSize};
}

QRLImageOverlay imageOverlayOf(const Value& value) {
  QRLImageOverlayDescription d = wire::imageOverlay(value);
  return {std::move(d.watermarkImage), d.xCoordinate, d.yCoordinate, d.width, d.height};
}

QRLBurnAttributeHolder holderOf(const QRLTimecodeOverlayDescription& d) {
  return {{d.xCoordinate, d.yCoordinate, d.width, d.height, d.includeBackgroundColor,
           colorOf(d.backgroundColor), colorOf(d.textColor), d.fontSize}};
}

QRLVideoFrameRate rateOf(const Value& value) {
  return static_cast<QRLVideoFrameRate>(wire::integer(value));
}

std::span<const uint8_t> bytesOf(const Value& value) {
  return wire::data(value);
}

}  // namespace

QRLQTOverlayWriterService::QRLQTOverlayWriterService() {
  using namespace remote;
  addPerformer(overlayWatermarkImageIntoMovieAtLocation, [this](const Arguments& a) {
    const archive::Data& data = wire::imageData(a[0], "the watermark image");
    const std::string& path = wire::string(a[1]);
    auto image = graphics::ImageDecoder::tryDecode(data);
    if (!image) {
      process::SystemLog::write(path + ": the watermark image does not decode");
      return Value();
    }
    // The writer saves the movie itself; a burn that stops half way must not
    // be saved, so nothing here saves on its behalf.
    auto movie = QRLOpenMovieArgument(path);
    writer_.overlayWatermarkImage(*image, movie.get(), wire::point(a[2]));
    return Value();
  });
  addPerformer(overlayWatermarkImageIntoMovieAtPathAtLocation, [this](const Arguments& a) {
    writer_.overlayWatermarkImage(wire::imageData(a[0], "the watermark image"), wire::string(a[1]),
                                  wire::point(a[2]));
    return Value();
  });
  addPerformer(overlayWatermarkImageIntoMovieAtPathAtLocationWithSize, [this](const Arguments& a) {
    writer_.overlayWatermarkImage(wire::imageData(a[0], "the watermark image"), wire::string(a[1]),
                                  wire::point(a[2]), wire::size(a[3]));
    return Value();
  });
  addPerformer(
      overlayTextualMessageIntoMovieAtLocationWithFontSizeAndColor, [this](const Arguments& a) {
        writer_.overlayTextualMessage(wire::string(a[0]), wire::string(a[1]), wire::point(a[2]),
                                      static_cast<int32_t>(wire::integer(a[3])),
                                      colorOf(wire::color(a[4])));
        return Value();
      });
  addPerformer(addTextualWatermarkOverlayToMovieAtPathOverlayAttributes,
               [this](const Arguments& a) {
                 writer_.addTextualWatermarkOverlayToMovieAtPathOverlayAttributes(
                     wire::string(a[0]), wire::data(a[1]));
                 return Value();
               });
  addPerformer(addTextualWatermarkOverlayToMovieAtPathWithCompressionPresetData,
               [this](const Arguments& a) {
                 writer_.addTextualWatermarkOverlayToMovieAtPathWithCompressionPresetData(
                     wire::string(a[0]), wire::data(a[1]));
                 return Value();
               });
  addPerformer(addTimecodeBurnToMovieBurnAttributes, [this](const Arguments& a) {
    auto movie = QRLOpenMovieArgument(wire::string(a[0]));
    writer_.addTimecodeBurnToMovie(movie.get(), bytesOf(a[1]));
    return Value();
  });
  addPerformer(addTimecodeBurnToMovieAtPathBurnAttributes, [this](const Arguments& a) {
    writer_.addTimecodeBurnToMovieAtPath(wire::string(a[0]), bytesOf(a[1]));
    return Value();
  });
  addPerformer(addTimecodeBurnToMovieAtPathBurnDictionary, [this](const Arguments& a) {
    if (a[1].dictionary() == nullptr)
      throw Exception::parse("the burn dictionary must be a dictionary");
    writer_.addTimecodeBurnToMovieAtPath(wire::string(a[0]), a[1]);
    return Value();
  });
  addPerformer(addTextualOverlayToMovieAtPathWithTextOverlay, [this](const Arguments& a) {
    writer_.addTextualOverlayToMovieAtPath(wire::string(a[0]), textOverlayOf(a[1]));
    return Value();
  });
  addPerformer(addTimecodeOverlayToMovieAtPathWithStartingTimecodeFrameRateTimecodeOverlayData,
               [this](const Arguments& a) {
                 writer_.addTimecodeOverlayToMovieAtPath(
                     wire::string(a[0]), wire::string(a[1]), rateOf(a[2]),
                     holderOf(wire::timecodeOverlayHolder(a[3])));
                 return Value();
               });
  addPerformer(
      addQuicktimeTimecodeOverlayToVideoAtPathStartTimcodeWithBurnAttributeWrapperConformingToVideoFrameRate,
      [this](const Arguments& a) {
        return Value(writer_.addQuicktimeTimecodeOverlayToVideoAtPath(
            wire::string(a[0]), wire::string(a[1]), holderOf(wire::burnAttributeWrapper(a[2])),
            rateOf(a[3])));
      });
  addPerformer(addImageOverlayToMovieAtPathWithImageOverlay, [this](const Arguments& a) {
    writer_.addImageOverlayToMovieAtPath(wire::string(a[0]), imageOverlayOf(a[1]));
    return Value();
  });
  addPerformer(beginningTimecodeForQuicktimeVideoAtPath, [this](const Arguments& a) {
    return wire::encode(writer_.beginningTimecodeForQuicktimeVideoAtPath(wire::string(a[0])));
  });
}

}  // namespace qrl
