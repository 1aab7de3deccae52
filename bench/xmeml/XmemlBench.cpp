// Writing an xmeml document for 500 clips, each a separate movie file opened
// and read for the clip element. Goal: under 2 ms per clip, opening included.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/process/SystemLog.h"
#include "xmeml/QRLMediaDocumentWriter32.h"
#include "xmeml/XmlDocument.h"

namespace {

constexpr int kClips = 500;

// 500 copies of a one-second 64x36 clip with a stereo track, made once.
class ClipFolder {
 public:
  ClipFolder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "qrl-xmeml-bench-XXXXXX").string();
    dir_ = ::mkdtemp(pattern.data());
    auto first = dir_ / "clip0000.mov";
    std::string command =
        "ffmpeg -nostdin -v error -y -f lavfi -i color=c=gray:s=64x36:r=25:d=1 "
        "-f lavfi -i sine=r=48000:d=1 -c:v mpeg4 -c:a pcm_s16le -ac 2 '" +
        first.string() + "'";
    if (std::system(command.c_str()) != 0)
      std::fprintf(stderr, "ffmpeg failed: %s\n", command.c_str());
    for (int i = 0; i < kClips; ++i) {
      char name[32];
      std::snprintf(name, sizeof name, "clip%04d.mov", i);
      if (i > 0)
        std::filesystem::copy_file(first, dir_ / name);
      qrl::QRLTimecodeDetailsWrapper record;
      record.setSourceFilePath((dir_ / name).string());
      record.setStartTimecode("01:00:00:00");
      record.setFrameRate(2);
      records_.push_back(record);
    }
  }
  ~ClipFolder() { std::filesystem::remove_all(dir_); }

  const std::filesystem::path& dir() const { return dir_; }
  const std::vector<qrl::QRLTimecodeDetailsWrapper>& records() const { return records_; }

 private:
  std::filesystem::path dir_;
  std::vector<qrl::QRLTimecodeDetailsWrapper> records_;
};

const ClipFolder& folder() {
  static const ClipFolder f;
  return f;
}

void quietLog() {
  qrl::process::SystemLog::setSink([](std::string_view) {});
}

void BM_SaveDocumentFor500Clips(benchmark::State& state) {
  quietLog();
  const auto& clips = folder();
  qrl::QRLMediaDocumentWriter32 writer;
  const std::string out = (clips.dir() / "out.xml").string();
  for (auto _ : state) {
    bool ok = writer.saveFinalCut7XmlToPaths({out}, clips.records(), false);
    benchmark::DoNotOptimize(ok);
  }
  state.counters["s_per_clip"] = benchmark::Counter(
      kClips, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_SaveDocumentFor500Clips)->Unit(benchmark::kMillisecond);

void BM_PrettyPrint500Clips(benchmark::State& state) {
  quietLog();
  auto document =
      qrl::QRLMediaDocumentWriter32::documentForTimecodeDetails(folder().records(), false);
  for (auto _ : state) {
    std::string text = qrl::QRLMediaDocumentWriter32::textForDocument(*document);
    benchmark::DoNotOptimize(text);
  }
  state.counters["s_per_clip"] = benchmark::Counter(
      kClips, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_PrettyPrint500Clips)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
