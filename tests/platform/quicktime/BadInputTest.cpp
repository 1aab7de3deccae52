#include <gtest/gtest.h>

#include <cstring>

#include "platform/base/Exception.h"
#include "platform/quicktime/Movie.h"
#include "tests/platform/quicktime/Fixtures.h"

namespace qrl::quicktime {
namespace {

using testing::TempDir;

// Offset of the size field of the first atom of `type` (found by its code).
size_t atomAt(const std::vector<uint8_t>& bytes, const char* type, size_t from = 0) {
  for (size_t i = from + 4; i + 4 <= bytes.size(); ++i) {
    if (std::memcmp(&bytes[i], type, 4) == 0)
      return i - 4;
  }
  ADD_FAILURE() << "no atom " << type;
  return 0;
}

void put32(std::vector<uint8_t>& bytes, size_t at, uint32_t v) {
  if (at > bytes.size() || bytes.size() - at < 4) {
    ADD_FAILURE() << "no room for a word at " << at;
    return;
  }
  for (int i = 0; i < 4; ++i) {
    bytes[at + static_cast<size_t>(i)] = static_cast<uint8_t>(v >> (24 - 8 * i));
  }
}
uint32_t get32(const std::vector<uint8_t>& bytes, size_t at) {
  return (uint32_t{bytes[at]} << 24) | (uint32_t{bytes[at + 1]} << 16) |
         (uint32_t{bytes[at + 2]} << 8) | bytes[at + 3];
}

std::string errorOf(std::vector<uint8_t> bytes) {
  try {
    Movie::fromBytes(std::move(bytes));
  } catch (const Exception& e) {
    EXPECT_EQ(e.kind(), Exception::Kind::Parse) << e.what();
    return e.what();
  }
  return "";
}

class BadInput : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    testing::makeMovie(*dir_, "end.mov", "25", 4, "00:00:10:00");
    testing::makeMovie(*dir_, "start.mov", "25", 4, "00:00:10:00", "-movflags +faststart");
    atEnd_ = new std::vector<uint8_t>(testing::readFile(*dir_ / "end.mov"));
    atStart_ = new std::vector<uint8_t>(testing::readFile(*dir_ / "start.mov"));
  }
  static void TearDownTestSuite() {
    delete atEnd_;
    delete atStart_;
    delete dir_;
  }
  static TempDir* dir_;
  static std::vector<uint8_t>* atEnd_;    // mdat, then moov
  static std::vector<uint8_t>* atStart_;  // moov, then mdat
};
TempDir* BadInput::dir_ = nullptr;
std::vector<uint8_t>* BadInput::atEnd_ = nullptr;
std::vector<uint8_t>* BadInput::atStart_ = nullptr;

TEST_F(BadInput, TheUntouchedFixturesOpen) {
  EXPECT_EQ(errorOf(*atEnd_), "");
  EXPECT_EQ(errorOf(*atStart_), "");
}

TEST_F(BadInput, EveryTruncationIsAClearError) {
  for (const auto* file : {atEnd_, atStart_}) {
    for (size_t length = 0; length < file->size(); length += 7) {
      std::vector<uint8_t> cut(file->begin(), file->begin() + static_cast<long>(length));
      EXPECT_NE(errorOf(cut), "") << "a file cut at " << length << " of " << file->size()
                                  << " opened";
    }
  }
}

// Damage to one field of the movie atom, and the words the error must contain.
TEST_F(BadInput, CorruptFieldsGiveClearErrors) {
  struct Case {
    const char* what;
    const char* atom;
    size_t field;  // byte offset from the atom's start
    uint32_t value;
    const char* message;
  } cases[] = {
      {"movie atom past the end of the file", "moov", 0, 0x00FFFFFF, "truncated"},
      {"atom past its container", "mvhd", 0, 0x0000FFFF, "container has only"},
      {"atom smaller than its header", "trak", 0, 4, "smaller than its header"},
      {"zero-length atom", "mdia", 0, 7, "smaller than its header"},
      {"64-bit size past its container", "tkhd", 0, 1, "container has only"},
      {"absurd sample size count", "stsz", 16, 0xFFFFFFFF, "do not fit"},
      {"absurd chunk offset count", "stco", 12, 0x7FFFFFFF, "do not fit"},
      {"absurd edit count", "elst", 12, 0x10000000, "do not fit"},
      {"absurd description count", "stsd", 12, 0x00FFFFFF, "do not fit"},
      {"time-to-sample disagrees with sizes", "stts", 16, 5, "sample tables disagree"},
      {"missing sample description", "stsc", 24, 9, "names description"},
      {"chunk runs past the chunk offsets", "stsc", 16, 3, "sample tables disagree"},
      {"chunk offset past the end of the file", "stco", 16, 0x7FFFFFF0, "sample data ends"},
      {"no movie header", "mvhd", 4, 0x6d766858, "no header ('mvhd')"},
      {"movie time scale zero", "mvhd", 20, 0, "time scale 0"},
      {"media time scale zero", "mdhd", 20, 0, "time scale 0"},
      {"dref entry size past its atom", "dref", 16, 0x1000, "dref: entry 1"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<uint8_t> bytes = *atStart_;
    size_t at = atomAt(bytes, c.atom);
    put32(bytes, at + c.field, c.value);
    std::string error = errorOf(bytes);
    EXPECT_NE(error.find(c.message), std::string::npos) << "error was: " << error;
  }
}

TEST_F(BadInput, LegalOddHeadersStillOpen) {
  // The last top-level atom (mdat here) may say size 0: "to the end of the file".
  std::vector<uint8_t> bytes = *atStart_;
  put32(bytes, atomAt(bytes, "mdat", atomAt(bytes, "moov") + get32(bytes, atomAt(bytes, "moov"))),
        0);
  EXPECT_EQ(errorOf(bytes), "");
  // A second movie atom is ignored: the first one wins.
  bytes = *atStart_;
  size_t moov = atomAt(bytes, "moov");
  std::vector<uint8_t> copy(bytes.begin() + static_cast<long>(moov),
                            bytes.begin() + static_cast<long>(moov + get32(bytes, moov)));
  put32(copy, 8 + 20, 0);  // a broken time scale in the copy
  bytes.insert(bytes.end(), copy.begin(), copy.end());
  EXPECT_EQ(errorOf(bytes), "");
}

TEST_F(BadInput, GarbageEmptyAndMissingFiles) {
  EXPECT_NE(errorOf({}).find("no movie atom"), std::string::npos);
  std::string text = "this is not a movie, it is a sentence long enough to look like atoms";
  EXPECT_NE(errorOf({text.begin(), text.end()}), "");
  try {
    Movie::open(*dir_ / "missing.mov");
    ADD_FAILURE() << "a missing file opened";
  } catch (const Exception& e) {
    EXPECT_EQ(e.kind(), Exception::Kind::IO);
    EXPECT_NE(std::string(e.what()).find("missing.mov"), std::string::npos);
  }
  EXPECT_THROW(Movie::open(dir_->path()), Exception);
  // A parse error from a file names the file.
  std::vector<uint8_t> cut(atEnd_->begin(), atEnd_->end() - 10);
  testing::writeFile(*dir_ / "cut.mov", cut);
  try {
    Movie::open(*dir_ / "cut.mov");
    ADD_FAILURE() << "a truncated file opened";
  } catch (const Exception& e) {
    EXPECT_EQ(e.kind(), Exception::Kind::Parse);
    EXPECT_NE(std::string(e.what()).find("cut.mov"), std::string::npos);
  }
}

}  // namespace
}  // namespace qrl::quicktime
