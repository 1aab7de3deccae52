#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "platform/archive/Object.h"

namespace qrl::archive {

// NSDictionary (and NSMutableDictionary): key and value objects in archive order.
class DictionaryObject final : public Object {
 public:
  using Entry = std::pair<ObjectPtr, ObjectPtr>;

  DictionaryObject() = default;
  explicit DictionaryObject(std::vector<Entry> entries) : entries_(std::move(entries)) {}

  const std::vector<Entry>& entries() const { return entries_; }

  // The value whose key is the string `key`, or null.
  ObjectPtr find(std::string_view key) const;

  std::span<const std::string_view> classChain() const override;
  void encodeWithCoder(KeyedArchiver& coder) const override;

 private:
  std::vector<Entry> entries_;
};

}  // namespace qrl::archive
