#include "xmeml/QRLFCP7XmlExporter32.h"

#include <charconv>
#include <filesystem>

#include "platform/base/Exception.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "timecode/QRLTimecodeUtility.h"
#include "xmeml/FileURL.h"
#include "xmeml/QRLXmlUtility.h"

namespace qrl {

namespace {

XmlElement leaf(std::string_view name, std::string text) {
  return QRLXmlUtility::createElementWithName(name, nullptr, nullptr, std::move(text));
}

// The last component of a path, trailing slashes ignored ("/a/b/" gives "b",
// "/" gives "/").
std::string lastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/')
    path.remove_suffix(1);
  if (path == "/")
    return "/";
  size_t slash = path.rfind('/');
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

// The path without its last component ("clip.mov" gives "", "/clip.mov" gives "/").
std::string deletingLastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/')
    path.remove_suffix(1);
  size_t slash = path.rfind('/');
  if (slash == std::string_view::npos)
    return "";
  if (slash == 0)
    return "/";
  return std::string(path.substr(0, slash));
}

std::string deletingPathExtension(const std::string& name) {
  return std::filesystem::path(name).stem().string();
}

}  // namespace

QRLFCP7XmlExporter32::QRLFCP7XmlExporter32()
    : sevenXmlDocument_(std::make_shared<QRLFCP7XmlDocument>()) {}

std::string QRLFCP7XmlExporter32::createXmlValueStringForObject(
    const archive::Value* object) const {
  if (object == nullptr || object->string() == nullptr)
    return "";
  return *object->string();
}

archive::Value::Dictionary QRLFCP7XmlExporter32::timecodeDictionary(
    const std::optional<std::string>& timecode, const std::optional<std::string>& withStartingFrame,
    bool dropFrame, const std::optional<std::string>& source,
    const std::optional<std::string>& andReel) const {
  archive::Value::Dictionary d;
  if (!timecode)
    return d;
  d.emplace(QRLFCP7DocumentTimecodeKey, *timecode);
  if (!withStartingFrame)
    return d;
  d.emplace(QRLFCP7DocumentTimecodeFramesKey, *withStartingFrame);
  d.emplace(QRLFCP7DocumentDropFrameKey, dropFrame ? "DF" : "NDF");
  if (!source)
    return d;
  d.emplace(QRLFCP7DocumentTimecodeSourceKey, *source);
  if (!andReel)
    return d;
  d.emplace(QRLFCP7DocumentReelNameKey, *andReel);
  return d;
}

XmlElement QRLFCP7XmlExporter32::timecodeElementFromDictionary(
    const archive::Value::Dictionary& dictionary) const {
  auto text = [&](std::string_view key) {
    auto it = dictionary.find(key);
    return createXmlValueStringForObject(it == dictionary.end() ? nullptr : &it->second);
  };
  XmlElement timecode("timecode");
  timecode.addChild(leaf("string", text(QRLFCP7DocumentTimecodeKey)));
  timecode.addChild(leaf("frame", text(QRLFCP7DocumentTimecodeFramesKey)));
  timecode.addChild(leaf("displayformat", text(QRLFCP7DocumentDropFrameKey)));
  timecode.addChild(leaf("source", text(QRLFCP7DocumentTimecodeSourceKey)));
  XmlElement reel("reel");
  reel.addChild(leaf("name", text(QRLFCP7DocumentReelNameKey)));
  timecode.addChild(std::move(reel));
  return timecode;
}

XmlElement QRLFCP7XmlExporter32::rateElementFromDictionary(
    const archive::Value::Dictionary& dictionary) const {
  auto text = [&](std::string_view key) {
    auto it = dictionary.find(key);
    return createXmlValueStringForObject(it == dictionary.end() ? nullptr : &it->second);
  };
  XmlElement rate("rate");
  rate.addChild(leaf("ntsc", text(QRLFCP7DocumentNTSCKeyRate)));
  rate.addChild(leaf("timebase", text(QRLFCP7DocumentTimebaseKeyRate)));
  return rate;
}

XmlElement QRLFCP7XmlExporter32::mediaChildElement(std::string_view name,
                                                   const archive::Value::Array* withCharacteristics,
                                                   const archive::Value::Array* andValues) const {
  XmlElement element(name);
  XmlElement characteristics("samplecharacteristics");
  if (withCharacteristics != nullptr && andValues != nullptr && !withCharacteristics->empty() &&
      withCharacteristics->size() == andValues->size()) {
    for (size_t i = 0; i < withCharacteristics->size(); ++i) {
      const std::string* key = (*withCharacteristics)[i].string();
      const std::string* value = (*andValues)[i].string();
      if (key != nullptr && value != nullptr)
        characteristics.addChild(leaf(*key, *value));
    }
  }
  element.addChild(std::move(characteristics));
  return element;
}

XmlElement QRLFCP7XmlExporter32::audioMediaElementwithSampleRate(
    std::string_view sampleRate, std::string_view depth, std::string_view layout,
    std::string_view andChannelCount) const {
  archive::Value::Array names{"samplerate", "depth"};
  archive::Value::Array values{sampleRate, depth};
  XmlElement audio = mediaChildElement("audio", &names, &values);
  audio.addChild(leaf("layout", std::string(layout)));
  audio.addChild(leaf("channelcount", std::string(andChannelCount)));
  return audio;
}

std::string QRLFCP7XmlExporter32::sampleRateText(double sampleRate) {
  char buffer[64];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, static_cast<float>(sampleRate));
  std::string text(buffer, result.ptr);
  std::erase(text, '.');
  return text;
}

std::optional<XmlElement> QRLFCP7XmlExporter32::clipElementForQuickTimeFile(
    const std::string& path, const std::optional<std::string>& withTimecode,
    QRLVideoFrameRate andFrameRateDefinition) const {
  const std::string fileName = lastPathComponent(path);
  std::unique_ptr<quicktime::Movie> movie;
  try {
    movie = quicktime::Movie::open(path);
  } catch (const Exception&) {
    return std::nullopt;
  }
  const int64_t duration = movie->duration().value;

  XmlElement clip("clip");
  clip.addAttribute("id", deletingPathExtension(fileName));
  clip.addChild(leaf("name", fileName));
  clip.addChild(leaf("duration", std::to_string(duration)));

  const QRLTimecodeUtility& timecodes = QRLTimecodeUtility::sharedInstance();
  const QRLVideoFrameRate code = andFrameRateDefinition;
  bool ntsc = QRLTimecodeUtility::videoFrameRateIsNTSC(code);
  std::optional<int32_t> timeBase = sevenXmlDocument_->timeBaseForFrameRate(
      QRLTimecodeUtility::stringRateForVideoFrameRate(code));
  if (timeBase)
    clip.addChild(rateElementFromDictionary(sevenXmlDocument_->rateDictionary(ntsc, *timeBase)));

  std::string in = "0";
  std::string out = std::to_string(duration);
  std::optional<XmlElement> timecodeElement;
  if (withTimecode && timecodes.timecodeIsValid(*withTimecode)) {
    bool drop = QRLTimecodeUtility::videoFrameRateIsDropFrame(code);
    int32_t startFrame = timecodes.framesRepresentedByTimecode(*withTimecode, code);
    // 32-bit sum of a frame count and time-scale units, wrapping as it always has.
    auto end = static_cast<int32_t>(static_cast<uint32_t>(startFrame) +
                                    static_cast<uint32_t>(static_cast<int32_t>(duration)));
    in = std::to_string(startFrame);
    out = std::to_string(end);
    timecodeElement = timecodeElementFromDictionary(timecodeDictionary(
        *withTimecode, in, drop, fileName, lastPathComponent(deletingLastPathComponent(path))));
  }
  clip.addChild(leaf("in", in));
  clip.addChild(leaf("out", out));

  XmlElement file("file");
  file.addAttribute("id", fileName);
  file.addChild(leaf("pathurl", fileURLString(path)));
  if (timecodeElement)
    file.addChild(std::move(*timecodeElement));

  XmlElement media("media");
  for (size_t i = movie->tracksOfMediaType(quicktime::kMediaTypeVideo).size(); i > 0; --i)
    media.addChild(mediaChildElement("video", nullptr, nullptr));
  for (const quicktime::Track* track : movie->tracksOfMediaType(quicktime::kMediaTypeSound)) {
    const auto& descriptions = track->media().sampleDescriptions();
    if (descriptions.empty() || !descriptions.front().sound)
      continue;
    const auto& sound = *descriptions.front().sound;
    media.addChild(audioMediaElementwithSampleRate(sampleRateText(sound.sampleRate), "16",
                                                   sound.channels < 2 ? "mono" : "stereo",
                                                   std::to_string(sound.channels)));
  }
  file.addChild(std::move(media));
  clip.addChild(std::move(file));
  return clip;
}

}  // namespace qrl
