#pragma once

// Helpers for the graphics tests: scratch files and the outside programs
// (ffmpeg, tiffinfo, fc-match) that judge what the library writes.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace qrl::graphics::testing {

struct CommandResult {
  int exitCode = -1;
  std::string output;  // standard output and standard error together
};

// Runs a shell command line and collects its output.
CommandResult runCommand(const std::string& commandLine);

// True when the program is on PATH.
bool haveProgram(const std::string& name);

// A fresh directory removed when the object goes.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  std::filesystem::path path(const std::string& name) const { return root_ / name; }

 private:
  std::filesystem::path root_;
};

void writeFile(const std::filesystem::path& path, const std::vector<uint8_t>& bytes);
std::vector<uint8_t> readFile(const std::filesystem::path& path);

}  // namespace qrl::graphics::testing
