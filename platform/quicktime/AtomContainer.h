#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qrl::quicktime {

// Names and codes of the toolbox's atom-container calls.
using QTAtom = int32_t;       // an atom's header offset in the container; 0 names the root
using QTAtomType = uint32_t;  // four-character code, as stored (big-endian)
using QTAtomID = int32_t;
using OSErr = int16_t;

inline constexpr QTAtom kParentAtomIsContainer = 0;

inline constexpr OSErr noErr = 0;
inline constexpr OSErr cannotFindAtomErr = -2101;
inline constexpr OSErr notLeafAtomErr = -2102;
inline constexpr OSErr atomIndexInvalidErr = -2104;
inline constexpr OSErr duplicateAtomTypeAndIDErr = -2105;
inline constexpr OSErr invalidAtomErr = -2106;
inline constexpr OSErr invalidAtomContainerErr = -2107;
inline constexpr OSErr invalidAtomTypeErr = -2108;

// A QuickTime atom container: the tree of "QT atoms" that carries export
// settings, input maps and sprites. On disk and in memory it is a 12-byte
// header (10 reserved bytes and a lock count) and a root atom 'sean' (ID 1)
// whose children are the top-level atoms. Every atom has a 20-byte header:
// size (header included), type, ID, 2 reserved bytes, child count, 4 reserved
// bytes. An atom with children holds nothing else; an atom without children
// is a leaf whose remaining bytes are its data (possibly none).
//
// The container keeps its bytes in that layout, as the toolbox's handle does,
// so an atom is named by the offset of its header, a leaf's data is a view
// into the bytes, and writing the container out is handing the bytes over.
// Every way of making one (reading, building) leaves a tree that reads back
// byte for byte.
class AtomContainer {
 public:
  // Atoms nest at most this many levels below the root; real settings use 3.
  static constexpr int kMaxDepth = 64;
  // The largest container read or built.
  static constexpr size_t kMaxBytes = size_t{16} << 20;
  static constexpr size_t kHeaderSize = 12;
  static constexpr size_t kAtomHeaderSize = 20;

  // An empty container: a root with no children.
  AtomContainer();

  // Reads a container that starts with the 12-byte header or directly with
  // the root atom 'sean'. Every size, child count and nesting level is
  // checked against the bytes; the first problem throws a parse Exception
  // naming the atom and its offset. Nothing past the root atom is allowed.
  static AtomContainer read(std::span<const uint8_t> bytes);

  // The whole container, header first.
  std::span<const uint8_t> bytes() const { return bytes_; }

  // --- Walking. `parent` is kParentAtomIsContainer or an atom of this
  // container; an atom that is neither answers like a parent without children.

  bool isAtom(QTAtom atom) const { return nodeIndex(atom) >= 0; }
  QTAtomType type(QTAtom atom) const;
  QTAtomID id(QTAtom atom) const;
  int childCount(QTAtom atom) const;
  // The parent of an atom; kParentAtomIsContainer for top-level atoms.
  QTAtom parent(QTAtom atom) const;

  // A leaf's data: a view into bytes(), valid until the container changes.
  // False for the root, for an atom with children and for what is no atom.
  bool leafData(QTAtom atom, std::span<const uint8_t>& data) const;

  // The child after `previous` in file order, whatever its type: 0 starts,
  // and 0 comes back after the last child.
  QTAtom nextChild(QTAtom parent, QTAtom previous) const;

  // The child types of `parent` in the order each first occurs among its
  // children: 0 starts the sequence, and 0 comes back after the last type
  // (or when `previous` is not a child type of `parent`). Children of type 0,
  // which the sequence cannot name, are passed over.
  QTAtomType nextChildType(QTAtom parent, QTAtomType previous) const;
  // Children of one type; type 0 counts every child.
  int countChildrenOfType(QTAtom parent, QTAtomType type) const;
  // The index'th (from 1) child of the type; 0 when there is none.
  QTAtom findChildByIndex(QTAtom parent, QTAtomType type, int index) const;
  // The child of the type with that ID; 0 when there is none.
  QTAtom findChildByID(QTAtom parent, QTAtomType type, QTAtomID id) const;

  // --- Building. An insertion or a data change moves the atoms after it
  // (their offsets change), as in the toolbox: find them again afterwards.
  // Each call throws a parse Exception (the argument is bad)
  // or a range Exception (the container would grow past its limits) and
  // leaves the container as it was.

  // Adds a child to the root, to a parent, or to a leaf without data (which
  // becomes a parent). `id` 0 picks 1 + the largest ID among the siblings of
  // that type; an ID already used by a sibling of that type is refused.
  // `index` 0 appends; 1 … count + 1 places it before the index'th sibling of
  // that type (count + 1: after the last of them). Type 0 is refused: a walk
  // could not reach it. Returns the new atom.
  QTAtom insertChild(QTAtom parent, QTAtomType type, QTAtomID id, int index,
                     std::span<const uint8_t> data = {});
  // Replaces a leaf's data; refused for the root and for atoms with children.
  void setAtomData(QTAtom atom, std::span<const uint8_t> data);

  // The same two without throwing: the toolbox's code for a refusal
  // (cannotFindAtomErr: no such parent or atom; notLeafAtomErr: the parent
  // holds data, or the atom has children; duplicateAtomTypeAndIDErr;
  // atomIndexInvalidErr; invalidAtomTypeErr: type 0; invalidAtomErr: the
  // root's data; invalidAtomContainerErr: too big or too deep), else noErr.
  OSErr tryInsertChild(QTAtom parent, QTAtomType type, QTAtomID id, int index,
                       std::span<const uint8_t> data, QTAtom* newAtom);
  OSErr trySetAtomData(QTAtom atom, std::span<const uint8_t> data);

 private:
  struct Node {
    uint32_t offset;  // of the atom header in bytes_
    uint32_t size;
    QTAtomType type;
    QTAtomID id;
    uint16_t childCount;
    int32_t parent;       // node index; -1 for the root
    int32_t firstChild;   // node index or -1
    int32_t nextSibling;  // node index or -1
    int32_t depth;        // 0 for the root
  };

  explicit AtomContainer(std::vector<uint8_t> canonical);
  // Rebuilds nodes_ from bytes_, checking everything; throws on the first fault.
  void index();
  // The node of an atom, -1 when `atom` names none; 0 (the root) for kParentAtomIsContainer.
  int32_t nodeIndex(QTAtom atom) const;
  std::string describe(const Node& node) const;
  // Why an insertion or a data change cannot be made, as the toolbox's code
  // and a message; code noErr when it can.
  struct Refusal {
    OSErr code = noErr;
    std::string message;
  };
  Refusal refuseInsert(int32_t parent, QTAtomType type, QTAtomID id, int index,
                       size_t dataSize) const;
  Refusal refuseSetData(int32_t node, size_t dataSize) const;
  QTAtom insertAllowed(int32_t parent, QTAtomType type, QTAtomID id, int index,
                       std::span<const uint8_t> data);
  void setDataAllowed(int32_t node, std::span<const uint8_t> data);
  // Splices `replacement` over [at, at + removed) and grows the sizes of the
  // given node and its ancestors by the difference; then re-indexes.
  void splice(int32_t node, size_t at, size_t removed, std::span<const uint8_t> replacement,
              int childCountDelta);

  std::vector<uint8_t> bytes_;
  std::vector<Node> nodes_;  // in file order: the root first, each parent before its children
};

// The toolbox's calls, over AtomContainer. They answer with codes as the
// toolbox does instead of throwing.

// The data of a leaf: noErr with a pointer into the container and its size,
// or an error code (the root, a parent, or no such atom).
OSErr QTGetAtomDataPtr(const AtomContainer& container, QTAtom atom, int32_t* dataSize,
                       const uint8_t** atomData);
QTAtomType QTGetNextChildType(const AtomContainer& container, QTAtom parentAtom,
                              QTAtomType currentChildType);
int16_t QTCountChildrenOfType(const AtomContainer& container, QTAtom parentAtom,
                              QTAtomType childType);
// The index'th (from 1) child of the type, its ID in *id when id is not null; 0 when none.
QTAtom QTFindChildByIndex(const AtomContainer& container, QTAtom parentAtom, QTAtomType atomType,
                          int16_t index, QTAtomID* id);
QTAtom QTFindChildByID(const AtomContainer& container, QTAtom parentAtom, QTAtomType atomType,
                       QTAtomID id);
OSErr QTInsertChild(AtomContainer& container, QTAtom parentAtom, QTAtomType atomType, QTAtomID id,
                    int16_t index, int32_t dataSize, const void* data, QTAtom* newAtom);
OSErr QTSetAtomData(AtomContainer& container, QTAtom atom, int32_t dataSize, const void* atomData);

}  // namespace qrl::quicktime
