#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/archive/Object.h"
#include "platform/archive/Value.h"

namespace qrl::archive {
class KeyedUnarchiver;
}

namespace qrl {

// A source file with its start timecode and frame-rate code. The archive keys
// ("filePath", "timecode", "rate") and the dictionary keys ("filePath", "tc",
// "frame") differ on purpose; neither form reads the other's.
class QRLTimecodeDetailsWrapper : public archive::Object {
 public:
  // Undefined (10) rather than the engine's default, on purpose.
  static constexpr uint32_t kInitialFrameRate = 10;

  QRLTimecodeDetailsWrapper() = default;

  static archive::ObjectPtr initWithCoder(archive::KeyedUnarchiver& coder);
  static QRLTimecodeDetailsWrapper wrapperFromDictionary(const archive::Value& dictionary);
  archive::Value wrapperDictionary() const;

  std::span<const std::string_view> classChain() const override;
  void encodeWithCoder(archive::KeyedArchiver& coder) const override;

  uint32_t frameRate() const { return frameRate_; }
  void setFrameRate(uint32_t frameRate) { frameRate_ = frameRate; }
  const std::optional<std::string>& sourceFilePath() const { return sourceFilePath_; }
  void setSourceFilePath(std::optional<std::string> path) { sourceFilePath_ = std::move(path); }
  const std::optional<std::string>& startTimecode() const { return startTimecode_; }
  void setStartTimecode(std::optional<std::string> tc) { startTimecode_ = std::move(tc); }

  friend bool operator==(const QRLTimecodeDetailsWrapper& a, const QRLTimecodeDetailsWrapper& b) {
    return a.frameRate_ == b.frameRate_ && a.sourceFilePath_ == b.sourceFilePath_ &&
           a.startTimecode_ == b.startTimecode_;
  }

 private:
  uint32_t frameRate_ = kInitialFrameRate;
  std::optional<std::string> sourceFilePath_;
  std::optional<std::string> startTimecode_;
};

}  // namespace qrl
