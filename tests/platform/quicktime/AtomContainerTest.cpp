#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/base/Exception.h"
#include "platform/quicktime/AtomContainer.h"
#include "platform/quicktime/FourCC.h"

namespace qrl::quicktime {
namespace {

using Bytes = std::vector<uint8_t>;

void put32(Bytes& b, uint32_t v) {
  for (int i = 3; i >= 0; --i)
    b.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

// One QT atom as bytes: a leaf holding `data`, or a parent of `children`
// whose declared child count may be made to lie.
Bytes atom(const char (&type)[5], uint32_t id, const Bytes& data, int count = 0) {
  Bytes b;
  put32(b, static_cast<uint32_t>(20 + data.size()));
  put32(b, fourCC(type));
  put32(b, id);
  b.insert(b.end(),
           {0, 0, static_cast<uint8_t>(count >> 8), static_cast<uint8_t>(count), 0, 0, 0, 0});
  b.insert(b.end(), data.begin(), data.end());
  return b;
}

Bytes cat(std::initializer_list<Bytes> parts) {
  Bytes b;
  for (const auto& p : parts)
    b.insert(b.end(), p.begin(), p.end());
  return b;
}

Bytes container(const Bytes& rootChildren, int count) {
  return cat({Bytes(12, 0), atom("sean", 1, rootChildren, count)});
}

std::string readError(const Bytes& bytes) {
  try {
    AtomContainer::read(bytes);
  } catch (const Exception& e) {
    return e.what();
  }
  return "(read without error)";
}

// Types in walk order with their IDs and depth: what a depth-first walk through
// the four walking calls visits.
std::vector<std::string> walk(const AtomContainer& c, QTAtom parent = 0, int depth = 0) {
  std::vector<std::string> seen;
  for (QTAtomType t = QTGetNextChildType(c, parent, 0); t != 0;
       t = QTGetNextChildType(c, parent, t)) {
    for (int16_t i = 1; i <= QTCountChildrenOfType(c, parent, t); ++i) {
      QTAtomID id = 0;
      QTAtom child = QTFindChildByIndex(c, parent, t, i, &id);
      seen.push_back(std::string(static_cast<size_t>(depth) * 2, ' ') + fourCCString(t) + "#" +
                     std::to_string(id));
      auto below = walk(c, child, depth + 1);
      seen.insert(seen.end(), below.begin(), below.end());
    }
  }
  return seen;
}

TEST(AtomContainer, BuiltTreesWalkByTypeThenIndexAndReadBackByteForByte) {
  AtomContainer c;
  const Bytes four{1, 2, 3, 4};
  QTAtom vide = c.insertChild(0, fourCC("vide"), 1, 0);
  c.insertChild(0, fourCC("soun"), 1, 0);
  c.insertChild(0, fourCC("vide"), 0, 0);  // ID picked: 2
  c.insertChild(vide, fourCC("sptl"), 1, 0, four);
  QTAtom inner = c.insertChild(vide, fourCC("vide"), 7, 0);  // the same type one level down
  c.insertChild(inner, fourCC("sptl"), 1, 0, Bytes{9});
  c.insertChild(vide, fourCC("sptl"), 2, 1, Bytes{5});  // before the first 'sptl'
  // Offsets after an insertion move: find the second 'vide' again.
  c.insertChild(c.findChildByID(0, fourCC("vide"), 2), fourCC("drat"), 1, 0);
  // Type order is first occurrence; children of one type in index order.
  EXPECT_EQ(walk(c), (std::vector<std::string>{"vide#1", "  sptl#2", "  sptl#1", "  vide#7",
                                               "    sptl#1", "vide#2", "  drat#1", "soun#1"}));
  EXPECT_EQ(c.nextChildType(0, fourCC("soun")), 0u);
  EXPECT_EQ(c.nextChildType(0, fourCC("none")), 0u);
  EXPECT_EQ(QTCountChildrenOfType(c, 0, 0), 3);  // type 0 counts every child
  EXPECT_EQ(QTFindChildByIndex(c, 0, fourCC("vide"), 3, nullptr), 0);
  EXPECT_EQ(QTFindChildByID(c, 0, fourCC("vide"), 2),
            QTFindChildByIndex(c, 0, fourCC("vide"), 2, nullptr));

  int32_t size = -1;
  const uint8_t* data = nullptr;
  QTAtom sptl = QTFindChildByIndex(c, vide, fourCC("sptl"), 2, nullptr);
  ASSERT_EQ(QTGetAtomDataPtr(c, sptl, &size, &data), noErr);
  EXPECT_EQ(Bytes(data, data + size), four);
  EXPECT_EQ(QTGetAtomDataPtr(c, vide, &size, &data), notLeafAtomErr);
  EXPECT_EQ(QTGetAtomDataPtr(c, kParentAtomIsContainer, &size, &data), invalidAtomErr);
  EXPECT_EQ(QTGetAtomDataPtr(c, 13, &size, &data), cannotFindAtomErr);

  c.setAtomData(sptl, Bytes(40, 7));
  EXPECT_EQ(walk(c).size(), 8u);
  Bytes written(c.bytes().begin(), c.bytes().end());
  AtomContainer again = AtomContainer::read(written);
  EXPECT_EQ(Bytes(again.bytes().begin(), again.bytes().end()), written);
  EXPECT_EQ(walk(again), walk(c));
  std::vector<QTAtomType> fileOrder;
  for (QTAtom a = again.nextChild(0, 0); a != 0; a = again.nextChild(0, a))
    fileOrder.push_back(again.type(a));
  EXPECT_EQ(fileOrder, (std::vector<QTAtomType>{fourCC("vide"), fourCC("soun"), fourCC("vide")}));
  EXPECT_EQ(again.parent(again.findChildByIndex(again.findChildByIndex(0, fourCC("vide"), 1),
                                                fourCC("vide"), 1)),
            again.findChildByIndex(0, fourCC("vide"), 1));
}

TEST(AtomContainer, ABareRootReadsAsTheWholeContainer) {
  Bytes bare = atom("sean", 1, atom("envi", 1, {1}), 1);
  AtomContainer c = AtomContainer::read(bare);
  EXPECT_EQ(c.bytes().size(), bare.size() + 12);
  EXPECT_EQ(Bytes(c.bytes().begin() + 12, c.bytes().end()), bare);
  EXPECT_EQ(walk(c), std::vector<std::string>{"envi#1"});
}

TEST(AtomContainer, BadBytesAreRefusedWithTheAtomAndOffsetNamed) {
  Bytes good = container(cat({atom("vide", 1, atom("sptl", 1, {1, 2, 3, 4}), 1)}), 1);
  auto withWord = [](Bytes b, size_t at, uint32_t v) {
    for (size_t i = 0; i < 4; ++i)
      b[at + i] = static_cast<uint8_t>(v >> (24 - 8 * i));
    return b;
  };
  // 10,000 'nest' atoms, each the only child of the one before, around a leaf.
  Bytes deep;
  for (uint32_t level = 10000; level > 0; --level) {
    Bytes header = atom("nest", 1, {}, 1);
    for (int i = 0; i < 4; ++i)
      header[static_cast<size_t>(i)] = static_cast<uint8_t>((20 * (level + 1)) >> (24 - 8 * i));
    deep.insert(deep.end(), header.begin(), header.end());
  }
  deep = cat({deep, atom("leaf", 1, {})});
  const struct {
    const char* name;
    Bytes bytes;
    std::string message;
  } cases[] = {
      {"empty", {}, "0 bytes are too few"},
      {"not a container", Bytes(40, 'x'), "no root atom 'sean'"},
      {"truncated", Bytes(good.begin(), good.end() - 3), "root atom 'sean' declares size"},
      {"trailing bytes", cat({good, Bytes{0}}), "1 bytes follow the root atom"},
      {"size past its parent", withWord(good, 32, 100),
       "'vide' at offset 32 declares size 100 but its parent 'sean' at offset 12 has only 44"},
      {"size under the header", withWord(good, 52, 12), "less than its 20-byte header"},
      {"more children than it holds", container(atom("vide", 1, atom("sptl", 1, {}), 3), 1),
       "'vide' at offset 32 declares 3 children but holds 1"},
      {"fewer children than it holds",
       container(cat({atom("envi", 1, {}), atom("enso", 1, {})}), 1),
       "holds 20 bytes after its 1 children"},
      {"data beside children", container(atom("vide", 1, cat({atom("sptl", 1, {}), {9, 9}}), 1), 1),
       "'vide' at offset 32 holds 2 bytes after its 1 children"},
      {"a child cut short", container(atom("vide", 1, Bytes{0, 0, 0, 30, 'a'}, 1), 1),
       "needs a 20-byte header but 5 bytes remain"},
      {"root with data", container(Bytes{1, 2}, 0), "root atom 'sean' holds 2 bytes of data"},
      {"10,000 levels", container(deep, 1), "nested deeper than 64 levels"},
  };
  for (const auto& c : cases) {
    EXPECT_NE(readError(c.bytes).find(c.message), std::string::npos)
        << c.name << ": " << readError(c.bytes);
  }
}

TEST(AtomContainer, RefusedEditsLeaveTheContainerAsItWas) {
  AtomContainer c;
  QTAtom vide = c.insertChild(0, fourCC("vide"), 1, 0);
  QTAtom sptl = c.insertChild(vide, fourCC("sptl"), 1, 0, Bytes{1});
  QTAtom empty = c.insertChild(vide, fourCC("clut"), 1, 0);
  const Bytes before(c.bytes().begin(), c.bytes().end());
  const uint8_t byte = 0;
  QTAtom made = 0;
  const struct {
    const char* name;
    OSErr code;
  } cases[] = {
      {"child of a leaf with data",
       QTInsertChild(c, sptl, fourCC("x   "), 1, 0, 0, nullptr, &made)},
      {"data for a parent", QTSetAtomData(c, vide, 1, &byte)},
      {"data for the root", QTSetAtomData(c, 0, 1, &byte)},
      {"same type and ID", QTInsertChild(c, vide, fourCC("sptl"), 1, 0, 0, nullptr, &made)},
      {"index past the end", QTInsertChild(c, vide, fourCC("sptl"), 0, 3, 0, nullptr, &made)},
      {"type 0", QTInsertChild(c, vide, 0, 0, 0, 0, nullptr, &made)},
      {"no such parent", QTInsertChild(c, 14, fourCC("sptl"), 0, 0, 0, nullptr, &made)},
  };
  const OSErr expected[] = {
      notLeafAtomErr,      notLeafAtomErr,     invalidAtomErr,   duplicateAtomTypeAndIDErr,
      atomIndexInvalidErr, invalidAtomTypeErr, cannotFindAtomErr};
  for (size_t i = 0; i < std::size(cases); ++i)
    EXPECT_EQ(cases[i].code, expected[i]) << cases[i].name;
  EXPECT_EQ(Bytes(c.bytes().begin(), c.bytes().end()), before);

  // A leaf without data may become a parent; nesting stops at the reader's limit.
  QTAtom parent = c.insertChild(empty, fourCC("nest"), 1, 0);
  for (int depth = 4; depth <= AtomContainer::kMaxDepth; ++depth)
    parent = c.insertChild(parent, fourCC("nest"), 1, 0);
  EXPECT_THROW(c.insertChild(parent, fourCC("nest"), 1, 0), Exception);
  EXPECT_NO_THROW(AtomContainer::read(Bytes(c.bytes().begin(), c.bytes().end())));
}

}  // namespace
}  // namespace qrl::quicktime
