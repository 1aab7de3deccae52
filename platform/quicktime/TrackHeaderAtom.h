#pragma once

#include <memory>

#include "platform/quicktime/FullAtom.h"
#include "platform/quicktime/Matrix.h"

namespace qrl::quicktime {

// 'tkhd': track ID, enabled flag, layer, size, matrix, volume. The flags word
// holds enabled (bit 0), in movie (1), in preview (2), in poster (3).
class TrackHeaderAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x746b6864;  // tkhd
  static constexpr uint32_t kEnabled = 0x1;
  static constexpr uint32_t kInMovie = 0x2;
  static constexpr uint32_t kInPreview = 0x4;

  struct Fields {
    uint64_t creationTime = 0;
    uint64_t modificationTime = 0;
    uint32_t trackID = 0;
    uint32_t reserved1 = 0;
    uint64_t duration = 0;  // movie time scale
    uint64_t reserved2 = 0;
    int16_t layer = 0;  // lower is in front
    int16_t alternateGroup = 0;
    int16_t volume = 0;  // 8.8
    uint16_t reserved3 = 0;
    Matrix matrix;
    int32_t width = 0;   // 16.16
    int32_t height = 0;  // 16.16
  };

  explicit TrackHeaderAtom(uint8_t version = 0, uint32_t flags = kEnabled | kInMovie)
      : FullAtom(kType, version, flags) {}
  static std::unique_ptr<TrackHeaderAtom> parse(ByteReader& in);

  const Fields& fields() const { return fields_; }
  void setFields(const Fields& fields) { fields_ = fields; }

 protected:
  uint64_t fieldsSize() const override { return version() == 1 ? 92 : 80; }
  void writeFields(ByteWriter& out) const override;

 private:
  Fields fields_;
};

}  // namespace qrl::quicktime
