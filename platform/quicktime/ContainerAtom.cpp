#include "platform/quicktime/ContainerAtom.h"

#include <algorithm>

namespace qrl::quicktime {

std::unique_ptr<Atom> ContainerAtom::removeChild(const Atom* child) {
  auto it = std::find_if(children_.begin(), children_.end(),
                         [&](const auto& c) { return c.get() == child; });
  if (it == children_.end())
    return nullptr;
  auto removed = std::move(*it);
  children_.erase(it);
  return removed;
}

bool ContainerAtom::replaceChild(const Atom* child, std::unique_ptr<Atom> replacement) {
  for (auto& c : children_) {
    if (c.get() == child) {
      c = std::move(replacement);
      return true;
    }
  }
  return false;
}

void ContainerAtom::insertChild(std::unique_ptr<Atom> child, uint32_t before) {
  auto it = std::find_if(children_.begin(), children_.end(),
                         [&](const auto& c) { return c->type() == before; });
  children_.insert(it, std::move(child));
}

Atom* ContainerAtom::child(uint32_t type) const {
  for (const auto& c : children_) {
    if (c->type() == type)
      return c.get();
  }
  return nullptr;
}

ContainerAtom* ContainerAtom::container(std::initializer_list<uint32_t> path) const {
  // An empty path names no container.
  ContainerAtom* found = nullptr;
  const ContainerAtom* at = this;
  for (uint32_t type : path) {
    found = dynamic_cast<ContainerAtom*>(at->child(type));
    if (found == nullptr)
      return nullptr;
    at = found;
  }
  return found;
}

uint64_t ContainerAtom::payloadSize() const {
  uint64_t total = zeroTerminated_ ? 4 : 0;
  for (const auto& c : children_)
    total += c->size();
  return total;
}

void ContainerAtom::writePayload(ByteWriter& out) const {
  for (const auto& c : children_)
    c->write(out);
  if (zeroTerminated_)
    out.u32(0);
}

}  // namespace qrl::quicktime
