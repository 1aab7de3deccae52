#include "conduit/QRLQTOverlayWriterService.h"

#include <cstdint>
#include <memory>

#include "movie/QRLOverlayChecks.h"
#include "platform/base/Exception.h"
#include "platform/graphics/ImageDecoder.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/Movie.h"
#include "records/QRLQTTimecodeBurnAttributeWrapper.h"
#include "records/QRLRecordClasses.h"

namespace qrl {

using archive::Value;

namespace {

// The movie at a path, or none when it does not open (a nil movie). The
// writer makes it editable and saves it itself; a burn that stops half way
// must not be saved, so nothing here saves on its behalf.
std::unique_ptr<quicktime::Movie> openMovie(const Value& path) {
  try {
    return quicktime::Movie::open(*path.string());
  } catch (const Exception& e) {
    process::SystemLog::write(*path.string() + ": not opened as a movie: " + e.what());
    return nullptr;
  }
}

const Value::Dictionary& dictionaryOf(const Value& value, std::string_view what) {
  const Value::Dictionary* dictionary = value.dictionary();
  if (dictionary == nullptr)
    throw Exception::parse(std::string(what) + " must be a dictionary");
  return *dictionary;
}

const archive::Data& dataOf(const Value& value, std::string_view what) {
  const archive::Data* data = value.data();
  if (data == nullptr)
    throw Exception::parse(std::string(what) + " must be image-file data");
  return *data;
}

// A number field; a missing one reads as `absent`, as an unset accessor does.
double number(const Value& container, std::string_view key, double absent) {
  const Value* value = container.find(key);
  if (value == nullptr || value->isNull())
    return absent;
  if (auto i = value->integer())
    return static_cast<double>(*i);
  if (auto r = value->real())
    return *r;
  throw Exception::parse("field '" + std::string(key) + "' must be a number");
}

int32_t int32Field(const Value& container, std::string_view key) {
  double n = number(container, key, 0);
  if (!(n >= INT32_MIN && n <= INT32_MAX))
    throw Exception::parse("field '" + std::string(key) + "' is out of range");
  return static_cast<int32_t>(n);
}

bool booleanField(const Value& container, std::string_view key) {
  const Value* value = container.find(key);
  if (value == nullptr || value->isNull())
    return false;
  if (auto b = value->boolean())
    return *b;
  throw Exception::parse("field '" + std::string(key) + "' must be a boolean");
}

graphics::Color colorOf(const Value& value, std::string_view what) {
  dictionaryOf(value, what);
  for (std::string_view key : {"red", "green", "blue"}) {
    if (value.find(key) == nullptr)
      throw Exception::parse(std::string(what) + " has no '" + std::string(key) + "'");
  }
  return graphics::Color::colorWithCalibratedRed(number(value, "red", 0), number(value, "green", 0),
                                                 number(value, "blue", 0),
                                                 number(value, "alpha", 1));
}

std::optional<graphics::Color> optionalColor(const Value& container, std::string_view key) {
  const Value* value = container.find(key);
  if (value == nullptr || value->isNull())
    return std::nullopt;
  return colorOf(*value, "field '" + std::string(key) + "'");
}

Point pointOf(const Value& value) {
  return {static_cast<float>(number(value, "x", 0)), static_cast<float>(number(value, "y", 0))};
}

Size sizeOf(const Value& value) {
  return {static_cast<float>(number(value, "width", 0)),
          static_cast<float>(number(value, "height", 0))};
}

QRLTextOverlay textOverlayOf(const Value& value) {
  dictionaryOf(value, "the text overlay");
  QRLTextOverlay overlay;
  if (const Value* text = value.find("text"); text != nullptr && !text->isNull()) {
    if (text->string() == nullptr)
      throw Exception::parse("field 'text' must be a string");
    overlay.text = *text->string();
  }
  overlay.xCoordinate = int32Field(value, "xCoordinate");
  overlay.yCoordinate = int32Field(value, "yCoordinate");
  overlay.includeBackgroundColor = booleanField(value, "includeBackgroundColor");
  overlay.backgroundColor = optionalColor(value, "backgroundColor");
  overlay.textColor = optionalColor(value, "textColor");
  overlay.fontSize = int32Field(value, "fontSize");
  return overlay;
}

QRLImageOverlay imageOverlayOf(const Value& value) {
  dictionaryOf(value, "the image overlay");
  QRLImageOverlay overlay;
  if (const Value* image = value.find("watermarkImage"); image != nullptr && !image->isNull())
    overlay.watermarkImage = dataOf(*image, "field 'watermarkImage'");
  overlay.xCoordinate = int32Field(value, "xCoordinate");
  overlay.yCoordinate = int32Field(value, "yCoordinate");
  overlay.width = int32Field(value, "width");
  overlay.height = int32Field(value, "height");
  return overlay;
}

QRLBurnAttributeHolder burnAttributeHolderOf(const Value& value) {
  dictionaryOf(value, "the timecode overlay data");
  QRLBurnAttributeHolder holder;
  const Value* embedded = value.find("embeddedTimecodeOverlay");
  if (embedded == nullptr || embedded->isNull())
    return holder;
  dictionaryOf(*embedded, "field 'embeddedTimecodeOverlay'");
  QRLEmbeddedTimecodeOverlay& o = holder.embeddedTimecodeOverlay;
  o.xCoordinate = int32Field(*embedded, "xCoordinate");
  o.yCoordinate = int32Field(*embedded, "yCoordinate");
  o.width = int32Field(*embedded, "width");
  o.height = int32Field(*embedded, "height");
  o.includeBackgroundColor = booleanField(*embedded, "includeBackgroundColor");
  o.backgroundColor = optionalColor(*embedded, "backgroundColor");
  o.textColor = optionalColor(*embedded, "textColor");
  o.fontSize = int32Field(*embedded, "fontSize");
  return holder;
}

// The burn attribute argument of the QuickTime timecode overlay: a holder
// dictionary with `embeddedTimecodeOverlay`, or a burn record as its keyed
// archive or attribute dictionary. A record has no box size, so its strip is
// placed at the burn origin with a box of zero size; its letterbox colour is
// the strip's background.
QRLBurnAttributeHolder burnWrapperOf(const Value& value) {
  std::shared_ptr<const QRLQTTimecodeBurnAttributeWrapper> record;
  if (const archive::Data* data = value.data()) {
    record = unarchiveRecord<QRLQTTimecodeBurnAttributeWrapper>(*data);
    if (!record)
      throw Exception::parse("the burn attribute wrapper archive holds no burn record");
  } else {
    dictionaryOf(value, "the burn attribute wrapper");
    if (value.find("embeddedTimecodeOverlay") != nullptr)
      return burnAttributeHolderOf(value);
    record = std::make_shared<QRLQTTimecodeBurnAttributeWrapper>(value);
  }
  QRLBurnAttributeHolder holder;
  QRLEmbeddedTimecodeOverlay& o = holder.embeddedTimecodeOverlay;
  o.xCoordinate = static_cast<int32_t>(record->burnOrigin().x);
  o.yCoordinate = static_cast<int32_t>(record->burnOrigin().y);
  o.fontSize = record->fontSize();
  o.textColor = overlay::fromArchive(record->fontColor());
  o.backgroundColor = overlay::fromArchive(record->letterboxBackgroundColor());
  return holder;
}

QRLVideoFrameRate rateOf(const Value& value) {
  return static_cast<QRLVideoFrameRate>(*value.integer());
}

}  // namespace

QRLQTOverlayWriterService::QRLQTOverlayWriterService() {
  addPerformer("overlayWatermarkImage:intoMovie:atLocation:", [this](const Arguments& a) {
    const archive::Data& data = dataOf(a[0], "the watermark image");
    auto image = graphics::ImageDecoder::tryDecode(data);
    if (!image) {
      process::SystemLog::write(*a[1].string() + ": the watermark image does not decode");
      return Value();
    }
    auto movie = openMovie(a[1]);
    writer_.overlayWatermarkImage(*image, movie.get(), pointOf(a[2]));
    return Value();
  });
  addPerformer("overlayWatermarkImage:intoMovieAtPath:atLocation:", [this](const Arguments& a) {
    writer_.overlayWatermarkImage(dataOf(a[0], "the watermark image"), *a[1].string(),
                                  pointOf(a[2]));
    return Value();
  });
  addPerformer("overlayWatermarkImage:intoMovieAtPath:atLocation:withSize:",
               [this](const Arguments& a) {
                 writer_.overlayWatermarkImage(dataOf(a[0], "the watermark image"), *a[1].string(),
                                               pointOf(a[2]), sizeOf(a[3]));
                 return Value();
               });
  addPerformer("overlayTextualMessage:intoMovie:atLocation:withFontSize:andColor:",
               [this](const Arguments& a) {
                 writer_.overlayTextualMessage(*a[0].string(), *a[1].string(), pointOf(a[2]),
                                               static_cast<int32_t>(*a[3].integer()),
                                               colorOf(a[4], "the colour"));
                 return Value();
               });
  addPerformer("addTextualWatermarkOverlayToMovieAtPath:overlayAttributes:",
               [this](const Arguments& a) {
                 writer_.addTextualWatermarkOverlayToMovieAtPathOverlayAttributes(*a[0].string(),
                                                                                  *a[1].data());
                 return Value();
               });
  addPerformer("addTextualWatermarkOverlayToMovieAtPath:withCompressionPresetData:",
               [this](const Arguments& a) {
                 writer_.addTextualWatermarkOverlayToMovieAtPathWithCompressionPresetData(
                     *a[0].string(), *a[1].data());
                 return Value();
               });
  addPerformer("addTimecodeBurnToMovie:burnAttributes:", [this](const Arguments& a) {
    auto movie = openMovie(a[0]);
    writer_.addTimecodeBurnToMovie(movie.get(), std::span<const uint8_t>(*a[1].data()));
    return Value();
  });
  addPerformer("addTimecodeBurnToMovieAtPath:burnAttributes:", [this](const Arguments& a) {
    writer_.addTimecodeBurnToMovieAtPath(*a[0].string(), std::span<const uint8_t>(*a[1].data()));
    return Value();
  });
  addPerformer("addTimecodeBurnToMovieAtPath:burnDictionary:", [this](const Arguments& a) {
    dictionaryOf(a[1], "the burn dictionary");
    writer_.addTimecodeBurnToMovieAtPath(*a[0].string(), a[1]);
    return Value();
  });
  addPerformer("addTextualOverlayToMovieAtPath:withTextOverlay:", [this](const Arguments& a) {
    writer_.addTextualOverlayToMovieAtPath(*a[0].string(), textOverlayOf(a[1]));
    return Value();
  });
  addPerformer(
      "addTimecodeOverlayToMovieAtPath:withStartingTimecode:frameRate:timecodeOverlayData:",
      [this](const Arguments& a) {
        writer_.addTimecodeOverlayToMovieAtPath(*a[0].string(), *a[1].string(), rateOf(a[2]),
                                                burnAttributeHolderOf(a[3]));
        return Value();
      });
  addPerformer(
      "addQuicktimeTimecodeOverlayToVideoAtPath:startTimcode:withBurnAttributeWrapper:"
      "conformingToVideoFrameRate:",
      [this](const Arguments& a) {
        return Value(writer_.addQuicktimeTimecodeOverlayToVideoAtPath(
            *a[0].string(), *a[1].string(), burnWrapperOf(a[2]), rateOf(a[3])));
      });
  addPerformer("addImageOverlayToMovieAtPath:withImageOverlay:", [this](const Arguments& a) {
    writer_.addImageOverlayToMovieAtPath(*a[0].string(), imageOverlayOf(a[1]));
    return Value();
  });
  addPerformer("beginningTimecodeForQuicktimeVideoAtPath:", [this](const Arguments& a) {
    auto timecode = writer_.beginningTimecodeForQuicktimeVideoAtPath(*a[0].string());
    return timecode ? Value(*timecode) : Value();
  });
}

}  // namespace qrl
