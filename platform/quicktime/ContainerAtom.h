#pragma once

#include <memory>
#include <vector>

#include "platform/quicktime/Atom.h"

namespace qrl::quicktime {

// An atom that holds only other atoms, in file order. Owns its children.
class ContainerAtom : public Atom {
 public:
  explicit ContainerAtom(uint32_t type) : Atom(type) {}

  const std::vector<std::unique_ptr<Atom>>& children() const { return children_; }
  void addChild(std::unique_ptr<Atom> child) { children_.push_back(std::move(child)); }
  // Removes and returns the child; nullptr if it is not a child of this atom.
  std::unique_ptr<Atom> removeChild(const Atom* child);
  // Puts `replacement` where `child` was; false if `child` is not a child of this atom.
  bool replaceChild(const Atom* child, std::unique_ptr<Atom> replacement);
  // Inserts before the first child of type `before`, or at the end when there is none.
  void insertChild(std::unique_ptr<Atom> child, uint32_t before);

  // The first child of the type, or nullptr.
  Atom* child(uint32_t type) const;
  // The first child of the type cast to T, or nullptr when absent or of another class.
  template <typename T>
  T* childAs(uint32_t type) const {
    return dynamic_cast<T*>(child(type));
  }
  // The container reached through a path of container types, or nullptr.
  ContainerAtom* container(std::initializer_list<uint32_t> path) const;

  // User data lists may end with a 32-bit zero; it is kept for rewriting.
  void setZeroTerminated(bool terminated) { zeroTerminated_ = terminated; }
  bool isZeroTerminated() const { return zeroTerminated_; }

  uint64_t payloadSize() const override;
  void writePayload(ByteWriter& out) const override;

 private:
  std::vector<std::unique_ptr<Atom>> children_;
  bool zeroTerminated_ = false;
};

}  // namespace qrl::quicktime
