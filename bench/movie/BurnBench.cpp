// The timecode burn over a 60-second 1920x1080 29.97 movie (1,798 frames)
// against ffmpeg burning the same timecode with drawtext and re-encoding
// with libx264 ultrafast, in the same run; and the burn's peak memory for 60
// and 600 seconds of movie, each measured in a child process of its own.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "movie/QRLQTOverlayWriter.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/Movie.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;

const fs::path& workDir() {
  static const fs::path dir = [] {
    fs::path d = fs::temp_directory_path() / ("qrl-burn-bench-" + std::to_string(::getpid()));
    fs::create_directories(d);
    return d;
  }();
  return dir;
}

bool shell(const std::string& command) {
  return std::system(command.c_str()) == 0;
}

// 60 seconds made once; the 600-second movie repeats its packets ten times.
fs::path sourceMovie(int seconds) {
  fs::path minute = workDir() / "60.mov";
  if (!fs::exists(minute) &&
      !shell("ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=s=1920x1080:r=30000/1001 "
             "-frames:v 1798 -c:v libx264 -preset ultrafast -pix_fmt yuv420p '" +
             minute.string() + "'")) {
    return {};
  }
  if (seconds == 60)
    return minute;
  fs::path longer = workDir() / "600.mov";
  if (!fs::exists(longer) && !shell("ffmpeg -nostdin -v error -y -stream_loop 9 -i '" +
                                    minute.string() + "' -c copy '" + longer.string() + "'")) {
    return {};
  }
  return longer;
}

quicktime::Track* burn(const fs::path& path) {
  auto movie = quicktime::Movie::open(path);
  return QRLQTOverlayWriter().addTimecodeBurnToMovie(
      movie.get(), "01:00:00;00", QRLVideoFrameRate29_97, {40, 40}, 48,
      graphics::Color::whiteColor(), graphics::Color::blackColor());
}

void BM_BurnAgainstFfmpegDrawtext(benchmark::State& state) {
  process::SystemLog::setSink([](std::string_view) {});
  const fs::path source = sourceMovie(60);
  if (source.empty()) {
    state.SkipWithError("ffmpeg could not make the source movie");
    return;
  }
  const fs::path copy = workDir() / "burn.mov";
  const fs::path out = workDir() / "drawtext.mov";
  const double frames = 1798;
  double ours = 0, theirs = 0;
  for (auto _ : state) {
    fs::copy_file(source, copy, fs::copy_options::overwrite_existing);
    auto start = std::chrono::steady_clock::now();
    if (burn(copy) == nullptr)
      state.SkipWithError("the burn made no track");
    ours = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    start = std::chrono::steady_clock::now();
    if (!shell("ffmpeg -nostdin -v error -y -i '" + source.string() +
               "' -vf \"drawtext=timecode='01\\:00\\:00\\;00':rate=30000/1001:fontsize=48:"
               "fontcolor=white:box=1:boxcolor=black:x=40:y=h-th-40\" -c:v libx264 "
               "-preset ultrafast '" +
               out.string() + "'")) {
      state.SkipWithError("ffmpeg drawtext failed");
    }
    theirs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  state.counters["burn_fps"] = frames / ours;
  state.counters["ffmpeg_fps"] = frames / theirs;
  state.counters["ratio"] = theirs / ours;
  process::SystemLog::setSink({});
}
BENCHMARK(BM_BurnAgainstFfmpegDrawtext)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

// Peak resident memory of a child that only burns.
void BM_BurnPeakMemory(benchmark::State& state) {
  const int seconds = static_cast<int>(state.range(0));
  const fs::path source = sourceMovie(seconds);
  if (source.empty()) {
    state.SkipWithError("ffmpeg could not make the source movie");
    return;
  }
  const fs::path copy = workDir() / ("rss-" + std::to_string(seconds) + ".mov");
  long peakKiB = 0;
  for (auto _ : state) {
    fs::copy_file(source, copy, fs::copy_options::overwrite_existing);
    pid_t child = ::fork();
    if (child == 0) {
      process::SystemLog::setSink([](std::string_view) {});
      ::_exit(burn(copy) == nullptr ? 1 : 0);
    }
    int status = 0;
    struct rusage usage {};
    ::wait4(child, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
      state.SkipWithError("the burn failed in the child");
    peakKiB = usage.ru_maxrss;
  }
  state.counters["peak_rss_MiB"] = static_cast<double>(peakKiB) / 1024.0;
}
BENCHMARK(BM_BurnPeakMemory)
    ->Arg(60)
    ->Arg(600)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

}  // namespace
}  // namespace qrl

BENCHMARK_MAIN();
