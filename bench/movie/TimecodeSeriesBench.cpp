// The timecode series over an hour of 29.97 drop-frame video (108,000
// frames) with a 01:00:00;00 timecode track, as ffmpeg writes such a movie.
// Every entry is logged; the log goes to a sink that keeps nothing, so the
// figure is the walk and the reads, not syslog.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "movie/QRLQuickTime32.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/Movie.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;

const fs::path& hourMovie() {
  static const fs::path path = [] {
    fs::path p = fs::temp_directory_path() / "qrl-bench-hour-2997.mov";
    if (!fs::exists(p)) {
      std::string command =
          "ffmpeg -nostdin -v error -y -f lavfi -i color=c=gray:s=16x16:r=30000/1001 "
          "-frames:v 108000 -c:v mpeg4 -g 300 -timecode '01:00:00;00' '" +
          p.string() + "'";
      if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "ffmpeg could not make %s\n", p.c_str());
        std::exit(1);
      }
    }
    return p;
  }();
  return path;
}

void BM_TimecodeSeriesForHourMovie(benchmark::State& state) {
  auto movie = quicktime::Movie::open(hourMovie());
  process::SystemLog::setSink([](std::string_view) {});
  QRLQuickTime32 service;
  size_t count = 0;
  for (auto _ : state) {
    auto series = service.timecodeSeriesForMovie(movie.get());
    count = series.size();
    benchmark::DoNotOptimize(series.data());
  }
  process::SystemLog::setSink({});
  if (count != 108000)
    state.SkipWithError("the series does not have 108,000 entries");
  state.counters["frames"] = static_cast<double>(count);
}
BENCHMARK(BM_TimecodeSeriesForHourMovie)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace qrl

BENCHMARK_MAIN();
