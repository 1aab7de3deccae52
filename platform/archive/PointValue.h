#pragma once

#include "platform/archive/Object.h"
#include "platform/base/Point.h"

namespace qrl::archive {

// An NSValue holding a point: "NS.special" 1 and "NS.pointval" → "{x, y}".
class PointValue final : public Object {
 public:
  explicit PointValue(Point point) : point_(point) {}

  Point point() const { return point_; }

  std::span<const std::string_view> classChain() const override;
  void encodeWithCoder(KeyedArchiver& coder) const override;

  static constexpr int64_t kSpecialPoint = 1;

 private:
  Point point_;
};

}  // namespace qrl::archive
