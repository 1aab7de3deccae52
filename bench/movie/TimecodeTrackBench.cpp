// Adding a timecode track to an hour of 29.97 drop-frame video (108,000
// frames), with the frame walk before the track is made and the save in
// place. Each run starts from a fresh copy of the movie (not timed).
#include <benchmark/benchmark.h>

#include <filesystem>

#include "bench/movie/HourMovie.h"
#include "movie/QRLQuickTime32.h"
#include "platform/quicktime/Movie.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;

void BM_AddTimecodeTrackToHourMovie(benchmark::State& state) {
  const fs::path copy = fs::temp_directory_path() / "qrl-bench-hour-2997-edit.mov";
  QRLQuickTime32 service;
  bool ok = true;
  for (auto _ : state) {
    state.PauseTiming();
    fs::copy_file(bench::hourMovie(), copy, fs::copy_options::overwrite_existing);
    state.ResumeTiming();
    auto movie = quicktime::Movie::open(copy);
    movie->setEditable(true);
    ok = ok && service.addTimecodeTrackToMovie(movie.get(), QRLVideoFrameRate29_97, "01:00:00;00",
                                               true, 12);
    movie->updateMovieFile();
  }
  fs::remove(copy);
  if (!ok)
    state.SkipWithError("the timecode track was not added");
}
BENCHMARK(BM_AddTimecodeTrackToHourMovie)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace qrl
