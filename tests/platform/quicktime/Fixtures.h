#pragma once

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace qrl::quicktime::testing {

// Runs a shell command and returns what it printed on standard output.
inline std::string run(const std::string& command, int* status = nullptr) {
  std::string output;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr)
    return output;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
    output.append(buffer, n);
  int rc = ::pclose(pipe);
  if (status != nullptr)
    *status = rc;
  return output;
}

inline std::vector<uint8_t> readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void writeFile(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
}

// A fresh directory under the system's temporary directory, removed with its contents.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qrl-qt-XXXXXX").string();
    path_ = ::mkdtemp(pattern.data());
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// Makes a small movie with ffmpeg: a grey 64x36 picture at `rate` (an ffmpeg
// rate such as "30000/1001"), `frames` frames, MPEG-4 video, and a timecode
// track when `timecode` is not empty. Fails the test when ffmpeg fails.
inline std::filesystem::path makeMovie(const TempDir& dir, const std::string& name,
                                       const std::string& rate, int frames,
                                       const std::string& timecode = "",
                                       const std::string& extra = "") {
  auto path = dir / name;
  std::string command = "ffmpeg -nostdin -v error -y -f lavfi -i color=c=gray:s=64x36:r=" + rate +
                        " -frames:v " + std::to_string(frames) + " -c:v mpeg4 " + extra;
  if (!timecode.empty())
    command += " -timecode '" + timecode + "'";
  command += " '" + path.string() + "'";
  int status = 0;
  run(command, &status);
  EXPECT_EQ(status, 0) << command;
  return path;
}

// ffprobe's "flat" output as key -> value, quotes removed.
inline std::map<std::string, std::string> probe(const std::filesystem::path& path,
                                                const std::string& entries) {
  std::map<std::string, std::string> values;
  std::istringstream lines(
      run("ffprobe -v error -show_entries " + entries + " -of flat '" + path.string() + "'"));
  std::string line;
  while (std::getline(lines, line)) {
    auto eq = line.find('=');
    if (eq == std::string::npos)
      continue;
    std::string value = line.substr(eq + 1);
    if (value.size() >= 2 && value.front() == '"')
      value = value.substr(1, value.size() - 2);
    values[line.substr(0, eq)] = value;
  }
  return values;
}

}  // namespace qrl::quicktime::testing
