#include "platform/quicktime/HandlerAtom.h"

#include <algorithm>

namespace qrl::quicktime {

std::unique_ptr<HandlerAtom> HandlerAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<HandlerAtom>();
  atom->readVersionAndFlags(in);
  atom->componentType_ = in.u32();
  atom->subtype_ = in.u32();
  atom->manufacturer_ = in.u32();
  atom->componentFlags_ = in.u32();
  atom->componentFlagsMask_ = in.u32();
  auto rest = in.rest();
  atom->rawName_.assign(rest.begin(), rest.end());
  return atom;
}

std::unique_ptr<HandlerAtom> HandlerAtom::make(uint32_t componentType, uint32_t subtype,
                                               const std::string& name) {
  auto atom = std::make_unique<HandlerAtom>();
  atom->componentType_ = componentType;
  atom->subtype_ = subtype;
  size_t length = std::min<size_t>(name.size(), 255);
  atom->rawName_.push_back(static_cast<uint8_t>(length));
  atom->rawName_.insert(atom->rawName_.end(), name.begin(),
                        name.begin() + static_cast<std::ptrdiff_t>(length));
  return atom;
}

std::string HandlerAtom::name() const {
  if (rawName_.empty())
    return {};
  // A counted string starts with its length, which is never a printable
  // character for names this short; ISO names start with their first letter.
  size_t begin = 0, end = rawName_.size();
  if (rawName_[0] + 1u == rawName_.size() ||
      (rawName_[0] < 0x20 && rawName_[0] < rawName_.size())) {
    begin = 1;
    end = 1 + static_cast<size_t>(rawName_[0]);
  }
  std::string s(rawName_.begin() + static_cast<std::ptrdiff_t>(begin),
                rawName_.begin() + static_cast<std::ptrdiff_t>(end));
  auto nul = s.find('\0');
  if (nul != std::string::npos)
    s.resize(nul);
  return s;
}

void HandlerAtom::writeFields(ByteWriter& out) const {
  out.u32(componentType_);
  out.u32(subtype_);
  out.u32(manufacturer_);
  out.u32(componentFlags_);
  out.u32(componentFlagsMask_);
  out.bytes(rawName_);
}

}  // namespace qrl::quicktime
