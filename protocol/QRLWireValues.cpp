#include "protocol/QRLWireValues.h"

#include <limits>
#include <memory>

#include "platform/base/Exception.h"
#include "protocol/QRLFieldReader.h"
#include "records/QRLQTTimecodeBurnAttributeWrapper.h"
#include "records/QRLRecordClasses.h"

namespace qrl::wire {

using archive::Value;

namespace {

constexpr int64_t kInt32Min = std::numeric_limits<int32_t>::min();
constexpr int64_t kInt32Max = std::numeric_limits<int32_t>::max();

[[noreturn]] void unchecked(std::string_view expected) {
  throw Exception::internal("an argument reached its performer unchecked: expected " +
                            std::string(expected));
}

std::optional<QRLColorComponents> optionalColor(const QRLFieldReader& fields,
                                                std::string_view key) {
  const Value* found = fields.find(key);
  if (found == nullptr)
    return std::nullopt;
  return color(*found, "field '" + std::string(key) + "'");
}

void putColor(Value::Dictionary& into, std::string_view key,
              const std::optional<QRLColorComponents>& color) {
  if (color)
    into[std::string(key)] = encode(*color);
}

// The accessors a text and a timecode overlay share: where the text starts,
// its size and colours.
template <typename Overlay>
void readTextStyle(const QRLFieldReader& fields, Overlay& o) {
  o.xCoordinate = fields.int32("xCoordinate");
  o.yCoordinate = fields.int32("yCoordinate");
  o.includeBackgroundColor = fields.boolean("includeBackgroundColor");
  o.backgroundColor = optionalColor(fields, "backgroundColor");
  o.textColor = optionalColor(fields, "textColor");
  o.fontSize = fields.int32("fontSize");
}

template <typename Overlay>
Value::Dictionary textStyleDictionary(const Overlay& o) {
  Value::Dictionary d{{"xCoordinate", Value(o.xCoordinate)},
                      {"yCoordinate", Value(o.yCoordinate)},
                      {"includeBackgroundColor", Value(o.includeBackgroundColor)},
                      {"fontSize", Value(o.fontSize)}};
  putColor(d, "backgroundColor", o.backgroundColor);
  putColor(d, "textColor", o.textColor);
  return d;
}

QRLColorComponents fromArchive(const archive::Color& color) {
  return {color.red(), color.green(), color.blue(), color.alpha()};
}

const Value::Array& arrayOf(const Value& value, const std::string& what) {
  if (const Value::Array* array = value.array())
    return *array;
  throw Exception::parse(what + " must be an array");
}

}  // namespace

const std::string& string(const Value& value) {
  if (const std::string* s = value.string())
    return *s;
  unchecked("a string");
}

const archive::Data& data(const Value& value) {
  if (const archive::Data* d = value.data())
    return *d;
  unchecked("data");
}

bool boolean(const Value& value) {
  if (auto b = value.boolean())
    return *b;
  unchecked("a boolean");
}

int64_t integer(const Value& value) {
  if (auto i = value.integer())
    return *i;
  unchecked("an integer");
}

Value encode(Point point) {
  return Value::Dictionary{{"x", Value(point.x)}, {"y", Value(point.y)}};
}

Point point(const Value& value) {
  QRLFieldReader fields(value, "the point");
  return {static_cast<float>(fields.requiredNumber("x")),
          static_cast<float>(fields.requiredNumber("y"))};
}

Value encode(Size size) {
  return Value::Dictionary{{"width", Value(size.width)}, {"height", Value(size.height)}};
}

Size size(const Value& value) {
  QRLFieldReader fields(value, "the size");
  return {static_cast<float>(fields.requiredNumber("width")),
          static_cast<float>(fields.requiredNumber("height"))};
}

Value encode(const QRLTimeCodeDef& d) {
  return Value::Dictionary{{"flags", Value(d.flags)},
                           {"timeScale", Value(d.fTimeScale)},
                           {"frameDuration", Value(d.frameDuration)},
                           {"numFrames", Value(static_cast<int64_t>(d.numFrames))}};
}

QRLTimeCodeDef timeCodeDef(const Value& value) {
  QRLFieldReader fields(value, "the timecode definition");
  QRLTimeCodeDef d;
  d.flags = static_cast<int32_t>(fields.requiredWholeNumber("flags", kInt32Min, kInt32Max));
  d.fTimeScale =
      static_cast<int32_t>(fields.requiredWholeNumber("timeScale", kInt32Min, kInt32Max));
  d.frameDuration =
      static_cast<int32_t>(fields.requiredWholeNumber("frameDuration", kInt32Min, kInt32Max));
  d.numFrames = static_cast<uint8_t>(fields.requiredWholeNumber("numFrames", 0, 255));
  return d;
}

Value encode(const QRLTrackReference& track) {
  return Value::Dictionary{{"path", Value(track.moviePath)},
                           {"index", Value(static_cast<int64_t>(track.index))}};
}

QRLTrackReference track(const Value& value) {
  QRLFieldReader fields(value, "the track");
  QRLTrackReference track;
  track.moviePath = fields.requiredString("path");
  // Counted from 1; a real number is not an index.
  const Value* index = fields.find("index");
  if (index == nullptr)
    throw Exception::parse("the track has no 'index'");
  if (!index->integer())
    throw Exception::parse("field 'index' must be an integer");
  track.index = static_cast<int32_t>(fields.requiredWholeNumber("index", 1, kInt32Max));
  return track;
}

Value encode(const QRLColorComponents& color) {
  return Value::Dictionary{{"red", Value(color.red)},
                           {"green", Value(color.green)},
                           {"blue", Value(color.blue)},
                           {"alpha", Value(color.alpha)}};
}

QRLColorComponents color(const Value& value, const std::string& what) {
  QRLFieldReader fields(value, what);
  return {fields.requiredNumber("red"), fields.requiredNumber("green"),
          fields.requiredNumber("blue"), fields.number("alpha", 1)};
}

Value encode(const QRLTextOverlayDescription& o) {
  Value::Dictionary d = textStyleDictionary(o);
  if (o.text)
    d["text"] = *o.text;
  return d;
}

QRLTextOverlayDescription textOverlay(const Value& value) {
  QRLFieldReader fields(value, "the text overlay");
  QRLTextOverlayDescription o;
  o.text = fields.string("text");
  readTextStyle(fields, o);
  return o;
}

Value encode(const QRLImageOverlayDescription& o) {
  return Value::Dictionary{{"watermarkImage", Value(o.watermarkImage)},
                           {"xCoordinate", Value(o.xCoordinate)},
                           {"yCoordinate", Value(o.yCoordinate)},
                           {"width", Value(o.width)},
                           {"height", Value(o.height)}};
}

QRLImageOverlayDescription imageOverlay(const Value& value) {
  QRLFieldReader fields(value, "the image overlay");
  QRLImageOverlayDescription o;
  o.watermarkImage = fields.data("watermarkImage", "image-file data").value_or(archive::Data{});
  o.xCoordinate = fields.int32("xCoordinate");
  o.yCoordinate = fields.int32("yCoordinate");
  o.width = fields.int32("width");
  o.height = fields.int32("height");
  return o;
}

Value encodeHolder(const QRLTimecodeOverlayDescription& o) {
  Value::Dictionary d = textStyleDictionary(o);
  d["width"] = o.width;
  d["height"] = o.height;
  return Value::Dictionary{{"embeddedTimecodeOverlay", Value(std::move(d))}};
}

QRLTimecodeOverlayDescription timecodeOverlayHolder(const Value& value) {
  QRLFieldReader holder(value, "the timecode overlay data");
  QRLTimecodeOverlayDescription o;
  const Value* embedded = holder.find("embeddedTimecodeOverlay");
  if (embedded == nullptr)
    return o;
  QRLFieldReader fields(*embedded, "field 'embeddedTimecodeOverlay'");
  readTextStyle(fields, o);
  o.width = fields.int32("width");
  o.height = fields.int32("height");
  return o;
}

QRLTimecodeOverlayDescription burnAttributeWrapper(const Value& value) {
  std::shared_ptr<const QRLQTTimecodeBurnAttributeWrapper> record;
  if (const archive::Data* archived = value.data()) {
    record = unarchiveRecord<QRLQTTimecodeBurnAttributeWrapper>(*archived);
    if (!record)
      throw Exception::parse("the burn attribute wrapper archive holds no burn record");
  } else {
    QRLFieldReader fields(value, "the burn attribute wrapper");
    if (fields.value().find("embeddedTimecodeOverlay") != nullptr)
      return timecodeOverlayHolder(value);
    record = std::make_shared<QRLQTTimecodeBurnAttributeWrapper>(value);
  }
  QRLTimecodeOverlayDescription o;
  o.xCoordinate = static_cast<int32_t>(record->burnOrigin().x);
  o.yCoordinate = static_cast<int32_t>(record->burnOrigin().y);
  o.fontSize = record->fontSize();
  if (record->fontColor())
    o.textColor = fromArchive(*record->fontColor());
  if (record->letterboxBackgroundColor())
    o.backgroundColor = fromArchive(*record->letterboxBackgroundColor());
  return o;
}

const archive::Data& imageData(const Value& value, const std::string& what) {
  if (const archive::Data* d = value.data())
    return *d;
  throw Exception::parse(what + " must be image-file data");
}

Value encode(const std::vector<std::string>& strings) {
  return Value(Value::Array(strings.begin(), strings.end()));
}

std::vector<std::string> strings(const Value& value, const std::string& what) {
  const Value::Array* array = value.array();
  if (array == nullptr)
    throw Exception::parse(what + " must be an array of strings");
  std::vector<std::string> result;
  for (const auto& item : *array) {
    if (!item.string())
      throw Exception::parse(what + " must hold only strings");
    result.push_back(*item.string());
  }
  return result;
}

Value encode(const std::vector<archive::Data>& blobs) {
  return Value(Value::Array(blobs.begin(), blobs.end()));
}

std::vector<archive::Data> dataArray(const Value& value, const std::string& what) {
  std::vector<archive::Data> blobs;
  for (const auto& item : arrayOf(value, what)) {
    if (!item.data())
      throw Exception::parse(what + " must hold only data");
    blobs.push_back(*item.data());
  }
  return blobs;
}

std::vector<QRLTimecodeDetailsWrapper> timecodeDetails(const Value& value) {
  std::vector<QRLTimecodeDetailsWrapper> records;
  for (const auto& item : arrayOf(value, "timecode details")) {
    if (const archive::Data* archived = item.data()) {
      auto record = unarchiveRecord<QRLTimecodeDetailsWrapper>(*archived);
      if (!record)
        throw Exception::parse("a timecode details archive is unreadable");
      records.push_back(*record);
    } else if (item.dictionary()) {
      records.push_back(QRLTimecodeDetailsWrapper::wrapperFromDictionary(item));
    } else {
      throw Exception::parse("timecode details must be archives or dictionaries");
    }
  }
  return records;
}

Value encode(const std::optional<std::string>& text) {
  return text ? Value(*text) : Value();
}

std::optional<std::string> optionalString(const Value& value) {
  if (const std::string* s = value.string())
    return *s;
  return std::nullopt;
}

}  // namespace qrl::wire
