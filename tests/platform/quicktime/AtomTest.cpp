#include <gtest/gtest.h>

#include "platform/base/Exception.h"
#include "platform/quicktime/AtomFactory.h"
#include "platform/quicktime/ByteSource.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/EditListAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/RawAtom.h"
#include "platform/quicktime/SampleSizeAtom.h"
#include "platform/quicktime/SoundFileImporter.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl::quicktime {
namespace {

using testing::TempDir;

std::vector<uint8_t> writeAtom(const Atom& atom) {
  std::vector<uint8_t> bytes;
  ByteWriter out(bytes);
  atom.write(out);
  return bytes;
}

// Every atom in the tree, depth first.
void collect(const Atom& atom, std::vector<const Atom*>& all) {
  all.push_back(&atom);
  if (auto* c = dynamic_cast<const ContainerAtom*>(&atom)) {
    for (const auto& child : c->children())
      collect(*child, all);
  }
}

class AtomRoundTrip : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    testing::makeMovie(*dir_, "tc.mov", "30000/1001", 3, "01:00:00;00");
    testing::makeMovie(*dir_, "iso.mp4", "25", 3, "", "-movflags +faststart");
  }
  static void TearDownTestSuite() { delete dir_; }
  static TempDir* dir_;
};
TempDir* AtomRoundTrip::dir_ = nullptr;

// The movie atom ffmpeg wrote, parsed and written back, is the same bytes,
// and so is every atom inside it: modelled atoms derive their size correctly.
TEST_F(AtomRoundTrip, ParsedMovieAtomsWriteBackByteForByte) {
  for (std::string name : {"tc.mov", "iso.mp4"}) {
    SCOPED_TRACE(name);
    auto movie = Movie::open(*dir_ / name);
    auto bytes = testing::readFile(*dir_ / name);
    const auto& moovPlace =
        *std::find_if(movie->topLevelAtoms().begin(), movie->topLevelAtoms().end(),
                      [](const auto& a) { return a.type == fourCC("moov"); });
    std::vector<uint8_t> original(
        bytes.begin() + static_cast<long>(moovPlace.offset),
        bytes.begin() + static_cast<long>(moovPlace.offset + moovPlace.size));
    EXPECT_EQ(writeAtom(movie->movieAtom()), original);

    std::vector<const Atom*> all;
    collect(movie->movieAtom(), all);
    EXPECT_GT(all.size(), 20u);
    for (const Atom* atom : all) {
      auto written = writeAtom(*atom);
      EXPECT_EQ(written.size(), atom->size()) << fourCCString(atom->type());
      auto reparsed =
          AtomFactory::parseAll(written, atom->type() == fourCC("tcmi") ? fourCC("tmcd") : 0);
      ASSERT_EQ(reparsed.size(), 1u);
      EXPECT_EQ(writeAtom(*reparsed[0]), written) << fourCCString(atom->type());
    }
  }
}

TEST(Atoms, SizeOneAndSizeZeroHeaders) {
  // 'free' with a 64-bit size, then 'skip' running to the end of its container.
  std::vector<uint8_t> bytes = {0,  0, 0, 1, 'f', 'r', 'e', 'e', 0, 0,   0,   0,   0,   0, 0,
                                20, 1, 2, 3, 4,   0,   0,   0,   0, 's', 'k', 'i', 'p', 9, 9};
  auto atoms = AtomFactory::parseAll(bytes);
  ASSERT_EQ(atoms.size(), 2u);
  EXPECT_TRUE(atoms[0]->hasLargeSize());
  EXPECT_EQ(dynamic_cast<RawAtom&>(*atoms[0]).payload(), (std::vector<uint8_t>{1, 2, 3, 4}));
  EXPECT_EQ(dynamic_cast<RawAtom&>(*atoms[1]).payload(), (std::vector<uint8_t>{9, 9}));
  auto again = writeAtom(*atoms[0]);
  EXPECT_EQ(again, std::vector<uint8_t>(bytes.begin(), bytes.begin() + 20));
}

TEST(Atoms, EditedTablesDeriveTheirSize) {
  EditListAtom elst;
  elst.setEntries({{1000, -1, 0x10000}, {2000, 0, 0x10000}});
  EXPECT_EQ(elst.size(), 8u + 4 + 4 + 2 * 12);
  auto bytes = writeAtom(elst);
  auto back = AtomFactory::parseAll(bytes);
  EXPECT_EQ(dynamic_cast<EditListAtom&>(*back[0]).entries(), elst.entries());

  SampleSizeAtom stsz;
  stsz.setSizes({1, 2, 3});
  EXPECT_EQ(writeAtom(stsz).size(), 8u + 4 + 8 + 12);
  stsz.setConstant(4, 1000000);
  EXPECT_EQ(writeAtom(stsz).size(), 8u + 4 + 8);
}

TEST(Atoms, UserDataMayEndWithAZeroWord) {
  std::vector<uint8_t> bytes = {0,   0,   0,   24,  'u', 'd', 't', 'a', 0, 0, 0, 12,
                                'n', 'a', 'm', 'e', 'a', 'b', 'c', 'd', 0, 0, 0, 0};
  auto atoms = AtomFactory::parseAll(bytes);
  auto& udta = dynamic_cast<ContainerAtom&>(*atoms[0]);
  EXPECT_TRUE(udta.isZeroTerminated());
  EXPECT_EQ(udta.children().size(), 1u);
  EXPECT_EQ(writeAtom(udta), bytes);
}

}  // namespace
}  // namespace qrl::quicktime
