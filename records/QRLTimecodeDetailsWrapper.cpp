#include "records/QRLTimecodeDetailsWrapper.h"

#include <memory>

#include "platform/archive/KeyedArchiver.h"
#include "platform/archive/KeyedUnarchiver.h"
#include "records/QRLAttributeValues.h"

namespace qrl {
namespace {

constexpr std::string_view kChain[] = {"QRLTimecodeDetailsWrapper", "NSObject"};

// Archive keys.
constexpr std::string_view kArchivePath = "filePath";
constexpr std::string_view kArchiveTimecode = "timecode";
constexpr std::string_view kArchiveRate = "rate";
// Dictionary keys.
constexpr std::string_view kDictionaryRate = "frame";
constexpr std::string_view kDictionaryPath = "filePath";
constexpr std::string_view kDictionaryTimecode = "tc";

archive::Value optionalString(const std::optional<std::string>& s) {
  return s ? archive::Value(*s) : archive::Value();
}

}  // namespace

archive::ObjectPtr QRLTimecodeDetailsWrapper::initWithCoder(archive::KeyedUnarchiver& coder) {
  auto record = std::make_shared<QRLTimecodeDetailsWrapper>();
  if (auto path = coder.decodeString(kArchivePath))
    record->sourceFilePath_ = std::move(path);
  if (auto tc = coder.decodeString(kArchiveTimecode))
    record->startTimecode_ = std::move(tc);
  if (auto rate = detail::wholeNumber(coder.decodeValue(kArchiveRate))) {
    record->frameRate_ = static_cast<uint32_t>(*rate);
  }
  return record;
}

void QRLTimecodeDetailsWrapper::encodeWithCoder(archive::KeyedArchiver& coder) const {
  coder.encodeObject(optionalString(sourceFilePath_), kArchivePath);
  coder.encodeObject(optionalString(startTimecode_), kArchiveTimecode);
  coder.encodeObject(archive::Value(frameRate_), kArchiveRate);
}

QRLTimecodeDetailsWrapper QRLTimecodeDetailsWrapper::wrapperFromDictionary(
    const archive::Value& dictionary) {
  QRLTimecodeDetailsWrapper record;
  if (auto rate = detail::unsignedIn(dictionary, kDictionaryRate))
    record.frameRate_ = *rate;
  if (auto path = detail::stringIn(dictionary, kDictionaryPath))
    record.sourceFilePath_ = path;
  if (auto tc = detail::stringIn(dictionary, kDictionaryTimecode))
    record.startTimecode_ = tc;
  return record;
}

archive::Value QRLTimecodeDetailsWrapper::wrapperDictionary() const {
  archive::Value::Dictionary d;
  d.emplace(kDictionaryRate, frameRate_);
  if (sourceFilePath_)
    d.emplace(kDictionaryPath, *sourceFilePath_);
  if (startTimecode_)
    d.emplace(kDictionaryTimecode, *startTimecode_);
  return archive::Value(std::move(d));
}

std::span<const std::string_view> QRLTimecodeDetailsWrapper::classChain() const {
  return kChain;
}

}  // namespace qrl
