#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace qrl::testing {

// A fresh directory under the system temporary directory, removed with its
// contents when the test ends.
class TempDirectory {
 public:
  TempDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qrl-fsutil-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
      ADD_FAILURE() << "mkdtemp failed";
    path_ = pattern;
  }
  ~TempDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  std::string path(const std::string& relative = "") const {
    return relative.empty() ? path_.string() : (path_ / relative).string();
  }
  std::string touch(const std::string& relative) const {
    std::ofstream(path(relative)) << "x";
    return path(relative);
  }
  std::string mkdir(const std::string& relative) const {
    std::filesystem::create_directories(path(relative));
    return path(relative);
  }

 private:
  std::filesystem::path path_;
};

}  // namespace qrl::testing
