#pragma once

#include <vector>

#include "platform/archive/Object.h"

namespace qrl::archive {

// NSArray (and NSMutableArray, which decodes to the same): its members in
// order. A member that could not be decoded is null.
class ArrayObject final : public Object {
 public:
  ArrayObject() = default;
  explicit ArrayObject(std::vector<ObjectPtr> objects) : objects_(std::move(objects)) {}

  const std::vector<ObjectPtr>& objects() const { return objects_; }

  std::span<const std::string_view> classChain() const override;
  void encodeWithCoder(KeyedArchiver& coder) const override;

 private:
  std::vector<ObjectPtr> objects_;
};

}  // namespace qrl::archive
