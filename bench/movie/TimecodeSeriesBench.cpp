// The timecode series over an hour of 29.97 drop-frame video (108,000
// frames) with a 01:00:00;00 timecode track, as ffmpeg writes such a movie.
// Every entry is logged; the log goes to a sink that keeps nothing, so the
// figure is the walk and the reads, not syslog.
#include <benchmark/benchmark.h>

#include "bench/movie/HourMovie.h"
#include "movie/QRLQuickTime32.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/Movie.h"

namespace qrl {
namespace {

void BM_TimecodeSeriesForHourMovie(benchmark::State& state) {
  auto movie = quicktime::Movie::open(bench::hourMovie());
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
