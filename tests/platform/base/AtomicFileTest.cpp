#include "platform/base/AtomicFile.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/base/Exception.h"
#include "tests/fsutil/TempDirectory.h"

namespace qrl {
namespace {

std::string readText(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

size_t entries(const std::filesystem::path& dir) {
  return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(dir), {}));
}

std::span<const uint8_t> bytesOf(std::string_view s) {
  return {reinterpret_cast<const uint8_t*>(s.data()), s.size()};
}

TEST(AtomicFile, ReplacesTheWholeFileWithTheUsualPermissions) {
  testing::TempDirectory dir;
  const std::filesystem::path path = dir.path("doc.xml");
  std::ofstream(path) << std::string(100000, 'x');
  const mode_t mask = ::umask(022);
  {
    AtomicFile file(path);
    file.append(bytesOf("head"));
    file.append(bytesOf("-body"));
    file.writeAt(0, bytesOf("H"));
    EXPECT_EQ(file.size(), 9u);
    EXPECT_EQ(readText(path), std::string(100000, 'x'));  // untouched until committed
    EXPECT_EQ(entries(dir.path()), 2u);
    file.commit();
  }
  EXPECT_EQ(readText(path), "Head-body");
  EXPECT_EQ(entries(dir.path()), 1u);
  struct stat st {};
  ASSERT_EQ(::stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0644u);
  writeFileAtomically(dir.path("new.txt"), "fresh");
  EXPECT_EQ(readText(dir.path("new.txt")), "fresh");
  ::umask(mask);
}

TEST(AtomicFile, AFailureLeavesTheTargetAndNoTemporary) {
  testing::TempDirectory dir;
  const std::filesystem::path path = dir.path("keep.txt");
  std::ofstream(path) << "old";
  {
    AtomicFile abandoned(path);
    abandoned.append(bytesOf("never committed"));
  }
  // A folder in the way makes the rename fail after everything was written.
  const std::filesystem::path folder = dir.mkdir("folder");
  std::ofstream(folder / "inside") << "x";
  AtomicFile blocked(folder);
  blocked.append(bytesOf("data"));
  try {
    blocked.commit();
    ADD_FAILURE() << "renamed a file over a folder";
  } catch (const Exception& e) {
    EXPECT_EQ(e.kind(), Exception::Kind::IO);
    EXPECT_EQ(std::string(e.what()).rfind("rename " + folder.string() + ": ", 0), 0u) << e.what();
  }
  EXPECT_THROW(AtomicFile(dir.path("no-such-folder/f")), Exception);
  EXPECT_THROW(AtomicFile(""), Exception);
  EXPECT_EQ(readText(path), "old");
  EXPECT_TRUE(std::filesystem::is_directory(folder));
  EXPECT_EQ(entries(dir.path()), 2u) << "a temporary was left behind";
}

}  // namespace
}  // namespace qrl
