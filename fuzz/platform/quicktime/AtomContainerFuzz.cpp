// Feeds arbitrary bytes to the atom-container reader and does what its users
// do next: walk every atom through the toolbox calls, write the container and
// read it back, then edit it. Bad input must end in qrl::Exception, never a
// crash; a container that reads must write back byte for byte.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "platform/base/Exception.h"
#include "platform/quicktime/AtomContainer.h"
#include "platform/quicktime/FourCC.h"

namespace {

using namespace qrl::quicktime;

// Visits every atom; returns the first leaf found (0 when none).
QTAtom walk(const AtomContainer& c, QTAtom parent, int& visited) {
  QTAtom leaf = 0;
  for (QTAtomType t = QTGetNextChildType(c, parent, 0); t != 0;
       t = QTGetNextChildType(c, parent, t)) {
    int16_t count = QTCountChildrenOfType(c, parent, t);
    for (int16_t i = 1; i <= count; ++i) {
      QTAtomID id = 0;
      QTAtom child = QTFindChildByIndex(c, parent, t, i, &id);
      if (child == 0 || QTFindChildByID(c, parent, t, id) == 0)
        std::abort();
      ++visited;
      int32_t size = 0;
      const uint8_t* data = nullptr;
      if (QTGetAtomDataPtr(c, child, &size, &data) == noErr && leaf == 0)
        leaf = child;
      QTAtom below = walk(c, child, visited);
      if (leaf == 0)
        leaf = below;
    }
  }
  return leaf;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    AtomContainer c = AtomContainer::read({data, size});
    int visited = 0;
    QTAtom leaf = walk(c, kParentAtomIsContainer, visited);
    AtomContainer again = AtomContainer::read(c.bytes());
    if (!std::equal(again.bytes().begin(), again.bytes().end(), c.bytes().begin(), c.bytes().end()))
      std::abort();
    const uint8_t word[4] = {1, 2, 3, 4};
    if (leaf != 0)
      QTSetAtomData(c, leaf, 4, word);
    OSErr inserted =
        QTInsertChild(c, kParentAtomIsContainer, fourCC("fuzz"), 0, 0, 4, word, nullptr);
    int after = 0;
    walk(c, kParentAtomIsContainer, after);
    if (after != visited + (inserted == noErr ? 1 : 0))
      std::abort();
  } catch (const qrl::Exception&) {
    // Expected for bad input.
  }
  return 0;
}
