#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace qrl::testing {

// A fresh directory under the system temporary directory, removed with its
// contents when the test ends.
class TempDirectory {
 public:
  TempDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qrl-xmeml-XXXXXX").string();
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

  std::filesystem::path path() const { return path_; }
  std::filesystem::path operator/(const std::string& relative) const { return path_ / relative; }

 private:
  std::filesystem::path path_;
};

inline std::string readText(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void writeText(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

// Runs a shell command; returns its exit status and what it printed (both streams).
inline int runCommand(const std::string& command, std::string* output = nullptr) {
  FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr)
    return -1;
  std::string text;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
    text.append(buffer, n);
  int status = ::pclose(pipe);
  if (output != nullptr)
    *output = text;
  return status;
}

inline std::string quoted(const std::filesystem::path& path) {
  std::string out = "'";
  for (char c : path.string()) {
    if (c == '\'')
      out += "'\\''";
    else
      out += c;
  }
  return out + "'";
}

// xmllint, an outside judge, must accept the file as well-formed XML.
inline void expectWellFormed(const std::filesystem::path& path) {
  std::string output;
  int status = runCommand("xmllint --noout " + quoted(path), &output);
  EXPECT_EQ(status, 0) << path << ": " << output;
}

}  // namespace qrl::testing
