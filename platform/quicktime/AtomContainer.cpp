#include "platform/quicktime/AtomContainer.h"

#include <algorithm>
#include <limits>
#include <unordered_set>

#include "platform/base/Exception.h"
#include "platform/quicktime/FourCC.h"

namespace qrl::quicktime {

namespace {

constexpr QTAtomType kRootType = fourCC("sean");
constexpr int kMaxChildren = std::numeric_limits<int16_t>::max();

uint32_t get32(std::span<const uint8_t> b, size_t at) {
  return (uint32_t{b[at]} << 24) | (uint32_t{b[at + 1]} << 16) | (uint32_t{b[at + 2]} << 8) |
         b[at + 3];
}

void put32(std::vector<uint8_t>& b, size_t at, uint32_t v) {
  for (size_t i = 0; i < 4; ++i)
    b[at + i] = static_cast<uint8_t>(v >> (24 - 8 * i));
}

void put16(std::vector<uint8_t>& b, size_t at, uint16_t v) {
  b[at] = static_cast<uint8_t>(v >> 8);
  b[at + 1] = static_cast<uint8_t>(v);
}

[[noreturn]] void fail(const std::string& what) {
  throw Exception::parse("atom container: " + what);
}

}  // namespace

AtomContainer::AtomContainer() : AtomContainer(std::vector<uint8_t>(kHeaderSize, 0)) {}

AtomContainer::AtomContainer(std::vector<uint8_t> canonical) : bytes_(std::move(canonical)) {
  if (bytes_.size() == kHeaderSize) {
    // The empty container: a root 'sean', ID 1, without children.
    bytes_.resize(kHeaderSize + kAtomHeaderSize, 0);
    put32(bytes_, kHeaderSize, kAtomHeaderSize);
    put32(bytes_, kHeaderSize + 4, kRootType);
    put32(bytes_, kHeaderSize + 8, 1);
  }
  index();
}

AtomContainer AtomContainer::read(std::span<const uint8_t> bytes) {
  if (bytes.size() > kMaxBytes) {
    fail(std::to_string(bytes.size()) + " bytes, more than the " + std::to_string(kMaxBytes) +
         " a container may hold");
  }
  std::vector<uint8_t> canonical;
  if (bytes.size() >= kHeaderSize + kAtomHeaderSize && get32(bytes, kHeaderSize + 4) == kRootType) {
    canonical.assign(bytes.begin(), bytes.end());
  } else if (bytes.size() >= kAtomHeaderSize && get32(bytes, 4) == kRootType) {
    // A bare root atom: give it the header the toolbox keeps in front of it.
    canonical.assign(kHeaderSize, 0);
    canonical.insert(canonical.end(), bytes.begin(), bytes.end());
  } else if (bytes.size() < kAtomHeaderSize) {
    fail(std::to_string(bytes.size()) + " bytes are too few for a root atom");
  } else {
    fail("no root atom 'sean' at offset 0 or 12");
  }
  return AtomContainer(std::move(canonical));
}

std::string AtomContainer::describe(const Node& node) const {
  return quoted(node.type) + " at offset " + std::to_string(node.offset);
}

void AtomContainer::index() {
  std::vector<Node> nodes;
  std::span<const uint8_t> b = bytes_;
  const size_t rootSize = get32(b, kHeaderSize);
  const size_t available = b.size() - kHeaderSize;
  if (rootSize < kAtomHeaderSize || rootSize > available) {
    fail("the root atom 'sean' declares size " + std::to_string(rootSize) + " but " +
         std::to_string(available) + " bytes follow the header");
  }
  if (rootSize < available) {
    fail(std::to_string(available - rootSize) + " bytes follow the root atom");
  }
  uint16_t rootCount = static_cast<uint16_t>((b[kHeaderSize + 14] << 8) | b[kHeaderSize + 15]);
  nodes.push_back({static_cast<uint32_t>(kHeaderSize), static_cast<uint32_t>(rootSize), kRootType,
                   static_cast<QTAtomID>(get32(b, kHeaderSize + 8)), rootCount, -1, -1, -1, 0});
  if (rootCount == 0 && rootSize > kAtomHeaderSize) {
    fail("the root atom 'sean' holds " + std::to_string(rootSize - kAtomHeaderSize) +
         " bytes of data; it may hold only atoms");
  }

  // One frame per parent being read; no recursion, so nesting costs no stack.
  struct Frame {
    int32_t node;
    size_t pos, end;
    int remaining;
    int32_t lastChild;
  };
  std::vector<Frame> stack;
  if (rootCount > 0)
    stack.push_back({0, kHeaderSize + kAtomHeaderSize, kHeaderSize + rootSize, rootCount, -1});
  while (!stack.empty()) {
    Frame& f = stack.back();
    const Node parent = nodes[static_cast<size_t>(f.node)];
    if (f.remaining == 0) {
      if (f.pos != f.end) {
        fail("atom " + describe(parent) + " holds " + std::to_string(f.end - f.pos) +
             " bytes after its " + std::to_string(parent.childCount) +
             " children; an atom with children holds nothing else");
      }
      stack.pop_back();
      continue;
    }
    const size_t left = f.end - f.pos;
    if (left == 0) {
      fail("atom " + describe(parent) + " declares " + std::to_string(parent.childCount) +
           " children but holds " + std::to_string(parent.childCount - f.remaining));
    }
    if (left < kAtomHeaderSize) {
      fail("child " + std::to_string(parent.childCount - f.remaining + 1) + " of atom " +
           describe(parent) + " at offset " + std::to_string(f.pos) + " needs a " +
           std::to_string(kAtomHeaderSize) + "-byte header but " + std::to_string(left) +
           " bytes remain");
    }
    Node child{static_cast<uint32_t>(f.pos),
               get32(b, f.pos),
               get32(b, f.pos + 4),
               static_cast<QTAtomID>(get32(b, f.pos + 8)),
               static_cast<uint16_t>((b[f.pos + 14] << 8) | b[f.pos + 15]),
               f.node,
               -1,
               -1,
               parent.depth + 1};
    if (child.size < kAtomHeaderSize) {
      fail("atom " + describe(child) + " declares size " + std::to_string(child.size) +
           ", less than its 20-byte header");
    }
    if (child.size > left) {
      fail("atom " + describe(child) + " declares size " + std::to_string(child.size) +
           " but its parent " + describe(parent) + " has only " + std::to_string(left) +
           " bytes left");
    }
    if (child.childCount > kMaxChildren) {
      fail("atom " + describe(child) + " declares " + std::to_string(child.childCount) +
           " children, more than " + std::to_string(kMaxChildren));
    }
    if (child.depth > kMaxDepth) {
      fail("atom " + describe(child) + " is nested deeper than " + std::to_string(kMaxDepth) +
           " levels");
    }
    auto childIndex = static_cast<int32_t>(nodes.size());
    if (f.lastChild < 0) {
      nodes[static_cast<size_t>(f.node)].firstChild = childIndex;
    } else {
      nodes[static_cast<size_t>(f.lastChild)].nextSibling = childIndex;
    }
    f.lastChild = childIndex;
    f.pos += child.size;
    --f.remaining;
    nodes.push_back(child);
    if (child.childCount > 0) {
      // f is not used after this: the push may move it.
      stack.push_back({childIndex, child.offset + kAtomHeaderSize,
                       size_t{child.offset} + child.size, child.childCount, -1});
    }
  }
  nodes_ = std::move(nodes);
}

int32_t AtomContainer::nodeIndex(QTAtom atom) const {
  if (atom == kParentAtomIsContainer)
    return 0;
  if (atom < 0)
    return -1;
  auto it = std::lower_bound(nodes_.begin(), nodes_.end(), static_cast<uint32_t>(atom),
                             [](const Node& n, uint32_t offset) { return n.offset < offset; });
  if (it == nodes_.end() || it->offset != static_cast<uint32_t>(atom))
    return -1;
  return static_cast<int32_t>(it - nodes_.begin());
}

QTAtomType AtomContainer::type(QTAtom atom) const {
  int32_t n = nodeIndex(atom);
  return n < 0 ? 0 : nodes_[static_cast<size_t>(n)].type;
}

QTAtomID AtomContainer::id(QTAtom atom) const {
  int32_t n = nodeIndex(atom);
  return n < 0 ? 0 : nodes_[static_cast<size_t>(n)].id;
}

int AtomContainer::childCount(QTAtom atom) const {
  int32_t n = nodeIndex(atom);
  return n < 0 ? 0 : nodes_[static_cast<size_t>(n)].childCount;
}

QTAtom AtomContainer::parent(QTAtom atom) const {
  int32_t n = nodeIndex(atom);
  if (n <= 0 || nodes_[static_cast<size_t>(n)].parent <= 0)
    return kParentAtomIsContainer;
  return static_cast<QTAtom>(
      nodes_[static_cast<size_t>(nodes_[static_cast<size_t>(n)].parent)].offset);
}

bool AtomContainer::leafData(QTAtom atom, std::span<const uint8_t>& data) const {
  int32_t n = nodeIndex(atom);
  if (n <= 0)
    return false;
  const Node& node = nodes_[static_cast<size_t>(n)];
  if (node.childCount != 0)
    return false;
  data = std::span<const uint8_t>(bytes_).subspan(node.offset + kAtomHeaderSize,
                                                  node.size - kAtomHeaderSize);
  return true;
}

QTAtom AtomContainer::nextChild(QTAtom parentAtom, QTAtom previous) const {
  int32_t n = nodeIndex(parentAtom);
  if (n < 0)
    return 0;
  int32_t c = nodes_[static_cast<size_t>(n)].firstChild;
  if (previous != 0) {
    int32_t p = nodeIndex(previous);
    if (p <= 0 || nodes_[static_cast<size_t>(p)].parent != n)
      return 0;
    c = nodes_[static_cast<size_t>(p)].nextSibling;
  }
  return c < 0 ? 0 : static_cast<QTAtom>(nodes_[static_cast<size_t>(c)].offset);
}

QTAtomType AtomContainer::nextChildType(QTAtom parentAtom, QTAtomType previous) const {
  int32_t n = nodeIndex(parentAtom);
  if (n < 0)
    return 0;
  std::unordered_set<QTAtomType> seen;
  bool previousPassed = previous == 0;
  for (int32_t c = nodes_[static_cast<size_t>(n)].firstChild; c >= 0;
       c = nodes_[static_cast<size_t>(c)].nextSibling) {
    QTAtomType t = nodes_[static_cast<size_t>(c)].type;
    // Type 0 ends the sequence, so such children are passed over.
    if (t == 0 || !seen.insert(t).second)
      continue;
    if (previousPassed)
      return t;
    previousPassed = t == previous;
  }
  return 0;
}

int AtomContainer::countChildrenOfType(QTAtom parentAtom, QTAtomType childType) const {
  int32_t n = nodeIndex(parentAtom);
  if (n < 0)
    return 0;
  int count = 0;
  for (int32_t c = nodes_[static_cast<size_t>(n)].firstChild; c >= 0;
       c = nodes_[static_cast<size_t>(c)].nextSibling) {
    if (childType == 0 || nodes_[static_cast<size_t>(c)].type == childType)
      ++count;
  }
  return count;
}

QTAtom AtomContainer::findChildByIndex(QTAtom parentAtom, QTAtomType childType, int wanted) const {
  int32_t n = nodeIndex(parentAtom);
  if (n < 0 || wanted < 1)
    return 0;
  int seen = 0;
  for (int32_t c = nodes_[static_cast<size_t>(n)].firstChild; c >= 0;
       c = nodes_[static_cast<size_t>(c)].nextSibling) {
    const Node& child = nodes_[static_cast<size_t>(c)];
    if (child.type == childType && ++seen == wanted)
      return static_cast<QTAtom>(child.offset);
  }
  return 0;
}

QTAtom AtomContainer::findChildByID(QTAtom parentAtom, QTAtomType childType,
                                    QTAtomID wanted) const {
  int32_t n = nodeIndex(parentAtom);
  if (n < 0)
    return 0;
  for (int32_t c = nodes_[static_cast<size_t>(n)].firstChild; c >= 0;
       c = nodes_[static_cast<size_t>(c)].nextSibling) {
    const Node& child = nodes_[static_cast<size_t>(c)];
    if (child.type == childType && child.id == wanted)
      return static_cast<QTAtom>(child.offset);
  }
  return 0;
}

AtomContainer::Refusal AtomContainer::refuseInsert(int32_t p, QTAtomType childType,
                                                   QTAtomID childId, int position,
                                                   size_t dataSize) const {
  if (p < 0)
    return {cannotFindAtomErr, "no atom to add a child to"};
  const Node& parentNode = nodes_[static_cast<size_t>(p)];
  if (p > 0 && parentNode.childCount == 0 && parentNode.size > kAtomHeaderSize) {
    return {notLeafAtomErr,
            "atom " + describe(parentNode) + " holds data; it cannot take children"};
  }
  if (childType == 0)
    return {invalidAtomTypeErr, "an atom of type 0 cannot be found by a walk"};
  if (parentNode.depth + 1 > kMaxDepth) {
    return {invalidAtomContainerErr, "a child of " + describe(parentNode) +
                                         " would nest deeper than " + std::to_string(kMaxDepth) +
                                         " levels"};
  }
  if (parentNode.childCount >= kMaxChildren) {
    return {invalidAtomContainerErr, "atom " + describe(parentNode) + " already has " +
                                         std::to_string(kMaxChildren) + " children"};
  }
  if (dataSize > kMaxBytes - kAtomHeaderSize - bytes_.size()) {
    return {invalidAtomContainerErr,
            "the container would grow past " + std::to_string(kMaxBytes) + " bytes"};
  }
  int ofType = 0;
  bool largestIdIsMax = false;
  for (int32_t c = parentNode.firstChild; c >= 0; c = nodes_[static_cast<size_t>(c)].nextSibling) {
    const Node& child = nodes_[static_cast<size_t>(c)];
    if (child.type != childType)
      continue;
    ++ofType;
    if (childId != 0 && child.id == childId) {
      return {duplicateAtomTypeAndIDErr, "atom " + describe(parentNode) + " already has a child " +
                                             quoted(childType) + " with ID " +
                                             std::to_string(childId)};
    }
    largestIdIsMax = largestIdIsMax || child.id == std::numeric_limits<QTAtomID>::max();
  }
  if (childId == 0 && largestIdIsMax) {
    return {duplicateAtomTypeAndIDErr, "no ID is left for another child " + quoted(childType)};
  }
  if (position < 0 || position > ofType + 1) {
    return {atomIndexInvalidErr, "index " + std::to_string(position) + " is not between 0 and " +
                                     std::to_string(ofType + 1)};
  }
  return {};
}

AtomContainer::Refusal AtomContainer::refuseSetData(int32_t n, size_t dataSize) const {
  if (n < 0)
    return {cannotFindAtomErr, "no atom to give data to"};
  if (n == 0)
    return {invalidAtomErr, "the root atom holds only atoms"};
  const Node& node = nodes_[static_cast<size_t>(n)];
  if (node.childCount != 0) {
    return {notLeafAtomErr, "atom " + describe(node) + " has children; it cannot hold data"};
  }
  if (dataSize > node.size - kAtomHeaderSize &&
      dataSize - (node.size - kAtomHeaderSize) > kMaxBytes - bytes_.size()) {
    return {invalidAtomContainerErr,
            "the container would grow past " + std::to_string(kMaxBytes) + " bytes"};
  }
  return {};
}

void AtomContainer::splice(int32_t node, size_t at, size_t removed,
                           std::span<const uint8_t> replacement, int childCountDelta) {
  std::vector<uint8_t> next = bytes_;
  const int64_t delta = static_cast<int64_t>(replacement.size()) - static_cast<int64_t>(removed);
  for (int32_t n = node; n >= 0; n = nodes_[static_cast<size_t>(n)].parent) {
    const Node& grown = nodes_[static_cast<size_t>(n)];
    put32(next, grown.offset, static_cast<uint32_t>(grown.size + delta));
  }
  if (childCountDelta != 0) {
    const Node& parentNode = nodes_[static_cast<size_t>(node)];
    put16(next, parentNode.offset + 14,
          static_cast<uint16_t>(parentNode.childCount + childCountDelta));
  }
  auto where = next.begin() + static_cast<std::ptrdiff_t>(at);
  where = next.erase(where, where + static_cast<std::ptrdiff_t>(removed));
  next.insert(where, replacement.begin(), replacement.end());
  // Index the new bytes before taking them, so a fault leaves this container as it was.
  AtomContainer checked(std::move(next));
  *this = std::move(checked);
}

QTAtom AtomContainer::insertAllowed(int32_t p, QTAtomType childType, QTAtomID childId, int position,
                                    std::span<const uint8_t> data) {
  const Node& parentNode = nodes_[static_cast<size_t>(p)];
  QTAtomID largest = 0;
  int ofType = 0;
  size_t at = parentNode.offset + parentNode.size;  // appended
  size_t afterLastOfType = at;
  for (int32_t c = parentNode.firstChild; c >= 0; c = nodes_[static_cast<size_t>(c)].nextSibling) {
    const Node& child = nodes_[static_cast<size_t>(c)];
    if (child.type != childType)
      continue;
    ++ofType;
    largest = std::max(largest, child.id);
    if (ofType == position)
      at = child.offset;
    afterLastOfType = child.offset + child.size;
  }
  if (position == ofType + 1)
    at = afterLastOfType;
  if (childId == 0)
    childId = largest + 1;

  std::vector<uint8_t> atom(kAtomHeaderSize, 0);
  put32(atom, 0, static_cast<uint32_t>(kAtomHeaderSize + data.size()));
  put32(atom, 4, childType);
  put32(atom, 8, static_cast<uint32_t>(childId));
  atom.insert(atom.end(), data.begin(), data.end());
  splice(p, at, 0, atom, 1);
  return static_cast<QTAtom>(at);
}

void AtomContainer::setDataAllowed(int32_t n, std::span<const uint8_t> data) {
  const Node& node = nodes_[static_cast<size_t>(n)];
  splice(n, node.offset + kAtomHeaderSize, node.size - kAtomHeaderSize, data, 0);
}

QTAtom AtomContainer::insertChild(QTAtom parentAtom, QTAtomType childType, QTAtomID childId,
                                  int position, std::span<const uint8_t> data) {
  int32_t p = nodeIndex(parentAtom);
  Refusal refusal = refuseInsert(p, childType, childId, position, data.size());
  if (refusal.code == invalidAtomContainerErr)
    throw Exception::range("atom container: " + refusal.message);
  if (refusal.code != noErr)
    fail(refusal.message);
  return insertAllowed(p, childType, childId, position, data);
}

void AtomContainer::setAtomData(QTAtom atom, std::span<const uint8_t> data) {
  int32_t n = nodeIndex(atom);
  Refusal refusal = refuseSetData(n, data.size());
  if (refusal.code == invalidAtomContainerErr)
    throw Exception::range("atom container: " + refusal.message);
  if (refusal.code != noErr)
    fail(refusal.message);
  setDataAllowed(n, data);
}

OSErr AtomContainer::tryInsertChild(QTAtom parentAtom, QTAtomType childType, QTAtomID childId,
                                    int position, std::span<const uint8_t> data, QTAtom* newAtom) {
  int32_t p = nodeIndex(parentAtom);
  Refusal refusal = refuseInsert(p, childType, childId, position, data.size());
  if (refusal.code != noErr)
    return refusal.code;
  QTAtom atom = insertAllowed(p, childType, childId, position, data);
  if (newAtom != nullptr)
    *newAtom = atom;
  return noErr;
}

OSErr AtomContainer::trySetAtomData(QTAtom atom, std::span<const uint8_t> data) {
  int32_t n = nodeIndex(atom);
  Refusal refusal = refuseSetData(n, data.size());
  if (refusal.code != noErr)
    return refusal.code;
  setDataAllowed(n, data);
  return noErr;
}

OSErr QTGetAtomDataPtr(const AtomContainer& container, QTAtom atom, int32_t* dataSize,
                       const uint8_t** atomData) {
  std::span<const uint8_t> data;
  if (!container.leafData(atom, data)) {
    if (atom == kParentAtomIsContainer)
      return invalidAtomErr;
    return container.isAtom(atom) ? notLeafAtomErr : cannotFindAtomErr;
  }
  if (dataSize != nullptr)
    *dataSize = static_cast<int32_t>(data.size());
  if (atomData != nullptr)
    *atomData = data.data();
  return noErr;
}

QTAtomType QTGetNextChildType(const AtomContainer& container, QTAtom parentAtom,
                              QTAtomType currentChildType) {
  return container.nextChildType(parentAtom, currentChildType);
}

int16_t QTCountChildrenOfType(const AtomContainer& container, QTAtom parentAtom,
                              QTAtomType childType) {
  return static_cast<int16_t>(container.countChildrenOfType(parentAtom, childType));
}

QTAtom QTFindChildByIndex(const AtomContainer& container, QTAtom parentAtom, QTAtomType atomType,
                          int16_t index, QTAtomID* id) {
  QTAtom atom = container.findChildByIndex(parentAtom, atomType, index);
  if (atom != 0 && id != nullptr)
    *id = container.id(atom);
  return atom;
}

QTAtom QTFindChildByID(const AtomContainer& container, QTAtom parentAtom, QTAtomType atomType,
                       QTAtomID id) {
  return container.findChildByID(parentAtom, atomType, id);
}

OSErr QTInsertChild(AtomContainer& container, QTAtom parentAtom, QTAtomType atomType, QTAtomID id,
                    int16_t index, int32_t dataSize, const void* data, QTAtom* newAtom) {
  if (dataSize < 0 || (dataSize > 0 && data == nullptr))
    return invalidAtomErr;
  std::span<const uint8_t> bytes(static_cast<const uint8_t*>(data), static_cast<size_t>(dataSize));
  return container.tryInsertChild(parentAtom, atomType, id, index, bytes, newAtom);
}

OSErr QTSetAtomData(AtomContainer& container, QTAtom atom, int32_t dataSize, const void* atomData) {
  if (dataSize < 0 || (dataSize > 0 && atomData == nullptr))
    return invalidAtomErr;
  std::span<const uint8_t> bytes(static_cast<const uint8_t*>(atomData),
                                 static_cast<size_t>(dataSize));
  return container.trySetAtomData(atom, bytes);
}

}  // namespace qrl::quicktime
