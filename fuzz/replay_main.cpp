// Feeds every file of the given corpus folders (or single files) to the fuzz
// target once, so that CI exercises each corpus without a fuzzing engine.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

int replayFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "replay: cannot read %s\n", path.c_str());
    return 1;
  }
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                             std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s CORPUS_DIR_OR_FILE...\n", argv[0]);
    return 2;
  }
  int failures = 0;
  size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    std::filesystem::path root(argv[i]);
    if (std::filesystem::is_directory(root)) {
      std::vector<std::filesystem::path> files;
      for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
      }
      std::sort(files.begin(), files.end());
      for (const auto& f : files) {
        failures += replayFile(f);
        ++count;
      }
    } else {
      failures += replayFile(root);
      ++count;
    }
  }
  if (count == 0) {
    std::fprintf(stderr, "replay: empty corpus\n");
    return 1;
  }
  std::printf("replayed %zu inputs\n", count);
  return failures == 0 ? 0 : 1;
}
