#include <gtest/gtest.h>

#include <string_view>

#include "fsutil/PathComponents.h"
#include "fsutil/Utf8.h"

namespace qrl::fsutil {
namespace {

struct PathCase {
  std::string_view path;
  std::string_view last;
  std::string_view folder;
  std::string_view extension;
  std::string_view withoutExtension;
};

TEST(PathComponents, SplitLikeTheDesktopStringClass) {
  const PathCase cases[] = {
      {"/tmp/clip.mov", "clip.mov", "/tmp", "mov", "/tmp/clip"},
      {"/tmp/notes", "notes", "/tmp", "", "/tmp/notes"},
      {"/tmp/My.folder/", "My.folder", "/tmp", "folder", "/tmp/My"},
      {"//tmp///a.b.mov", "a.b.mov", "/tmp", "mov", "/tmp/a.b"},
      {"/tmp/.profile", ".profile", "/tmp", "", "/tmp/.profile"},
      {"/tmp/.hidden.txt", ".hidden.txt", "/tmp", "txt", "/tmp/.hidden"},
      {"/tmp/notes.", "notes.", "/tmp", "", "/tmp/notes"},
      {"/tmp/..", "..", "/tmp", "", "/tmp/.."},
      {"/tmp/...", "...", "/tmp", "", "/tmp/.."},
      {"/a.dir/file", "file", "/a.dir", "", "/a.dir/file"},
      {"/clip.mov", "clip.mov", "/", "mov", "/clip"},
      {"clip.mov", "clip.mov", "", "mov", "clip"},
      {"/", "/", "/", "", "/"},
      {"", "", "", "", ""},
      {".", ".", "", "", "."},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(lastPathComponent(c.path), c.last) << c.path;
    EXPECT_EQ(deletingLastPathComponent(c.path), c.folder) << c.path;
    EXPECT_EQ(pathExtension(c.path), c.extension) << c.path;
    EXPECT_EQ(deletingPathExtension(c.path), c.withoutExtension) << c.path;
  }
}

struct Utf8Case {
  const char* label;
  std::string_view bytes;
  bool valid;
};

TEST(Utf8, AcceptsWellFormedAndRejectsMalformed) {
  using namespace std::string_view_literals;
  const Utf8Case cases[] = {
      {"empty", "", true},
      {"ascii with NUL", "a\0b"sv, true},
      {"two bytes", "\xc3\xa9", true},
      {"three bytes", "\xe6\x98\xa0", true},
      {"four bytes, highest", "\xf4\x8f\xbf\xbf", true},
      {"lone continuation", "\x80", false},
      {"overlong slash", "\xc0\xaf", false},
      {"overlong three", "\xe0\x80\xaf", false},
      {"surrogate", "\xed\xa0\x80", false},
      {"past U+10FFFF", "\xf4\x90\x80\x80", false},
      {"truncated", "ab\xe6\x98", false},
      {"bad second continuation", "\xe6\x98\x41", false},
      {"0xFF", "\xff", false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(isValidUtf8(c.bytes), c.valid) << c.label;
}

}  // namespace
}  // namespace qrl::fsutil
