#pragma once

#include <array>
#include <memory>

#include "platform/quicktime/FullAtom.h"
#include "platform/quicktime/Matrix.h"

namespace qrl::quicktime {

// 'mvhd': the movie's time scale, duration, matrix and next track ID.
// Version 1 widens the dates and the duration to 64 bits.
class MovieHeaderAtom : public FullAtom {
 public:
  struct Fields {
    uint64_t creationTime = 0;      // seconds since 1904
    uint64_t modificationTime = 0;  // seconds since 1904
    uint32_t timeScale = 600;
    uint64_t duration = 0;            // movie time scale
    int32_t preferredRate = 0x10000;  // 16.16
    int16_t preferredVolume = 0x100;  // 8.8
    std::array<uint8_t, 10> reserved{};
    Matrix matrix;
    uint32_t previewTime = 0, previewDuration = 0, posterTime = 0;
    uint32_t selectionTime = 0, selectionDuration = 0, currentTime = 0;
    uint32_t nextTrackID = 1;
  };

  explicit MovieHeaderAtom(uint8_t version = 0) : FullAtom(kType, version, 0) {}
  static constexpr uint32_t kType = 0x6d766864;  // mvhd
  static std::unique_ptr<MovieHeaderAtom> parse(ByteReader& in);

  const Fields& fields() const { return fields_; }
  void setFields(const Fields& fields) { fields_ = fields; }

 protected:
  uint64_t fieldsSize() const override { return version() == 1 ? 108 : 96; }
  void writeFields(ByteWriter& out) const override;

 private:
  Fields fields_;
};

}  // namespace qrl::quicktime
