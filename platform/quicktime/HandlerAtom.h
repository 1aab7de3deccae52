#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'hdlr': names the handler of a media ('mhlr' + media type) or of its data
// ('dhlr' + data reference type). The name is kept as stored: a counted string
// in QuickTime files, a NUL-terminated one in ISO files.
class HandlerAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x68646c72;  // hdlr

  HandlerAtom() : FullAtom(kType, 0, 0) {}
  static std::unique_ptr<HandlerAtom> parse(ByteReader& in);
  // A QuickTime handler with a counted name.
  static std::unique_ptr<HandlerAtom> make(uint32_t componentType, uint32_t subtype,
                                           const std::string& name);

  uint32_t componentType() const { return componentType_; }
  uint32_t componentSubtype() const { return subtype_; }
  // The name without its count byte or terminator.
  std::string name() const;

 protected:
  uint64_t fieldsSize() const override { return 20 + rawName_.size(); }
  void writeFields(ByteWriter& out) const override;

 private:
  uint32_t componentType_ = 0;
  uint32_t subtype_ = 0;
  uint32_t manufacturer_ = 0;
  uint32_t componentFlags_ = 0;
  uint32_t componentFlagsMask_ = 0;
  std::vector<uint8_t> rawName_;
};

}  // namespace qrl::quicktime
