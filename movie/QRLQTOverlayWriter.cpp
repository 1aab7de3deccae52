#include "movie/QRLQTOverlayWriter.h"

#include <memory>

#include "movie/QRLOverlayChecks.h"
#include "platform/archive/KeyedUnarchiver.h"
#include "platform/base/Exception.h"
#include "platform/graphics/ImageDecoder.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/Movie.h"
#include "records/QRLQTTimecodeBurnAttributeWrapper.h"
#include "records/QRLRecordClasses.h"

namespace qrl {

using overlay::fromArchive;
using overlay::log;
using overlay::openMovie;
using quicktime::Movie;

void QRLQTOverlayWriter::overlayWatermarkImage(const graphics::Image& image, Movie* intoMovie,
                                               Point atLocation) {
  if (intoMovie == nullptr)
    return;
  try {
    intoMovie->setEditable(true);
    const quicktime::Size current = intoMovie->currentSize();
    if (!overlay::hasPicture(*intoMovie) || !overlay::isInside(*intoMovie, atLocation))
      return;
    const Size size{static_cast<float>(current.width), static_cast<float>(current.height)};
    auto* track = QRLQTImageLayer::layer()->addBlankTrackIntoMovie(intoMovie, size, {0, 0});
    if (track == nullptr)
      return;
    graphics::Image canvas(static_cast<int>(size.width), static_cast<int>(size.height));
    canvas.drawImage(image, atLocation, Rect{}, graphics::CompositingOperation::SourceOver, 1.0);
    QRLQTImageLayer::addImage(*track, canvas, intoMovie->duration());
    intoMovie->updateMovieFile();
  } catch (const Exception& e) {
    log(intoMovie->path().string() + ": the watermark was not added: " + e.what());
  }
}

void QRLQTOverlayWriter::overlayWatermarkImage(std::span<const uint8_t> image,
                                               const std::string& intoMovieAtPath,
                                               Point atLocation) {
  auto movie = openMovie(intoMovieAtPath);
  auto picture = overlay::decodeImage(image, intoMovieAtPath);
  if (movie && picture)
    overlayWatermarkImage(*picture, movie.get(), atLocation);
}

void QRLQTOverlayWriter::overlayWatermarkImage(std::span<const uint8_t> image,
                                               const std::string& intoMovieAtPath, Point atLocation,
                                               Size withSize) {
  auto movie = openMovie(intoMovieAtPath);
  auto picture = overlay::decodeImage(image, intoMovieAtPath);
  if (!movie || !picture)
    return;
  const int width = static_cast<int>(withSize.width);
  const int height = static_cast<int>(withSize.height);
  if (!(withSize.width >= 1 && withSize.height >= 1) ||
      width > graphics::Image::kMaximumDimension || height > graphics::Image::kMaximumDimension) {
    log(intoMovieAtPath + ": the watermark size " + std::to_string(withSize.width) + " x " +
        std::to_string(withSize.height) + " is not a picture size");
    return;
  }
  overlayWatermarkImage(picture->scaledTo(width, height), movie.get(), atLocation);
}

void QRLQTOverlayWriter::addImageOverlayToMovieAtPath(const std::string& path,
                                                      const QRLImageOverlay& withImageOverlay) {
  overlayWatermarkImage(
      withImageOverlay.watermarkImage, path,
      {static_cast<float>(withImageOverlay.xCoordinate),
       static_cast<float>(withImageOverlay.yCoordinate)},
      {static_cast<float>(withImageOverlay.width), static_cast<float>(withImageOverlay.height)});
}

void QRLQTOverlayWriter::overlayTextualMessage(const std::string& message,
                                               const std::string& intoMovie, Point atLocation,
                                               int32_t withFontSize,
                                               const graphics::Color& textColor,
                                               std::optional<graphics::Color> andBackgroundColor) {
  auto movie = openMovie(intoMovie);
  if (!movie || !overlay::isUsableFontSize(withFontSize, intoMovie) ||
      !overlay::hasPicture(*movie)) {
    return;
  }
  const quicktime::Size current = movie->currentSize();
  try {
    graphics::Image text = QRLQTImageLayer::layer()->imageFromString(
        message, {static_cast<float>(current.width), static_cast<float>(current.height)}, {0, 0},
        withFontSize, textColor, andBackgroundColor);
    overlayWatermarkImage(text, movie.get(), atLocation);
    if (movie->hasChanges())
      movie->updateMovieFile();
  } catch (const Exception& e) {
    log(intoMovie + ": the text was not added: " + e.what());
  }
}

void QRLQTOverlayWriter::overlayTextualMessage(const std::string& message,
                                               const std::string& intoMovie, Point atLocation,
                                               int32_t withFontSize,
                                               const graphics::Color& andColor) {
  overlayTextualMessage(message, intoMovie, atLocation, withFontSize, andColor, std::nullopt);
}

void QRLQTOverlayWriter::addTextualOverlayToMovieAtPath(const std::string& path,
                                                        const QRLTextOverlay& withTextOverlay) {
  const std::string text = withTextOverlay.text.value_or("Text");
  std::optional<graphics::Color> background;
  if (withTextOverlay.includeBackgroundColor)
    background = withTextOverlay.backgroundColor;
  overlayTextualMessage(text, path,
                        {static_cast<float>(withTextOverlay.xCoordinate),
                         static_cast<float>(withTextOverlay.yCoordinate)},
                        withTextOverlay.fontSize,
                        withTextOverlay.textColor.value_or(graphics::Color::blackColor()),
                        background);
}

void QRLQTOverlayWriter::addTextualWatermarkOverlayToMovieAtPathOverlayAttributes(
    const std::string& path, std::span<const uint8_t> overlayAttributes) {
  auto record = unarchiveRecord<QRLQTTimecodeBurnAttributeWrapper>(overlayAttributes);
  if (!record) {
    log(path + ": the overlay attributes are not an archived burn attribute record");
    return;
  }
  overlayTextualMessage(record->startTimecode().value_or(""), path,
                        {record->burnOrigin().x, record->burnOrigin().y}, record->fontSize(),
                        fromArchive(record->fontColor()).value_or(graphics::Color::blackColor()));
}

void QRLQTOverlayWriter::addTextualWatermarkOverlayToMovieAtPathWithCompressionPresetData(
    const std::string& /*path*/, std::span<const uint8_t> withCompressionPresetData) {
  archive::ObjectPtr preset = archive::KeyedUnarchiver::unarchiveObjectWithData(
      withCompressionPresetData, recordClassRegistry());
  process::SystemLog::write(overlay::description(preset));
}

}  // namespace qrl
