#pragma once

#include <memory>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'mdhd': the media's time scale, duration and language.
class MediaHeaderAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x6d646864;  // mdhd

  struct Fields {
    uint64_t creationTime = 0;
    uint64_t modificationTime = 0;
    uint32_t timeScale = 600;
    uint64_t duration = 0;  // media time scale
    uint16_t language = 0;  // Macintosh code below 0x400, else packed ISO 639-2/T
    uint16_t quality = 0;
  };

  explicit MediaHeaderAtom(uint8_t version = 0) : FullAtom(kType, version, 0) {}
  static std::unique_ptr<MediaHeaderAtom> parse(ByteReader& in);

  const Fields& fields() const { return fields_; }
  void setFields(const Fields& fields) { fields_ = fields; }

 protected:
  uint64_t fieldsSize() const override { return version() == 1 ? 32 : 20; }
  void writeFields(ByteWriter& out) const override;

 private:
  Fields fields_;
};

}  // namespace qrl::quicktime
