#pragma once

#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'tcmi' (in minf/gmhd/tmcd): how a timecode track draws its text. The flags
// word carries the show-timecode bit (1) as QuickTime 7 saves it.
class TimeCodeMediaInfoAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x74636d69;  // tcmi

  struct Fields {
    int16_t textFont = 0;
    int16_t textFace = 0;
    int16_t textSize = 12;
    uint16_t reserved = 0;
    std::array<uint16_t, 3> textColor{0, 0, 0};
    std::array<uint16_t, 3> backgroundColor{0xFFFF, 0xFFFF, 0xFFFF};
    std::string fontName = "Lucida Grande";  // stored as a counted string
  };

  TimeCodeMediaInfoAtom() : FullAtom(kType, 0, 0) {}
  static std::unique_ptr<TimeCodeMediaInfoAtom> parse(ByteReader& in);

  const Fields& fields() const { return fields_; }
  void setFields(const Fields& fields) { fields_ = fields; }

 protected:
  uint64_t fieldsSize() const override {
    return 21 + std::min<size_t>(fields_.fontName.size(), 255);
  }
  void writeFields(ByteWriter& out) const override;

 private:
  Fields fields_;
};

}  // namespace qrl::quicktime
