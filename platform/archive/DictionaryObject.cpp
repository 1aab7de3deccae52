#include "platform/archive/DictionaryObject.h"

#include "platform/archive/KeyedArchiver.h"

namespace qrl::archive {
namespace {
constexpr std::string_view kChain[] = {"NSDictionary", "NSObject"};
}  // namespace

ObjectPtr DictionaryObject::find(std::string_view key) const {
  for (const auto& [k, v] : entries_) {
    const Value* plain = k ? k->plainValue() : nullptr;
    if (plain != nullptr && plain->string() != nullptr && *plain->string() == key)
      return v;
  }
  return nullptr;
}

std::span<const std::string_view> DictionaryObject::classChain() const {
  return kChain;
}

void DictionaryObject::encodeWithCoder(KeyedArchiver& coder) const {
  std::vector<ObjectPtr> keys, values;
  keys.reserve(entries_.size());
  values.reserve(entries_.size());
  for (const auto& [k, v] : entries_) {
    keys.push_back(k);
    values.push_back(v);
  }
  coder.encodeObjects(keys, "NS.keys");
  coder.encodeObjects(values, "NS.objects");
}

}  // namespace qrl::archive
