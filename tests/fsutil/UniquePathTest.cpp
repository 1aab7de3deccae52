#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "fsutil/QRLFileSystemUtility.h"
#include "tests/fsutil/TempDirectory.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;

struct UniqueCase {
  const char* label;
  std::vector<std::string> files;  // created before the call
  std::vector<std::string> directories;
  std::string input;     // relative to the temporary directory
  std::string expected;  // relative to the temporary directory
};

TEST(UniquePath, ChoosesTheFirstFreeCandidate) {
  const UniqueCase cases[] = {
      {"free path unchanged", {}, {}, "clip.mov", "clip.mov"},
      {"free path under a missing folder", {}, {}, "none/clip.mov", "none/clip.mov"},
      {"existing file", {"clip.mov"}, {}, "clip.mov", "clip-2.mov"},
      {"numbered files present", {"a.txt", "a-2.txt"}, {}, "a.txt", "a-3.txt"},
      {"gap in numbering", {"a.txt", "a-2.txt", "a-4.txt"}, {}, "a.txt", "a-3.txt"},
      {"several dots", {"a.b.mov"}, {}, "a.b.mov", "a.b-2.mov"},
      {"no extension gets a lone dot", {"notes"}, {}, "notes", "notes."},
      {"lone dot taken", {"notes", "notes."}, {}, "notes", "notes-2."},
      {"dot file", {".profile"}, {}, ".profile", ".profile."},
      {"dotted directory loses its extension", {}, {"My.folder"}, "My.folder", "My"},
      {"dotted directory, short name taken", {}, {"My.folder", "My"}, "My.folder", "My-2"},
      {"a file blocks the directory's name", {"My"}, {"My.folder"}, "My.folder", "My-2"},
      {"trailing slash", {}, {"My.folder"}, "My.folder/", "My"},
      {"plain directory", {}, {"Sub4711"}, "Sub4711", "Sub4711-2"},
      {"directory with its -2 taken", {}, {"Sub4711", "Sub4711-2"}, "Sub4711", "Sub4711-3"},
      {"directory named like a file keeps no dot", {}, {"Folder.mov"}, "Folder.mov", "Folder"},
  };
  const QRLFileSystemUtility utility;
  for (const auto& c : cases) {
    testing::TempDirectory dir;
    for (const auto& f : c.files)
      dir.touch(f);
    for (const auto& d : c.directories)
      dir.mkdir(d);
    const std::string input = dir.path() + "/" + c.input;
    const std::string result = utility.uniqueFileSystemPathForPath(input);
    EXPECT_EQ(result, dir.path() + "/" + c.expected) << c.label;
    EXPECT_FALSE(fs::exists(fs::symlink_status(result))) << c.label;
  }
}

TEST(UniquePath, ResultIsFreeAndNothingIsCreated) {
  testing::TempDirectory dir;
  const std::string original = dir.touch("clip.mov");
  const QRLFileSystemUtility utility;
  const std::string first = utility.uniqueFileSystemPathForPath(original);
  EXPECT_EQ(utility.uniqueFileSystemPathForPath(original), first) << "no reservation is made";
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1);

  // Taking each answer in turn walks the numbers upwards.
  std::vector<std::string> taken;
  for (int i = 0; i < 4; ++i)
    taken.push_back(dir.touch(fs::path(utility.uniqueFileSystemPathForPath(original)).filename()));
  EXPECT_EQ(taken, (std::vector<std::string>{dir.path("clip-2.mov"), dir.path("clip-3.mov"),
                                             dir.path("clip-4.mov"), dir.path("clip-5.mov")}));
}

TEST(UniquePath, DanglingSymlinkCountsAsFree) {
  testing::TempDirectory dir;
  fs::create_symlink(dir.path("missing-target"), dir.path("link.mov"));
  EXPECT_EQ(QRLFileSystemUtility().uniqueFileSystemPathForPath(dir.path("link.mov")),
            dir.path("link.mov"));
}

TEST(UniqueDirectory, CreatesTheUniquePathWithParents) {
  testing::TempDirectory dir;
  const QRLFileSystemUtility utility;

  const std::string nested = dir.path("a/b/c");
  EXPECT_EQ(utility.createUniqueDirectoryPathForPath(nested), nested);
  EXPECT_TRUE(fs::is_directory(nested));

  EXPECT_EQ(utility.createUniqueDirectoryPathForPath(nested), dir.path("a/b/c-2"));
  EXPECT_TRUE(fs::is_directory(dir.path("a/b/c-2")));

  dir.touch("data.bin");
  EXPECT_EQ(utility.createUniqueDirectoryPathForPath(dir.path("data.bin")), dir.path("data-2.bin"));
  EXPECT_TRUE(fs::is_directory(dir.path("data-2.bin")));
  EXPECT_TRUE(fs::is_regular_file(dir.path("data.bin")));
}

TEST(UniqueDirectory, IgnoresCreationErrors) {
  testing::TempDirectory dir;
  dir.touch("plainfile");
  // A regular file stands where a parent directory would have to be.
  const std::string blocked = dir.path("plainfile/sub");
  EXPECT_EQ(QRLFileSystemUtility().createUniqueDirectoryPathForPath(blocked), blocked);
  EXPECT_FALSE(fs::exists(blocked));
  EXPECT_TRUE(fs::is_regular_file(dir.path("plainfile")));
}

}  // namespace
}  // namespace qrl
